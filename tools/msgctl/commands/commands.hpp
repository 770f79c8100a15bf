// SPDX-License-Identifier: Apache-2.0
#ifndef MSGCTL_COMMANDS_HPP
#define MSGCTL_COMMANDS_HPP

#include "msgctl/command.hpp"

namespace msgctl {

Action configure_status(CLI::App& app);
Action configure_send(CLI::App& app);
Action configure_mms(CLI::App& app);
Action configure_threads(CLI::App& app);
Action configure_conversation(CLI::App& app);
Action configure_messages(CLI::App& app);
Action configure_show(CLI::App& app);
Action configure_addresses(CLI::App& app);
Action configure_find_thread(CLI::App& app);
Action configure_thread_delete(CLI::App& app);
Action configure_thread_active(CLI::App& app);
Action configure_content_get(CLI::App& app);
Action configure_content_send(CLI::App& app);
Action configure_request_default_sms(CLI::App& app);
Action configure_watch(CLI::App& app);

/// A command that has the service do one thing with each of the ids given to it.
struct CommandById {
  const char* noun;  ///< what the ids are of: "message"
  const char* verb;  ///< "delete", for "cannot delete message 3"
  const char* done;  ///< "deleted", for "message 3 deleted"
  int (*call)(int id);

  Action operator()(CLI::App& app) const;
};

}  // namespace msgctl

#endif
