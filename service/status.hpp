// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_SERVICE_STATUS_HPP
#define MSG_CONSUMER_SERVICE_STATUS_HPP

#include <exception>

namespace msg_consumer::service {

/// What the service answers a command with. -4, -200 and -250 are missing on purpose: the client library gives them a
/// meaning of its own.
enum Status : int {
  STATUS_OK = 0,
  STATUS_FAILED = -1,            ///< a failure without a status of its own; the log says more
  STATUS_OUT_OF_MEMORY = -2,     ///< out of memory
  STATUS_INVALID_ARGUMENT = -3,  ///< an argument is out of range, or contradicts another one
  STATUS_NOT_APPLICABLE = -5,    ///< the command does not apply to this message or thread
  STATUS_STORE_FULL = -7,        ///< no room left for the database
  STATUS_STORE_BUSY = -8,        ///< another process keeps the database locked
  STATUS_FILE_NOT_FOUND = -20,   ///< the named file does not exist
  STATUS_FILE_NOT_REGULAR =
      -21,  ///< the named file is reached through a symbolic link, or is a folder, a device or the kernel's
  STATUS_FILE_TOO_LARGE = -22,     ///< the message's attachments would be too large together
  STATUS_FILE_NOT_READABLE = -23,  ///< the service may not read the named file
  STATUS_FILE_COPY_FAILED = -24,   ///< copying failed half-way, for example for want of room
  STATUS_FILE_EXISTS = -25,        ///< the target exists: nothing is ever overwritten
  STATUS_FILE_NOT_WRITABLE = -26,  ///< the target cannot be created
  STATUS_FILE_OUT_OF_BOUNDS =
      -27,                   ///< the named file is the service's own, or outside the folder for files handed over
  STATUS_TOO_MUCH = -28,     ///< too many recipients or files, or too long a text
  STATUS_NO_RECORD = -1101,  ///< no such message or thread
};

/// Thrown by whatever finds that a command must be refused; ends its transaction, and becomes its answer.
class Refusal : public std::exception {
 public:
  explicit Refusal(Status status) : _status(status) {}
  Status status() const { return _status; }
  const char* what() const noexcept override { return "refused"; }

 private:
  Status _status;
};

inline void require(bool condition, Status otherwise) {
  if (!condition) {
    throw Refusal(otherwise);
  }
}

/// The status that stands for the exception being handled; logs what is not a refusal.
Status status_of_current_exception() noexcept;

}  // namespace msg_consumer::service

#endif
