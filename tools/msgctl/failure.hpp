// SPDX-License-Identifier: Apache-2.0
#ifndef MSGCTL_FAILURE_HPP
#define MSGCTL_FAILURE_HPP

#include <stdexcept>
#include <string>

namespace msgctl {

/// What the process ends with. Scripts rely on these numbers.
enum class ExitCode {
  Ok = 0,
  Failed = 1,
  Usage = 2,
  NotFound = 3,
  Unreachable = 4,
  Refused = 5,
  Unsupported = 6,
};

/// The exit code as a word, as JSON errors carry it.
const char* exit_code_word(ExitCode code);

/// Something that a person has to be told: what happened, and what to do next.
class Failure : public std::runtime_error {
 public:
  Failure(ExitCode code, const std::string& what, std::string advice = {})
      : std::runtime_error(what), _code(code), _advice(std::move(advice)) {}

  [[nodiscard]] ExitCode code() const { return _code; }
  [[nodiscard]] const std::string& advice() const { return _advice; }

 private:
  ExitCode _code;
  std::string _advice;
};

/// What was tried, in words that fit into "cannot …" and "there is no …".
struct Attempt {
  std::string action;   ///< "delete message 12"
  std::string subject;  ///< "message 12"
  std::string advice;   ///< what to do when there is no such thing
};

/// Throws a Failure unless `status`, the result of a command to the service, is success.
void check_command(int status, const Attempt& attempt);

/// Throws a Failure unless `status`, the result of a query, is success.
void check_query(int status, const Attempt& attempt);

}  // namespace msgctl

#endif
