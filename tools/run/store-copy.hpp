// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_RUN_STORE_COPY_HPP
#define MSG_CONSUMER_RUN_STORE_COPY_HPP

#include <filesystem>
#include <string>

namespace msg_consumer_run {

/// Throws `Failure` when the file is no message store, or a service is writing to it.
void check_store(const std::string& path);

/// Copies a store, with what its write-ahead log holds beyond it. Throws `Failure`.
void copy_store(const std::string& path, const std::filesystem::path& target);

/// Copies a folder of attachments. Throws `Failure`.
void copy_attachments(const std::string& folder, const std::filesystem::path& target);

}  // namespace msg_consumer_run

#endif
