// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_TESTS_UPGRADES_STORED_DATABASE_HPP
#define MSG_CONSUMER_TESTS_UPGRADES_STORED_DATABASE_HPP

#include <filesystem>
#include <string>

namespace msg_consumer::test {

/// Where the databases of all released versions are kept.
std::filesystem::path stored_database(int version);

/// What each query answers on such a database, as text.
std::filesystem::path stored_answers(int version);

/// What a file holds that was compressed by gzip. Throws when it cannot be read.
std::string unpacked(const std::filesystem::path& file);

/// What each query answers now, as text.
std::string all_answers();

}  // namespace msg_consumer::test

#endif
