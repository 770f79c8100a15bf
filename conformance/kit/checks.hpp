// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_CONFORMANCE_KIT_CHECKS_HPP
#define MSG_CONSUMER_CONFORMANCE_KIT_CHECKS_HPP

#include <cstddef>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "kit/process.hpp"

namespace msg_consumer::conformance {

/// A sentence, as the program that knows it lists it.
struct ListedSentence {
  std::size_t number;
  std::string group;
  std::string text;
  std::string state;
  bool changes_state;
};

enum class Verdict { Holds, Fails, Skipped };

struct Outcome {
  Verdict verdict;
  std::vector<std::string> remarks;  ///< what was wrong, or why it was skipped
};

/// The program that holds the sentences about one of the libraries.
class Checks {
 public:
  /// `environment` is what every run of the program gets, `folder` where it runs.
  Checks(std::filesystem::path program, Environment environment, std::filesystem::path folder,
         std::chrono::milliseconds time_limit);

  /// Throws `CannotCheck` when the program cannot be started, for example because the library cannot be loaded.
  [[nodiscard]] std::vector<ListedSentence> list() const;

  [[nodiscard]] std::string fixture(const std::string& state) const;

  /// Looks into one sentence. `options` are the program's "NAME=VALUE" arguments.
  [[nodiscard]] Outcome look_into(const ListedSentence& sentence, const Environment& environment,
                                  const std::vector<std::string>& options) const;

 private:
  [[nodiscard]] Ended run_with(std::vector<std::string> arguments, const Environment& environment) const;
  [[nodiscard]] std::string answer_to(const std::vector<std::string>& question) const;

  std::filesystem::path _program;
  Environment _environment;
  std::filesystem::path _folder;
  std::chrono::milliseconds _time_limit;
};

}  // namespace msg_consumer::conformance

#endif
