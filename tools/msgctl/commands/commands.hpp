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
Action configure_thread_show(CLI::App& app);
Action configure_thread_delete(CLI::App& app);
Action configure_thread_active(CLI::App& app);
Action configure_content_list(CLI::App& app);
Action configure_content_get(CLI::App& app);
Action configure_content_send(CLI::App& app);
Action configure_request_default_sms(CLI::App& app);
Action configure_watch(CLI::App& app);
Action configure_export(CLI::App& app);
Action configure_import(CLI::App& app);

// On behalf of the network message store.
Action configure_nms_add(CLI::App& app);
Action configure_nms_status(CLI::App& app);
Action configure_nms_set_status(CLI::App& app);
Action configure_nms_delete_before(CLI::App& app);
Action configure_nms_send(CLI::App& app);
Action configure_nms_mms(CLI::App& app);
Action configure_nms_reset_box(CLI::App& app);
Action configure_nms_download_required(CLI::App& app);
Action configure_nms_delay_events(CLI::App& app);
Action configure_nms_meta_add(CLI::App& app);
Action configure_nms_meta_update(CLI::App& app);
Action configure_nms_meta_delete(CLI::App& app);
Action configure_nms_meta_delete_invalid(CLI::App& app);
Action configure_nms_meta_show(CLI::App& app);
Action configure_nms_meta_uncorrelated(CLI::App& app);
Action configure_nms_meta_sync_required(CLI::App& app);
Action configure_nms_meta_download_required(CLI::App& app);
Action configure_nms_subscription_show(CLI::App& app);
Action configure_nms_subscription_set(CLI::App& app);

// The emulator's steps.
Action configure_emulate_receive(CLI::App& app);
Action configure_emulate_report(CLI::App& app);
Action configure_emulate_network(CLI::App& app);
Action configure_emulate_phone(CLI::App& app);
Action configure_emulate_network_store(CLI::App& app);
Action configure_emulate_fault(CLI::App& app);
Action configure_emulate_signals(CLI::App& app);
Action configure_emulate_lock(CLI::App& app);
Action configure_emulate_disk_full(CLI::App& app);
Action configure_emulate_clear(CLI::App& app);
Action configure_emulate_state(CLI::App& app);
Action configure_emulate_reset(CLI::App& app);
Action configure_emulate_perform(CLI::App& app);

// For shells and builds.
Action configure_completion(CLI::App& app);
Action configure_manual(CLI::App& app);
Action configure_outline(CLI::App& app);

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
