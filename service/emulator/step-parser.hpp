// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_SERVICE_EMULATOR_STEP_PARSER_HPP
#define MSG_CONSUMER_SERVICE_EMULATOR_STEP_PARSER_HPP

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "step.hpp"

namespace msg_consumer::service::emulator {

/// Reads one step, a JSON object. Files that it names are read now; those that are not named absolutely are looked for
/// in `folder`, and refused when that is empty. Throws `InvalidStep`.
Step parse_step(std::string_view text, const std::filesystem::path& folder = {});

/// Reads a scenario's steps. Throws `InvalidStep`, which says the number of the step, counted from 1.
std::vector<Step> parse_scenario(std::string_view text, const std::filesystem::path& folder = {});

/// As `parse_scenario`; what is thrown begins with the file's name.
std::vector<Step> load_scenario(const std::filesystem::path& file);

}  // namespace msg_consumer::service::emulator

#endif
