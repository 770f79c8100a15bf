// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <msg-consumer-common/db.h>

#include <algorithm>
#include <random>

#include "random-text.hpp"
#include "schema/text.hpp"
#include "test-store.hpp"

namespace msg_consumer::db {
namespace {

using test::make_message;
using test::TestStore;

std::vector<int> search(const std::string& keyword) {
  ListCondition condition;
  condition.keyword = keyword;
  condition.flag_x = 0;
  std::vector<Message> messages;
  const int status = db_get_message_list(condition, messages);
  EXPECT_EQ(status, messages.empty() ? DB_NO_RECORD : DB_OK) << keyword;
  std::vector<int> ids;
  for (const auto& message : messages) ids.push_back(message.id);
  return ids;
}

struct StoredTexts {
  int id;
  std::vector<std::string> folded;
};

bool has_match(const StoredTexts& message, const std::string& keyword) {
  return std::any_of(message.folded.begin(), message.folded.end(),
                     [&keyword](const std::string& text) { return text.find(keyword) != std::string::npos; });
}

std::vector<int> scan(const std::vector<StoredTexts>& messages, const std::string& keyword) {
  const std::string folded = schema::fold(keyword).value();
  std::vector<int> ids;
  for (const auto& message : messages) {
    if (has_match(message, folded)) ids.push_back(message.id);
  }
  return ids;
}

StoredTexts add_random_message(TestStore& store, int thread, std::mt19937& random) {
  Message message = make_message(thread, test::random_text(random, 30));
  message.str_o = test::random_text(random, 4);
  message.str_p = test::random_text(random, 4);
  message.addresses.resize(1);
  message.addresses[0].address = test::random_text(random, 4);
  StoredTexts texts{store.add_message(message), {}};
  for (const auto& text : {message.str_d, message.str_o, message.str_p, message.addresses[0].address}) {
    texts.folded.push_back(schema::fold(text).value());
  }
  return texts;
}

TEST(Search, FindsWhatAPlainScanFinds) {
  std::mt19937 random(3);  // NOLINT(cert-msc32-c,cert-msc51-cpp): repeatable
  TestStore store;
  const int thread = store.add_thread({"1"});
  std::vector<StoredTexts> messages;
  store.execute("BEGIN");
  for (int i = 0; i < 10'000; ++i) messages.push_back(add_random_message(store, thread, random));
  store.execute("COMMIT");

  int hits = 0;
  for (int i = 0; i < 600; ++i) {
    const std::string keyword = test::random_text(random, 12);
    const auto expected = scan(messages, keyword);
    ASSERT_EQ(search(keyword), expected) << keyword;
    hits += expected.empty() ? 0 : 1;
  }
  EXPECT_GT(hits, 200) << "most keywords found nothing: the test shows little";
}

TEST(Search, LooksIntoBodySubjectSenderAndAddresses) {
  TestStore store;
  Message message = make_message(store.add_thread({"1"}), "the body");
  message.str_o = "the subject";
  message.str_p = "the sender";
  message.addresses.resize(2);
  message.addresses[1].address = "+49 170 555";
  const int id = store.add_message(message);
  for (const auto* keyword : {"BODY", "subj", "Sender", "170", "55", "5", "e"}) {
    EXPECT_THAT(search(keyword), testing::ElementsAre(id)) << keyword;
  }
  for (const auto* keyword : {"bodythe", "bodies", "zz", "z"}) {
    EXPECT_THAT(search(keyword), testing::IsEmpty()) << keyword;
  }
}

TEST(Search, TakesEveryCharacterForItself) {
  TestStore store;
  const int thread = store.add_thread({"1"});
  const int quotes = store.add_message(make_message(thread, "say \"hi\" OR it's NOT 100%_\\*"));
  store.add_message(make_message(thread, "say hi or its not 1000 of them"));
  for (const auto* keyword :
       {"\"hi\"", "\"", "\"\"", "it's", "'", "%", "_", "%_\\", "\\*", "\" or ", "not 100%", "*", "100%_"}) {
    const auto found = search(keyword);
    if (std::string(keyword) == "\"\"") {
      EXPECT_THAT(found, testing::IsEmpty());
    } else {
      EXPECT_THAT(found, testing::ElementsAre(quotes)) << keyword;
    }
  }
}

TEST(Search, ForgetsDeletedAndChangedTexts) {
  TestStore store;
  const int id = store.add_message(make_message(store.add_thread({"1"}), "hello"));
  EXPECT_THAT(search("hello"), testing::ElementsAre(id));
  store.execute("UPDATE message_text SET folded = 'goodbye'");
  EXPECT_THAT(search("hello"), testing::IsEmpty());
  EXPECT_THAT(search("goodbye"), testing::ElementsAre(id));
  store.execute("DELETE FROM message");
  EXPECT_THAT(search("goodbye"), testing::IsEmpty());
  store.execute("INSERT INTO message_search (message_search, rank) VALUES ('integrity-check', 1)");
}

}  // namespace
}  // namespace msg_consumer::db
