// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_SERVICE_DATABASE_FILE_HPP
#define MSG_CONSUMER_SERVICE_DATABASE_FILE_HPP

#include <string>

#include "schema/schema.hpp"
#include "schema/sqlite.hpp"

namespace msg_consumer::service {

/// How long a commit waits for whoever looks into the database with a tool of their own.
inline constexpr int BUSY_TIMEOUT_MS = 1000;

/// Opens the database for its one writer: makes it when it is missing, migrates it, and sets it up so that what is
/// committed survives and readers of other users get in at any time. Throws, and changes nothing, when the file is
/// damaged, foreign, altered or of a newer version.
schema::Database open_database_file(const std::string& path,
                                    schema::Migrations migrations = schema::released_migrations());

}  // namespace msg_consumer::service

#endif
