// SPDX-License-Identifier: Apache-2.0
#ifndef MSGCTL_CONNECTION_HPP
#define MSGCTL_CONNECTION_HPP

namespace msgctl {

/// The connection to the service, for as long as the object lives.
class Connection {
 public:
  /// Connects. A service that is not ready is started, and has five seconds for it; throws a Failure that says what
  /// is wrong with it otherwise.
  Connection();
  ~Connection();
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;
};

}  // namespace msgctl

#endif
