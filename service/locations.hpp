// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_SERVICE_LOCATIONS_HPP
#define MSG_CONSUMER_SERVICE_LOCATIONS_HPP

#include <string>

namespace msg_consumer::service {

/// Where the service keeps its data.
struct Locations {
  std::string database;  ///< MSG_CONSUMER_DB
  std::string files;     ///< MSG_CONSUMER_FILES: a folder of attachments for each message that has any
  /// MSG_CONSUMER_EXCHANGE: the only folder through which files are handed over in either direction; empty for no such
  /// limit.
  std::string exchange = {};
};

/// The places that the environment names, or the default ones.
Locations locations();

}  // namespace msg_consumer::service

#endif
