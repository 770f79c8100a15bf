// SPDX-License-Identifier: Apache-2.0
#include "test-store.hpp"

#include <msg-consumer-common/db.h>

#include "schema/address.hpp"
#include "schema/row-codec.hpp"
#include "schema/schema.hpp"
#include "schema/text.hpp"

namespace msg_consumer::test {

TestStore::TestStore() : _database(schema::open_database(_path, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE)) {
  sqlite3_busy_timeout(database(), 10'000);
  execute("PRAGMA journal_mode = WAL");
  // As the service does it: the log's files stay when the last connection is closed.
  int persist = 1;
  sqlite3_file_control(database(), "main", SQLITE_FCNTL_PERSIST_WAL, &persist);
  schema::migrate(database());
}

TestStore::~TestStore() { db::deinit_db(); }

void TestStore::close() { _database.reset(); }

int TestStore::add_thread(const std::vector<std::string>& addresses, bool is_group) {
  const std::string key = schema::address_key(addresses).value_or("");
  schema::Statement thread(database(),
                           "INSERT INTO thread (address_key, is_group, participant_count) VALUES (?, ?, ?)");
  thread.bind(1, key).bind(2, is_group ? 1 : 0).bind(3, static_cast<int>(addresses.size())).run();
  const auto id = sqlite3_last_insert_rowid(database());

  schema::Statement participant(database(), "INSERT INTO thread_address (thread_id, kind, address) VALUES (?, ?, ?)");
  for (const auto& address : addresses) {
    participant.bind(1, id).bind(2, schema::address_kind(address)).bind(3, address).run();
  }
  return static_cast<int>(id);
}

int TestStore::add_message(const Message& message, const std::string& sender_name) {
  const std::string packed = schema::pack_message(message, sender_name);
  schema::Statement row(database(),
                        "INSERT INTO message (thread_id, type, delivery, time_ms, is_read, is_locked, packed)"
                        " VALUES (?, ?, ?, ?, ?, ?, ?)");
  row.bind(1, message.num_b).bind(2, message.num_c).bind(3, message.num_f).bind(4, message.time_ms);
  row.bind(5, message.flag_j).bind(6, message.flag_k).bind_blob(7, packed).run();
  const auto id = sqlite3_last_insert_rowid(database());

  const std::string folded = schema::searchable_text(message).value();
  schema::Statement text(database(), "INSERT INTO message_text (message_id, folded) VALUES (?, ?)");
  text.bind(1, id).bind(2, folded).run();
  return static_cast<int>(id);
}

void TestStore::add_nms_meta(int message_id, const NmsMsgMeta& meta) {
  schema::Statement row(database(),
                        "INSERT INTO nms_meta (message_id, object_id, correlation_id, folder_path, resource_url,"
                        " modified_ms, notified_ms, sync_state, download_state, is_seen, is_deleted, is_correlated)"
                        " VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)");
  row.bind(1, meta.msgId).bind(2, meta.metaStr1).bind(3, meta.metaStr2).bind(4, meta.metaStr3).bind(5, meta.metaStr4);
  row.bind(6, meta.metaInt64_1).bind(7, meta.metaInt64_2).bind(8, meta.metaInt1).bind(9, meta.metaInt2);
  row.bind(10, meta.metaFlag1 ? 1 : 0).bind(11, meta.metaFlag2 ? 1 : 0).bind(12, meta.metaFlag3 ? 1 : 0).run();
  schema::Statement link(database(), "UPDATE message SET nms_meta_id = ? WHERE id = ?");
  link.bind(1, sqlite3_last_insert_rowid(database())).bind(2, message_id).run();
}

Message make_message(int thread_id, const std::string& body, std::int64_t time_ms) {
  Message message;
  message.num_b = thread_id;
  message.num_c = 1;
  message.num_e = 1;
  message.str_d = body;
  message.time_ms = time_ms;
  message.flag_j = 1;
  return message;
}

}  // namespace msg_consumer::test
