// SPDX-License-Identifier: Apache-2.0
#include "transfer-test.hpp"

namespace msg_consumer::service::transfer {
namespace {

constexpr int MANY = 50'000;

// Each with its number as text; a few threads.
std::string many_messages(const std::function<std::int64_t(int)>& time_of) {
  std::string text =
      "{\"kind\":\"store\",\"version\":1,\"last_ids\":{\"thread\":7,\"message\":" + std::to_string(MANY) + "}}\n";
  for (int thread = 1; thread <= 7; ++thread) {
    text += R"({"kind":"thread","id":)" + std::to_string(thread) + R"(,"participants":[{"address":"+1555010)" +
            std::to_string(thread) + "\"}]}\n";
  }
  for (int id = 1; id <= MANY; ++id) {
    text += R"({"kind":"message","id":)" + std::to_string(id) + ",\"thread\":" + std::to_string(id % 7 + 1) +
            R"(,"type":"sms","direction":"outgoing","delivery":"sent","time_ms":)" + std::to_string(time_of(id)) +
            ",\"text\":\"" + std::to_string(id) + "\"}\n";
  }
  return text + "{\"kind\":\"end\",\"threads\":7,\"messages\":" + std::to_string(MANY) + ",\"metadata\":0}\n";
}

TEST(ManyMessages, GoThroughExportAndImportUnchanged) {
  TestStore first;
  EXPECT_EQ(first.import(many_messages([](int id) { return id * 1000; })).at("messages").at("added"), MANY);
  const std::string text = first.exported();
  TestStore second;
  EXPECT_EQ(second.import(text, 65'536).at("messages").at("added"), MANY);
  EXPECT_EQ(second.exported(), text);
  EXPECT_LE(second.announcements.all.size(), static_cast<std::size_t>(MANY) / 200);
}

TEST(ManyMessages, OfTheSameTimeAreFoundAgainInNoMoreThanTheirNumberOfSteps) {
  TestStore store;
  const std::string text = many_messages([](int) { return 5; });
  store.import(text, 65'536);
  const Json again = store.import(text, 65'536);
  EXPECT_EQ(again.at("messages"), Json::parse("{\"added\":0,\"present\":" + std::to_string(MANY) + "}"));
}

}  // namespace
}  // namespace msg_consumer::service::transfer
