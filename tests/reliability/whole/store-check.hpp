// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_TESTS_WHOLE_STORE_CHECK_HPP
#define MSG_CONSUMER_TESTS_WHOLE_STORE_CHECK_HPP

#include <string>

#include "service-on-disk.hpp"

namespace msg_consumer::test {

/// All that the tables of messages say, as text: for telling whether anything changed.
std::string content_of(sqlite3* database);

/// What the database's own rules find wrong; empty when it is whole.
std::string damage_of(sqlite3* database);

/// The same for a service: the database, the threads' counts counted anew, and the files of the attachments.
std::string damage_of(ServiceOnDisk& service);

}  // namespace msg_consumer::test

#endif
