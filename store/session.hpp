// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_STORE_SESSION_HPP
#define MSG_CONSUMER_STORE_SESSION_HPP

// Each thread reads through a connection of its own, which it keeps between its queries.

#include <memory>
#include <mutex>
#include <optional>
#include <string_view>

#include <msg-consumer-platform/logging.hpp>

#include "connection.hpp"

namespace msg_consumer::db {

class Reader;

/// One query's hold on its thread's connection. Meanwhile nobody closes it, and the process does not fork. All that
/// the query reads is of one state of the store.
class Session {
 public:
  Session();
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  /// Opens the store unless it is open, and makes sure that it has this version's schema.
  Connection& connection();

  /// A statement on the open store.
  schema::Statement& statement(std::string_view sql) { return connection().statement(sql); }

  /// Closes the connection: the next query opens the store anew, and finds out what is wrong with it.
  void drop();

 private:
  Reader& _reader;
  std::unique_lock<std::mutex> _busy;
  std::optional<schema::ResetAtExit> _snapshot;
};

/// Closes the connections of all threads: idle ones at once, the others at the end of their queries.
void close_all_connections() noexcept;

/// Logs the exception that is being handled, and returns its status.
int report_failure(const CallSite& site) noexcept;

/// Runs a query: a function that takes a session and returns a status, or throws.
template <typename Query>
int answer(const CallSite& site, Query query) noexcept {
  try {
    Session session;
    try {
      return query(session);
    } catch (const InvalidArgument&) {
      throw;
    } catch (...) {
      session.drop();
      throw;
    }
  } catch (...) {
    return report_failure(site);
  }
}

}  // namespace msg_consumer::db

#endif
