// SPDX-License-Identifier: Apache-2.0
#include <atomic>
#include <csignal>
#include <map>
#include <random>
#include <thread>

#include "schema/sqlite.hpp"
#include "service-on-bus.hpp"

namespace msg_consumer::service {
namespace {

constexpr int MESSAGES = 2000;

/// Kills whichever process it is told of, a random while later.
class Killer {
 public:
  ~Killer() {
    _stop = true;
    _thread.join();
  }
  Killer() = default;
  Killer(const Killer&) = delete;
  Killer& operator=(const Killer&) = delete;

  void aim_at(pid_t victim) { _victim = victim; }
  int kills() const { return _kills; }

 private:
  void run() {
    constexpr int SEED = 7;
    std::mt19937 random(SEED);
    while (!_stop) {
      std::this_thread::sleep_for(std::chrono::microseconds(random() % 120'000));
      if (const pid_t victim = _victim.exchange(0); victim > 0) {
        kill(victim, SIGKILL);
        ++_kills;
      }
    }
  }

  std::atomic<pid_t> _victim = 0;
  std::atomic<int> _kills = 0;
  std::atomic<bool> _stop = false;
  std::thread _thread{&Killer::run, this};
};

class SuddenDeath : public ServiceOnBus {
 protected:
  static std::map<std::string, std::vector<int>> stored_ids_by_text() {
    std::vector<Message> messages;
    EXPECT_EQ(db::db_get_message_list(ListCondition(), messages), db::DB_OK);
    std::map<std::string, std::vector<int>> ids;
    for (const Message& message : messages) {
      ids[message.str_d].push_back(message.id);
    }
    return ids;
  }
};

TEST_F(SuddenDeath, LosesNoAcknowledgedMessageAndDoublesNone) {
  Client client(bus.address());
  std::map<std::string, int> acknowledged;
  int kills = 0;
  {
    Killer killer;
    for (int number = 0; number < MESSAGES; ++number) {
      const std::string text = "message " + std::to_string(number);
      const std::vector<int> reply = client.send("+4917", text);
      if (reply.empty()) {
        continue;
      }
      ASSERT_THAT(reply, testing::ElementsAre(testing::Gt(0), 0));
      acknowledged[text] = reply[0];
      if (number % 20 == 0) {
        killer.aim_at(client.service_pid());
      }
    }
    kills = killer.kills();
  }
  EXPECT_GT(kills, 5);
  EXPECT_GT(acknowledged.size(), MESSAGES / 2U);

  const auto stored = stored_ids_by_text();
  for (const auto& [text, id] : acknowledged) {
    const auto found = stored.find(text);
    ASSERT_NE(found, stored.end()) << text;
    EXPECT_THAT(found->second, testing::ElementsAre(id)) << text;
  }
  for (const auto& [text, ids] : stored) {
    EXPECT_EQ(ids.size(), 1U) << text;
  }
  const schema::Database opened = schema::open_database(path, SQLITE_OPEN_READWRITE);
  schema::Statement check(opened.get(), "PRAGMA integrity_check");
  ASSERT_TRUE(check.step());
  EXPECT_EQ(check.text(0), "ok");
  EXPECT_THAT(client.send("+4917", "ready again"), testing::ElementsAre(testing::Gt(0), 0));
}

}  // namespace
}  // namespace msg_consumer::service
