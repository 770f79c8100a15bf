// SPDX-License-Identifier: Apache-2.0

// Puts a fixture of the conformance kit into a new message store, as the service would have written it:
// msg-consumer-fill-store FIXTURE FOLDER

#include <msg-consumer-common/Message.h>
#include <msg-consumer-common/NmsMsgMeta.h>

#include <exception>
#include <fstream>
#include <iostream>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "schema/address.hpp"
#include "schema/sqlite.hpp"
#include "service/store-writer.hpp"

namespace {

using Json = nlohmann::json;
using namespace msg_consumer;

std::vector<std::string> texts_of(const Json& addresses) {
  std::vector<std::string> texts;
  for (const Json& address : addresses) {
    texts.push_back(address.at("address"));
  }
  return texts;
}

// Directly: the service numbers its threads itself, and makes none without participants.
void add_thread(sqlite3* database, const Json& thread) {
  const std::string key = schema::address_key(texts_of(thread.at("addresses"))).value_or("");
  const std::string chat_id = thread.at("str_o");
  const std::string title = thread.at("str_m");
  const int id = thread.at("id");
  schema::Statement row(database,
                        "INSERT INTO thread (id, address_key, is_group, group_chat_id, title, participant_count)"
                        " VALUES (?, ?, ?, ?, ?, ?)");
  row.bind(1, id).bind(2, key).bind(3, thread.at("flag_p").get<int>()).bind(4, chat_id).bind(5, title);
  row.bind(6, thread.at("num_k").get<int>()).run();

  schema::Statement participant(database,
                                "INSERT INTO thread_address (thread_id, kind, address, is_own) VALUES (?, ?, ?, ?)");
  for (const Json& address : thread.at("addresses")) {
    const std::string text = address.at("address");
    participant.bind(1, id).bind(2, address.at("num_b").get<int>()).bind(3, text);
    participant.bind(4, address.at("flag_e").get<int>()).run();
  }
}

Address address_of(const Json& json) {
  Address address;
  address.num_b = json.at("num_b");
  address.num_c = json.at("num_c");
  address.address = json.at("address");
  address.flag_e = json.at("flag_e");
  return address;
}

Content content_of(const Json& json) {
  Content content;
  content.flag_c = json.at("flag_c");
  content.flag_d = json.at("flag_d");
  content.str_e = json.at("str_e");
  content.kind = json.at("kind");
  content.status = json.at("status").get<Content::Status>();
  content.str_g = json.at("str_g");
  content.str_h = json.at("str_h");
  content.str_i = json.at("str_i");
  content.str_j = json.at("str_j");
  content.str_l = json.at("str_l");
  return content;
}

Message message_of(const Json& json) {
  Message message;
  message.num_b = json.at("num_b");
  message.num_c = json.at("num_c");
  message.str_d = json.at("str_d");
  message.subType = json.at("subType");
  message.num_e = json.at("num_e");
  message.num_f = json.at("num_f");
  message.networkStatus = json.at("networkStatus");
  message.num_h = json.at("num_h");
  message.time_ms = json.at("time_ms");
  message.flag_j = json.at("flag_j");
  message.flag_k = json.at("flag_k");
  message.flag_l = json.at("flag_l");
  message.num_m = json.at("num_m");
  message.num_n = json.at("num_n");
  message.str_o = json.at("str_o");
  message.str_p = json.at("str_p");
  message.num_q = json.at("num_q");
  message.flag_r = json.at("flag_r");
  message.str_s = json.at("str_s");
  for (const Json& address : json.at("addresses")) {
    message.addresses.push_back(address_of(address));
  }
  for (const Json& content : json.at("contents")) {
    message.contents.push_back(content_of(content));
  }
  return message;
}

NmsMsgMeta meta_of(const Json& json) {
  NmsMsgMeta meta;
  meta.msgId = json.at("msgId");
  meta.metaStr1 = json.at("metaStr1");
  meta.metaStr2 = json.at("metaStr2");
  meta.metaStr3 = json.at("metaStr3");
  meta.metaStr4 = json.at("metaStr4");
  meta.metaInt64_1 = json.at("metaInt64_1");
  meta.metaInt64_2 = json.at("metaInt64_2");
  meta.metaInt1 = json.at("metaInt1");
  meta.metaInt2 = json.at("metaInt2");
  meta.metaFlag1 = json.at("metaFlag1");
  meta.metaFlag2 = json.at("metaFlag2");
  meta.metaFlag3 = json.at("metaFlag3");
  return meta;
}

// The service gives the next free id: makes that the fixture's.
void set_next_message_id(sqlite3* database, int id) {
  schema::execute(database, "DELETE FROM sqlite_sequence WHERE name = 'message'");
  schema::Statement sequence(database, "INSERT INTO sqlite_sequence (name, seq) VALUES ('message', ?)");
  sequence.bind(1, id - 1).run();
}

void fill(const std::string& path, const Json& fixture) {
  service::StoreWriter store(path);
  const schema::Database database = schema::open_database(path, SQLITE_OPEN_READWRITE);
  for (const Json& thread : fixture.at("threads")) {
    add_thread(database.get(), thread);
  }
  for (const Json& json : fixture.at("messages")) {
    set_next_message_id(database.get(), json.at("id"));
    service::StoredMessage stored{.message = message_of(json), .sender_name = json.at("sender_name")};
    store.transact([&] { store.messages().insert(stored); });
  }
  store.transact([&] {
    for (const Json& meta : fixture.at("metas")) {
      store.nms_box().put(meta_of(meta));
    }
    if (const Json& subscription = fixture.at("subscription"); !subscription.is_null()) {
      store.nms_box().subscribe(subscription.at("noti_index"), subscription.at("restart_token").get<std::string>());
    }
  });
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::cerr << "Usage: msg-consumer-fill-store FIXTURE FOLDER\n";
    return 2;
  }
  try {
    std::ifstream file(argv[1]);
    const std::string path = std::string(argv[2]) + "/messages.db";
    fill(path, Json::parse(file));
    // What the library needs to find the store: the kit sets it.
    std::cout << "MSG_CONSUMER_DB=" << path << '\n';
    return 0;
  } catch (const std::exception& error) {
    std::cerr << "msg-consumer-fill-store: " << error.what() << '\n';
    return 1;
  }
}
