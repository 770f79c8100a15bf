// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <map>
#include <random>
#include <sstream>

#include "service-test.hpp"

namespace msg_consumer::service {
namespace {

class ThreadCounts : public ServiceTest {
 protected:
  /// What the threads' rows say.
  static std::string kept() {
    std::vector<Thread> threads;
    db::db_get_threads(threads);
    std::map<int, std::string> lines;
    for (const Thread& thread : threads) {
      std::ostringstream line;
      line << thread.num_g << ' ' << thread.num_b << ' ' << int{thread.flag_e} << ' ' << int{thread.flag_f} << ' '
           << thread.num_c << ' ' << thread.num_d << ' ' << thread.num_h << ' ' << thread.num_i << ' ' << thread.time_ms
           << ' ' << thread.str_n << '\n';
      lines[thread.id] = line.str();
    }
    return joined(lines);
  }

  /// The same, counted from the messages.
  static std::string counted() {
    ListCondition oldest_first;
    oldest_first.flag_x = 0;
    std::vector<Message> messages;
    db::db_get_message_list(oldest_first, messages);
    std::map<int, std::vector<Message>> threads;
    for (Message& message : messages) {
      threads[message.num_b].push_back(std::move(message));
    }
    std::map<int, std::string> lines;
    for (const auto& [id, of_thread] : threads) {
      lines[id] = counted(of_thread);
    }
    return joined(lines);
  }

  static std::string counted(const std::vector<Message>& messages) {
    const auto count = [&](auto&& condition) { return std::count_if(messages.begin(), messages.end(), condition); };
    const Message& last = messages.back();
    std::ostringstream line;
    line << messages.size() << ' ' << count([](const Message& message) { return message.flag_j == 0; }) << ' '
         << (count([](const Message& message) { return message.num_e == DIRECTION_DRAFT; }) > 0) << ' '
         << (count([](const Message& message) { return message.num_f == DELIVERY_FAILED; }) > 0) << ' ' << last.num_c
         << ' ' << last.num_e << ' ' << last.num_h << ' ' << last.num_f << ' ' << last.time_ms << ' ' << last.str_d
         << '\n';
    return line.str();
  }

  static std::string joined(const std::map<int, std::string>& lines) {
    std::string text;
    for (const auto& [id, line] : lines) {
      text += std::to_string(id) + ": " + line;
    }
    return text;
  }

  /// Does something with a message or a thread that may or may not exist.
  void act(std::mt19937& random) {
    const auto below = [&](int limit) { return static_cast<int>(random() % static_cast<unsigned>(limit)); };
    // Times go back, too, and repeat.
    clock.now += below(5) - 2;
    const std::string someone = "+49" + std::to_string(below(4));
    const int message = 1 + below(_newest + 1);
    switch (below(9)) {
      case 0:
      case 1:
        note(send(someone, "sent " + std::to_string(_newest)));
        break;
      case 2:
        note(commands.add_message(submission(someone, "draft")));
        break;
      case 3:
        _newest = receive_from(someone);
        break;
      case 4:
        commands.read_message(message, 0);
        break;
      case 5:
        commands.delete_message(message, 0);
        break;
      case 6:
        commands.resend_message(message);
        break;
      case 7:
        spoil(message, below(2) == 0);
        break;
      default:
        below(2) == 0 ? commands.read_thread(stored_thread_of(message)) : lock_and_delete(message, below(6) == 0);
    }
  }

 private:
  void note(const Creation& creation) { _newest = std::max(_newest, creation.message_id); }

  static int stored_thread_of(int message_id) {
    Message message;
    db::db_get_message(message_id, message);
    return message.num_b;
  }

  void spoil(int message_id, bool at_once) {
    store.transact([&] {
      if (at_once) {
        store.messages().advance_delivery(message_id, DELIVERY_QUEUED, DELIVERY_FAILED);
      } else {
        store.messages().advance_delivery(message_id, DELIVERY_FAILED, DELIVERY_SENT);
      }
    });
  }

  Outcome lock_and_delete(int message_id, bool whole_thread) {
    if (!whole_thread || !message_exists(message_id)) {
      return {};
    }
    edit(message_id, [](Message& message) { message.flag_k = 1; });
    return commands.delete_thread(stored_thread_of(message_id));
  }

  int _newest = 0;
};

TEST_F(ThreadCounts, AreAlwaysWhatTheMessagesSay) {
  constexpr int SEED = 20240229;
  std::mt19937 random(SEED);
  for (int step = 0; step < 600; ++step) {
    act(random);
    ASSERT_EQ(kept(), counted()) << "after step " << step;
  }
}

TEST_F(ThreadCounts, ADamagedMessageDoesNotBlockItsThread) {
  send("+491", "older");
  clock.now += 1;
  send("+491", "damaged");
  clock.now += 1;
  send("+491", "newest");
  clock.now += 1;
  send("+491", "locked");
  edit(4, [](Message& message) { message.flag_k = 1; });
  beside("UPDATE message SET packed = x'00' WHERE id = 2");
  // Looks for the last message, and passes the damaged one.
  EXPECT_EQ(commands.delete_message(3, 0).status, STATUS_OK);
  beside("UPDATE message SET packed = x'00', is_locked = 1 WHERE id = 4");
  EXPECT_EQ(commands.delete_thread(1).status, STATUS_OK);
  EXPECT_EQ(stored_thread(1).num_g, 1);
  EXPECT_EQ(stored_thread(1).time_ms, clock.now);
  EXPECT_EQ(stored_thread(1).str_n, "");
}

}  // namespace
}  // namespace msg_consumer::service
