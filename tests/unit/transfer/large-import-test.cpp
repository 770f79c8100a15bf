// SPDX-License-Identifier: Apache-2.0
#include <sys/resource.h>

#include <fstream>

#include "transfer-test.hpp"

namespace msg_consumer::service::transfer {
namespace {

constexpr int MANY = 50'000;

/// Written past the importer, so that not both stores come from it.
void fill(TestStore& store, int count) {
  store.store.transact([&] {
    std::vector<int> threads;
    for (const char* address : {"+15550100", "+15550101", "ada@example.org"}) {
      threads.push_back(store.store.threads().find_or_make({address}).id);
    }
    for (int number = 1; number <= count; ++number) {
      StoredMessage stored{.message = sms("message " + std::to_string(number), number * std::int64_t{1000}),
                           .sender_name = "Ada"};
      stored.message.num_b = threads[static_cast<std::size_t>(number) % threads.size()];
      stored.message.flag_j = number % 2;
      store.store.messages().insert(stored);
    }
  });
}

/// How many rows of a table one store has and the other has not.
std::int64_t differences(TestStore& one, const std::string& table) {
  return one.ask("SELECT (SELECT count(*) FROM (SELECT * FROM main." + table + " EXCEPT SELECT * FROM other." + table +
                 ")) + (SELECT count(*) FROM (SELECT * FROM other." + table + " EXCEPT SELECT * FROM main." + table +
                 "))");
}

TEST(ManyMessages, GoThroughExportAndImportUnchanged) {
  TestStore first;
  fill(first, MANY);
  TestStore second;
  EXPECT_EQ(second.import(first.exported(), 65'536).at("messages").at("added"), MANY);
  EXPECT_LE(second.announcements.all.size(), static_cast<std::size_t>(MANY) / 200);
  schema::execute(second.store.database(), ("ATTACH '" + first.path + "' AS other").c_str());
  EXPECT_EQ(second.ask("SELECT count(*) FROM message"), MANY);
  for (const char* table : {"thread", "thread_address", "message", "message_text", "nms_meta", "nms_subscription",
                            "sequence", "sqlite_sequence"}) {
    EXPECT_EQ(differences(second, table), 0) << table;
  }
}

// Each row is read once: were it read again for each message of its time, the steps would be as many as their square.
TEST(ManyMessages, OfTheSameTimeAreFoundAgainInNoMoreThanTheirNumberOfSteps) {
  constexpr int count = 10'000;
  std::string text = "{\"kind\":\"store\",\"version\":1}\n";
  for (int number = 1; number <= count; ++number) {
    text += R"({"kind":"message","type":"sms","direction":"incoming","time_ms":5,"sender":"+15550100","text":")" +
            std::to_string(number) + "\"}\n";
  }
  text += "{\"kind\":\"end\",\"threads\":0,\"messages\":" + std::to_string(count) + ",\"metadata\":0}\n";
  TestStore store;
  store.import(text, 65'536);
  const Json again = store.import(text, 65'536);
  EXPECT_EQ(again.at("messages"), Json::parse("{\"added\":0,\"present\":" + std::to_string(count) + "}"));
  EXPECT_LT(store.steps, 3 * count) << "a line is a step, and so is each message";
}

TEST(SeveralBatches, AreAnnouncedAsOneChangeEach) {
  TestStore first;
  fill(first, 600);
  TestStore second;
  const std::string text = first.exported();
  EXPECT_EQ(second.import(text).at("lines"), lines_of(text).size());
  ASSERT_EQ(second.announcements.all.size(), 3U);
  int next = 1;
  for (const std::string& body : second.announcements.all) {
    const Json change = Json::parse(body);
    EXPECT_EQ(change.at("event"), "added");
    for (const Json& id : change.at("message_ids")) EXPECT_EQ(id, next++);
  }
  EXPECT_EQ(next, 601) << "each message once";
}

// A long file that is nowhere like itself.
void write_numbers(const std::string& path, std::int64_t size) {
  std::ofstream file(path, std::ios::binary);
  for (std::int64_t number = 0; number < size / 8; ++number) file.write(reinterpret_cast<const char*>(&number), 8);
}

bool are_equal(const std::string& one, const std::string& other) {
  std::ifstream left(one, std::ios::binary);
  std::ifstream right(other, std::ios::binary);
  return left && right &&
         std::equal(std::istreambuf_iterator<char>(left), {}, std::istreambuf_iterator<char>(right), {});
}

long peak_kilobytes() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss;
}

TEST(ALargeAttachment, GoesThroughExportAndImportInLittleMemory) {
  constexpr std::int64_t size = std::int64_t{20} * 1024 * 1024;
  TestStore first;
  const std::string file = first.folder.file("film.mp4");
  write_numbers(file, size);
  first.add_with_copy(sms("look"), file);
  TestStore second;
  Exporter exporter(first.path, first.files);
  Importer importer(second.store, second.files, second.announcements);
  [[maybe_unused]] const long before = peak_kilobytes();
  std::string piece;
  while (!importer.finished()) {
    if (importer.hungry()) {
      piece.clear();
      exporter.produce(piece, 65'536);
      piece.empty() ? importer.end_input() : importer.feed(piece);
    }
    importer.work();
  }
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
  EXPECT_LT(peak_kilobytes() - before, 10 * 1024);
#endif
  EXPECT_EQ(Json::parse(importer.summary()).at("files"), 1);
  EXPECT_TRUE(are_equal(second.folder.file("files/1/1-film.mp4"), file));
}

}  // namespace
}  // namespace msg_consumer::service::transfer
