// SPDX-License-Identifier: Apache-2.0
#include "msgctl/failure.hpp"

#include <msg-consumer/msg-consumer-error.h>

namespace msgctl {
namespace {

// What every function of the library means by the status.
[[noreturn]] void fail_as_documented(int status, const Attempt& attempt) {
  switch (status) {
    case MSG_CONSUMER_ERROR_NO_DATA:
      throw Failure(ExitCode::NotFound, "there is no " + attempt.subject, attempt.advice);
    case MSG_CONSUMER_ERROR_IPC_FAILED:
      throw Failure(ExitCode::Unreachable, "cannot " + attempt.action + ": the service did not answer",
                    "It may have been done all the same: look before you repeat it. 'msgctl status' tells how the "
                    "service is.");
    case MSG_CONSUMER_ERROR_INVALID_PARAMETER:
      throw Failure(ExitCode::Refused, "cannot " + attempt.action + ": an argument was refused as invalid",
                    "Check ids, addresses and texts.");
    case MSG_CONSUMER_ERROR_NOT_SUPPORTED:
      throw Failure(ExitCode::Unsupported, "cannot " + attempt.action + ": number sync is not supported here");
    case MSG_CONSUMER_ERROR_MMS_NOT_SUPPORTED:
      throw Failure(ExitCode::Unsupported, "cannot " + attempt.action + ": sending MMS is not supported here");
    case MSG_CONSUMER_ERROR_OUT_OF_MEMORY:
      throw Failure(ExitCode::Failed, "cannot " + attempt.action + ": out of memory");
    default:
      throw Failure(ExitCode::Failed,
                    "cannot " + attempt.action + ": the library failed with status " + std::to_string(status));
  }
}

}  // namespace

const char* exit_code_word(ExitCode code) {
  switch (code) {
    case ExitCode::Ok:
      return "ok";
    case ExitCode::Usage:
      return "usage";
    case ExitCode::NotFound:
      return "not-found";
    case ExitCode::Unreachable:
      return "unreachable";
    case ExitCode::Refused:
      return "refused";
    case ExitCode::Unsupported:
      return "unsupported";
    case ExitCode::Failed:
      break;
  }
  return "failed";
}

void check_command(int status, const Attempt& attempt) {
  if (status == MSG_CONSUMER_ERROR_NONE) return;
  // Once connected, a general failure is the service's own refusal.
  if (status == MSG_CONSUMER_ERROR_OPERATION_FAILED) {
    throw Failure(ExitCode::Refused, "cannot " + attempt.action + ": the service refused",
                  "The state of " + attempt.subject + " may not allow it. --debug shows the service's status.");
  }
  fail_as_documented(status, attempt);
}

void check_query(int status, const Attempt& attempt) {
  if (status == MSG_CONSUMER_ERROR_NONE) return;
  if (status == MSG_CONSUMER_ERROR_OPERATION_FAILED) {
    throw Failure(ExitCode::Failed, "cannot " + attempt.action + ": the message store cannot be read",
                  "'msgctl status' starts the service, which creates the store; --debug shows the cause.");
  }
  fail_as_documented(status, attempt);
}

}  // namespace msgctl
