// SPDX-License-Identifier: Apache-2.0
#include "service-world.hpp"

#include "unit/service/serialized-records.hpp"
#include "unit/store/sample-records.hpp"

// What is on the disk after a power cut is not asked here, and waiting for it takes most of the time.
extern "C" int fsync(int /*file*/) { return 0; }
extern "C" int fdatasync(int /*file*/) { return 0; }

namespace msg_consumer::service {
namespace {

NmsMsgMeta meta_with(int message_id, const char* object_id) {
  NmsMsgMeta meta = test::sample<NmsMsgMeta>();
  meta.msgId = message_id;
  meta.metaStr1 = object_id;
  return meta;
}

}  // namespace

World::World() : _beside(schema::open_database(path, SQLITE_OPEN_READONLY)) {
  test::write_file(attachment, "the content of the attachment");
  make_messages();
  make_metadata();
}

void World::make_messages() {
  unread = receive_from(FRIEND);
  thread = stored(unread).num_b;
  draft = commands.add_message({"mms", 0, FRIEND, "a draft with an attachment", attachment, 1}).message_id;
  failed = send(FRIEND, "a message that did not get through").message_id;
  edit(failed, [](Message& message) { message.num_f = DELIVERY_FAILED; });
  Message unwanted = incoming(FRIEND);
  unwanted.subType = SUBTYPE_BLOCKED;
  unwanted.flag_l = 1;
  blocked = receive(unwanted);
  Message notice = incoming(FRIEND);
  notice.num_c = TYPE_MMS;
  notice.subType = SUBTYPE_MMS_NOTIFICATION;
  notice.num_n = RETRIEVAL_NEEDED;
  notified = receive(notice);
  receive_from(STRANGER);
  group = make_group({std::string(FRIEND), std::string(STRANGER)});
  threads = {thread, group};
}

void World::make_metadata() {
  Message other = test::sample<Message>();
  other.num_b = 0;
  other.num_c = TYPE_SMS;
  other.contents.clear();
  other.addresses.resize(1);
  other.addresses.front().flag_e = 0;
  message_record = test::serialized(other);
  meta_record = test::serialized(meta_with(unread, "another object of the network store"));
  const std::string first = test::serialized(meta_with(unread, OBJECT));
  const std::string orphan = test::serialized(meta_with(draft, "an object whose message is gone"));
  ASSERT_EQ(commands.nms_add_msg_meta(test::as_record(first)).status, STATUS_OK);
  ASSERT_EQ(commands.nms_add_msg_meta(test::as_record(orphan)).status, STATUS_OK);
  store.transact([&] { schema::execute(store.database(), "UPDATE nms_meta SET message_id = 999 WHERE id = 2"); });
}

std::string World::content() const {
  std::string all;
  schema::Statement tables(_beside.get(), "SELECT name FROM sqlite_schema WHERE type = 'table' ORDER BY name");
  while (tables.step()) {
    const std::string name(tables.text(0));
    all += name;
    const auto append_row = [](void* text, int count, char** values, char** /*names*/) {
      for (int i = 0; i < count; ++i) *static_cast<std::string*>(text) += values[i] != nullptr ? values[i] : "NULL";
      return 0;
    };
    EXPECT_EQ(sqlite3_exec(_beside.get(), ("SELECT * FROM " + name).c_str(), append_row, &all, nullptr), SQLITE_OK);
  }
  return all;
}

std::set<std::string> World::files_kept() const {
  std::set<std::string> names;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(folder.path())) names.insert(entry.path());
  return names;
}

void World::expect_whole() {
  schema::Statement integrity(_beside.get(), "PRAGMA integrity_check");
  ASSERT_TRUE(integrity.step());
  EXPECT_EQ(integrity.text(0), "ok");
  schema::Statement foreign_keys(_beside.get(), "PRAGMA foreign_key_check");
  EXPECT_FALSE(foreign_keys.step());
  schema::Statement counts(_beside.get(),
                           "SELECT id FROM thread AS t WHERE message_count <> (SELECT count(*) FROM message AS m"
                           " WHERE m.thread_id = t.id)");
  EXPECT_FALSE(counts.step());
}

}  // namespace msg_consumer::service
