// SPDX-License-Identifier: Apache-2.0
#include "device.hpp"

#include <filesystem>
#include <fstream>
#include <functional>

#include "unit/store/sample-records.hpp"

namespace msg_consumer::test {
namespace {

enum { OUTGOING = 2 };

Message sample_message(int thread, const std::string& body) {
  Message message = sample<Message>();
  message.num_b = thread;
  message.num_e = OUTGOING;
  message.str_d = body;
  message.contents.back().flag_c = 0;  // an attachment
  return message;
}

NmsMsgMeta sample_meta(int message, const std::string& object) {
  NmsMsgMeta meta = sample<NmsMsgMeta>();
  meta.msgId = message;
  meta.metaStr1 = object;
  meta.metaStr2 = "correlated with nothing that is here";
  meta.metaInt1 = 1;
  meta.metaInt2 = 1;
  meta.metaFlag2 = false;
  meta.metaFlag3 = false;
  return meta;
}

// The sending commands alone answer with an id.
GVariant* answer(const FakeService::Call& call) {
  const bool sends = call.method == "send_message" || call.method == "add_message" || call.method == "nms_send_message";
  return sends ? g_variant_new("(ii)", Device::NEW_ID, 0) : g_variant_new("(i)", 0);
}

// In one piece: this is done for every single fault.
std::string bytes_of(const std::string& path) {
  std::string bytes(std::filesystem::file_size(path), '\0');
  std::ifstream(path, std::ios::binary).read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  return bytes;
}

}  // namespace

Device::Device() {
  write_preferences();
  thread = store.add_thread({PARTICIPANT, "+491701234567"});
  store.add_thread({PARTICIPANT});
  message = store.add_message(sample_message(thread, "the body of the first message"));
  const int second = store.add_message(sample_message(thread, "the body of the second message"));
  store.add_nms_meta(message, sample_meta(message, OBJECT));
  store.add_nms_meta(second, sample_meta(second, "an object of the network store, the second"));
  store.execute(
      "INSERT INTO nms_subscription (id, noti_index, restart_token)"
      " VALUES (1, 5, 'a token that is too long for a short string')");
  store.execute("PRAGMA wal_checkpoint(TRUNCATE)");
  service.answer(answer);
}

void Device::write_preferences(const std::string& more) const {
  write_file(preferences, "[preferences]\nconsumer_preference_int_consumer_status=1\n" + more);
}

std::size_t Device::checksum() const {
  return std::hash<std::string>()(bytes_of(store.path()) + bytes_of(store.path() + "-wal"));
}

}  // namespace msg_consumer::test
