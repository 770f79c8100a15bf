// SPDX-License-Identifier: Apache-2.0
#include "rows.hpp"

#include <string>
#include <vector>

#include "connection.hpp"
#include "schema/row-codec.hpp"
#include "schema/schema.hpp"

namespace msg_consumer::db {
namespace {

// The columns are INTEGER in STRICT tables, and what is written there came from the records' members.
int number(const schema::Statement& row, int column) { return static_cast<int>(row.integer(column)); }

std::uint8_t flag(const schema::Statement& row, int column) { return row.integer(column) != 0 ? 1 : 0; }

constexpr int PACKED_COLUMN = 7;
constexpr int NMS_META_COLUMN = 8;

// A message and a conversation have these members under the same names.
template <typename Record>
void read_columns(const schema::Statement& row, Record& record) {
  record.id = number(row, 0);
  record.num_b = number(row, 1);
  record.num_c = number(row, 2);
  record.num_f = number(row, 3);
  record.time_ms = row.integer(4);
  record.flag_j = flag(row, 5);
  record.flag_k = flag(row, 6);
}

void read_nms_meta(const schema::Statement& row, int column, NmsMsgMeta& meta) {
  meta.msgId = number(row, column);
  meta.metaStr1 = row.text(++column);
  meta.metaStr2 = row.text(++column);
  meta.metaStr3 = row.text(++column);
  meta.metaStr4 = row.text(++column);
  meta.metaInt64_1 = row.integer(++column);
  meta.metaInt64_2 = row.integer(++column);
  meta.metaInt1 = number(row, ++column);
  meta.metaInt2 = number(row, ++column);
  meta.metaFlag1 = row.integer(++column) != 0;
  meta.metaFlag2 = row.integer(++column) != 0;
  meta.metaFlag3 = row.integer(++column) != 0;
}

void require_unpacked(bool unpacked, int message_id) {
  if (!unpacked) throw StoreError(DB_CORRUPT, "message " + std::to_string(message_id) + " is damaged in the store");
}

void make_absolute(std::string& path) {
  if (!path.empty() && path.front() != '/') path.insert(0, schema::attachments_path() + '/');
}

void make_paths_absolute(std::vector<Content>& contents) {
  for (Content& part : contents) {
    make_absolute(part.str_g);
    make_absolute(part.str_i);
  }
}

}  // namespace

void read_row(const schema::Statement& row, Message& message) {
  read_columns(row, message);
  require_unpacked(schema::unpack_message(row.blob(PACKED_COLUMN), message, nullptr), message.id);
  make_paths_absolute(message.contents);
  if (!row.is_null(NMS_META_COLUMN)) read_nms_meta(row, NMS_META_COLUMN, message.nms_meta);
}

void read_row(const schema::Statement& row, Conversation& conversation) {
  read_columns(row, conversation);
  require_unpacked(schema::unpack_conversation(row.blob(PACKED_COLUMN), conversation), conversation.id);
  make_paths_absolute(conversation.contents);
}

void read_row(const schema::Statement& row, Thread& thread) {
  int column = 0;
  thread.id = number(row, column);
  thread.num_b = number(row, ++column);
  thread.num_c = number(row, ++column);
  thread.num_d = number(row, ++column);
  thread.flag_e = flag(row, ++column);
  thread.flag_f = flag(row, ++column);
  thread.num_g = number(row, ++column);
  thread.num_h = number(row, ++column);
  thread.num_i = number(row, ++column);
  thread.time_ms = row.integer(++column);
  thread.num_k = number(row, ++column);
  thread.str_m = row.text(++column);
  thread.str_n = row.text(++column);
  thread.str_o = row.text(++column);
  thread.flag_p = flag(row, ++column);
}

void read_row(const schema::Statement& row, Address& address) {
  address.num_a = number(row, 0);
  address.num_b = number(row, 1);
  address.address = row.text(2);
  address.flag_e = flag(row, 3);
}

void read_row(const schema::Statement& row, NmsMsgMeta& meta) { read_nms_meta(row, 0, meta); }

}  // namespace msg_consumer::db
