// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <string>
#include <utility>

#include "attachments.hpp"
#include "commands.hpp"
#include "record-values.hpp"
#include "schema/address.hpp"

namespace msg_consumer::service {
namespace {

// A message beyond these would keep the service, and every reader of the store, busy for long.
constexpr std::size_t MAX_RECIPIENTS = 1000;
constexpr std::size_t MAX_TEXT_SIZE = std::size_t{1024} * 1024;

// Before anything is split or copied.
void check_size(const Submission& submission) {
  const auto separators = std::count(submission.recipients.begin(), submission.recipients.end(), ';');
  require(static_cast<std::size_t>(separators) < MAX_RECIPIENTS && submission.recipients.size() <= MAX_TEXT_SIZE &&
              submission.text.size() <= MAX_TEXT_SIZE,
          STATUS_TOO_MUCH);
}

MessageType type_of(std::string_view name) {
  require(name == "sms" || name == "mms", STATUS_INVALID_ARGUMENT);
  return name == "sms" ? TYPE_SMS : TYPE_MMS;
}

std::vector<std::string> recipients_of(const Submission& submission) {
  std::optional<std::vector<std::string>> recipients = schema::split_recipients(submission.recipients);
  require(recipients.has_value(), STATUS_INVALID_ARGUMENT);
  return *std::move(recipients);
}

// A message never goes to somebody whom the caller did not name.
void check_recipients(const Submission& submission, const ThreadInfo& thread) {
  if (!submission.recipients.empty()) {
    require(schema::address_key(recipients_of(submission)) == thread.address_key, STATUS_INVALID_ARGUMENT);
  }
}

std::vector<Address> addressed_to(const std::vector<std::string>& recipients) {
  std::vector<Address> addresses;
  for (const std::string& recipient : recipients) {
    Address& address = addresses.emplace_back();
    address.num_b = schema::address_kind(recipient);
    address.num_c = ROLE_TO;
    address.address = recipient;
  }
  return addresses;
}

bool needs_retrieval(const Message& message) {
  return message.num_c == TYPE_MMS && message.subType == SUBTYPE_MMS_NOTIFICATION &&
         (message.num_n == RETRIEVAL_NEEDED || message.num_n == RETRIEVAL_FAILED);
}

}  // namespace

Commands::Commands(StoreWriter& store, ContentFiles& files, Inbox& inbox, Network& network, Phone& phone,
                   const Clock& clock)
    : _store(store), _files(files), _inbox(inbox), _network(network), _phone(phone), _clock(clock) {}

Outcome Commands::read_message(int message_id, int /*is_nms*/) {
  return edit_message(message_id, [](Message& message) { return std::exchange(message.flag_j, 1) == 0; });
}

Outcome Commands::delete_message(int message_id, int /*is_nms*/) {
  return delete_messages([&] {
    const Message message = _store.messages().get(message_id).message;
    require(message.flag_k == 0, STATUS_NOT_APPLICABLE);
    _store.messages().remove(message);
    return Change{.event = "deleted", .message_ids = {message_id}, .thread_ids = {message.num_b}};
  });
}

Creation Commands::add_message(const Submission& submission) {
  return submit(submission, DIRECTION_DRAFT, DELIVERY_NONE);
}

Creation Commands::send_message(const Submission& submission) {
  Creation creation = submit(submission, DIRECTION_OUTGOING, DELIVERY_QUEUED);
  if (creation.outcome.announcement) {
    _network.send_queued();
  }
  return creation;
}

Creation Commands::submit(const Submission& submission, int direction, int delivery) noexcept {
  try {
    return store_new(submission, direction, delivery);
  } catch (...) {
    return {.outcome = {.status = status_of_current_exception()}};
  }
}

Creation Commands::store_new(const Submission& submission, int direction, int delivery) {
  check_size(submission);
  const bool takes_files = type_of(submission.type) == TYPE_MMS;
  require(takes_files || submission.file_paths.empty(), STATUS_INVALID_ARGUMENT);
  IncomingFiles files = _files.copy_in(split_paths(submission.file_paths), ContentFiles::MAX_TOTAL_SIZE);
  Creation creation;
  creation.outcome.announcement = _store.commit([&]() -> std::optional<Change> {
    StoredMessage stored = compose(submission, direction, delivery);
    Message& message = stored.message;
    if (takes_files) {
      _files.place(files, _store.messages().next_id(), 1);
      append_text_part(message);
      append_file_parts(message, files);
    }
    _store.messages().insert(stored);
    creation.message_id = message.id;
    return Change{.event = "added", .message_ids = {message.id}, .thread_ids = {message.num_b}};
  });
  files.keep();
  return creation;
}

StoredMessage Commands::compose(const Submission& submission, int direction, int delivery) {
  const ThreadInfo thread = thread_for(submission);
  StoredMessage stored;
  Message& message = stored.message;
  message.num_b = thread.id;
  message.num_c = thread.is_group ? TYPE_GROUP_CHAT : type_of(submission.type);
  message.str_d = submission.text;
  message.num_e = direction;
  message.num_f = delivery;
  message.num_h = submission.sim_index;
  message.time_ms = _clock.now_ms();
  message.flag_j = 1;
  message.addresses = addressed_to(submission.thread_id > 0 ? _store.threads().participants(thread.id)
                                                            : distinct_addresses(recipients_of(submission)));
  return stored;
}

ThreadInfo Commands::thread_for(const Submission& submission) {
  if (submission.thread_id <= 0) {
    return _store.threads().find_or_make(recipients_of(submission));
  }
  ThreadInfo thread = _store.threads().get(submission.thread_id);
  check_recipients(submission, thread);
  return thread;
}

Outcome Commands::resend_message(int message_id) {
  Outcome outcome = edit_message(message_id, [&](Message& message) {
    const bool has_failed = message.num_e == DIRECTION_OUTGOING && message.num_f == DELIVERY_FAILED;
    require(has_failed || message.num_e == DIRECTION_DRAFT, STATUS_NOT_APPLICABLE);
    message.num_e = DIRECTION_OUTGOING;
    message.num_f = DELIVERY_QUEUED;
    message.time_ms = _clock.now_ms();
    return true;
  });
  if (outcome.announcement) {
    _network.send_queued();
  }
  return outcome;
}

Outcome Commands::restore_block_message(int message_id) {
  return edit_message(message_id, [](Message& message) {
    require(message.flag_l != 0, STATUS_NOT_APPLICABLE);
    message.flag_l = 0;
    if (message.subType == SUBTYPE_BLOCKED) {
      message.subType = SUBTYPE_PLAIN;
    }
    return true;
  });
}

Outcome Commands::export_to_phone(int message_id) {
  return guarded([&] {
    return _store.commit([&]() -> std::optional<Change> {
      StoredMessage stored = _store.messages().get(message_id);
      const Message before = stored.message;
      require(before.flag_r == 0, STATUS_NOT_APPLICABLE);
      const Phone::Answer answer = _phone.store(before);
      if (answer.kind == Phone::Answer::NONE) {
        return std::nullopt;
      }
      Change change{.signal = STORE_MESSAGE_RESULT, .message_ids = {message_id}, .thread_ids = {before.num_b}};
      if (answer.kind == Phone::Answer::REFUSED) {
        change.event = "refused";
        change.status = answer.status;
        return change;
      }
      change.event = "exported";
      stored.message.flag_r = 1;
      stored.message.str_s = answer.phone_id;
      _store.messages().update(before, stored);
      return change;
    });
  });
}

Outcome Commands::update_retrieve_mms_message(int message_id) {
  bool asked = false;
  Outcome outcome = edit_message(message_id, [&](Message& message) {
    // An instance that died while it fetched the message has left it running.
    const bool was_abandoned = message.num_n == RETRIEVAL_RUNNING && !_network.is_retrieving(message_id);
    require(needs_retrieval(message) || was_abandoned, STATUS_NOT_APPLICABLE);
    message.num_n = RETRIEVAL_RUNNING;
    _network.retrieve(message_id);
    asked = true;
    return true;
  });
  if (asked && outcome.status != STATUS_OK) {
    _network.give_up(message_id);
  }
  return outcome;
}

}  // namespace msg_consumer::service
