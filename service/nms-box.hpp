// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_SERVICE_NMS_BOX_HPP
#define MSG_CONSUMER_SERVICE_NMS_BOX_HPP

#include <msg-consumer-common/NmsMsgMeta.h>

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <string_view>

#include "schema/sqlite.hpp"

namespace msg_consumer::service {

/// What is kept of the network message store: metadata, and the subscription. All of it runs inside the caller's
/// transaction. Of a message's metadata, what was added first is shown with the message.
class NmsBox {
 public:
  /// Where a record of metadata stands. The message id is 0 and the object id empty when it has none.
  struct Place {
    std::int64_t row;
    int message_id;
    std::string object_id;
  };

  explicit NmsBox(sqlite3* database);

  /// The first added record with these ids; an id below 1 and an empty object id stand for any. Refused when both do.
  std::optional<Place> find(int message_id, std::string_view object_id);
  /// Throws the refusal for a record that is not there.
  Place get(int message_id, std::string_view object_id);

  /// Adds a record, or replaces the one with the same ids. Returns whether that changed anything.
  bool put(const NmsMsgMeta& meta);
  /// Replaces the record at `place`; its ids may change, but not to those of another record. Returns whether that
  /// changed anything.
  bool replace(const Place& place, const NmsMsgMeta& meta);
  void remove(const Place& place);

  /// Removes the records without a message, or with nothing to find them by. Returns the ids of the messages that are
  /// gone, or nothing when there was no such record.
  std::optional<std::set<int>> remove_invalid();
  /// Removes everything. Returns the ids of the messages that had metadata, or nothing when there was nothing at all.
  std::optional<std::set<int>> reset();

  /// Returns whether that changed anything.
  bool subscribe(std::uint64_t notification_index, std::string_view restart_token);

 private:
  schema::Statement& find_statement(int message_id, std::string_view object_id);
  bool is_another(const Place& place, const NmsMsgMeta& meta);
  void show_first_of(int message_id);

  schema::Statement _find;
  schema::Statement _find_of_message;
  schema::Statement _find_of_object;
  schema::Statement _put;
  schema::Statement _replace;
  schema::Statement _remove;
  schema::Statement _remove_invalid;
  schema::Statement _remove_all;
  schema::Statement _show_first;
  schema::Statement _subscribe;
  schema::Statement _unsubscribe;
};

}  // namespace msg_consumer::service

#endif
