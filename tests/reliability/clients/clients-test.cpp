// SPDX-License-Identifier: Apache-2.0
#include <sys/stat.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <thread>

#include "checked-text.hpp"
#include "e2e/service/service-on-bus.hpp"
#include "reader.hpp"
#include "schema/sqlite.hpp"
#include "support/figures.hpp"

namespace msg_consumer::service {
namespace {

constexpr int READERS = 50;
constexpr std::chrono::seconds LONG_PATIENCE{60};

std::chrono::seconds duration() {
  const char* text = std::getenv("MSG_CONSUMER_CLIENTS_SECONDS");
  return std::chrono::seconds(text != nullptr ? std::atoi(text) : 4);
}

class Clients : public ServiceOnBus {
 protected:
  bool comes(const char* name) const {
    return test::wait_until([&] { return std::filesystem::exists(folder.path() / name); }, LONG_PATIENCE);
  }
  void give(const char* name) const { test::write_file(folder.path() / name, ""); }
  off_t log_size() const {
    struct stat status {};
    return stat((path + "-wal").c_str(), &status) == 0 ? status.st_size : 0;
  }
  static bool was_sent(const Reply& reply) {
    const std::vector<int> integers = reply.integers();
    return integers.size() == 2 && integers[1] == 0;
  }
};

class ClientsWhoRead : public Clients {
 protected:
  /// A process that reads from "go" to "stop", and writes down how long each query took.
  int read(int number) const {
    if (!comes("go")) return 2;
    test::Reader reader;
    std::string wrong;
    while (wrong.empty() && !std::filesystem::exists(folder.path() / "stop")) {
      wrong = reader.read_all();
      // Fifty that never pause would leave the writer no time to write.
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    std::cerr << wrong;
    std::ofstream latencies(latency_file(number));
    for (const int latency : reader.latencies()) latencies << latency << '\n';
    return wrong.empty() ? 0 : 1;
  }

  std::string latency_file(int number) const { return folder.file("latencies-" + std::to_string(number)); }

  /// The next message of each thread.
  bool write_round(Client& client) {
    const std::string text = test::checked_text(_rounds);
    const std::string attachment = folder.file("attachment.txt");
    bool sent =
        was_sent(send(client, "sms", "+491701", text, "")) && was_sent(send(client, "sms", "+491702", text, ""));
    // Seldom: the readers read this thread whole.
    if (_rounds % 8 == 0) {
      sent = sent && was_sent(send(client, "mms", "+491703", test::checked_text(_rounds / 8), attachment));
    }
    ++_rounds;
    return sent;
  }
  int rounds() const { return _rounds; }

 private:
  static Reply send(Client& client, const char* type, const char* recipient, const std::string& text,
                    const std::string& attachment) {
    return client.call("send_message",
                       g_variant_new("(sisssi)", type, 0, recipient, text.c_str(), attachment.c_str(), 1));
  }

  int _rounds = 0;
};

TEST_F(ClientsWhoRead, NeverFailNorSeeAHalfWhileTheServiceWrites) {
  test::write_file(folder.file("attachment.txt"), test::ATTACHMENT);
  // Before this process has any thread but this one.
  std::vector<std::unique_ptr<test::Process>> readers;
  for (int number = 0; number < READERS; ++number) {
    readers.push_back(std::make_unique<test::Process>([this, number] { return read(number); }));
  }
  Client client(bus.address());
  ASSERT_TRUE(write_round(client));
  give("go");
  const auto end = std::chrono::steady_clock::now() + duration();
  while (std::chrono::steady_clock::now() < end) {
    ASSERT_TRUE(write_round(client)) << rounds();
  }
  give("stop");

  std::vector<int> latencies;
  for (int number = 0; number < READERS; ++number) {
    test::Process& reader = *readers[static_cast<std::size_t>(number)];
    EXPECT_EQ(reader.wait(LONG_PATIENCE), 0) << reader.standard_error();
    std::ifstream file(latency_file(number));
    for (int latency = 0; file >> latency;) latencies.push_back(latency);
  }
  ASSERT_GT(latencies.size(), 100U);
  EXPECT_GT(rounds(), 1);
  std::sort(latencies.begin(), latencies.end());
  const auto at = [&](std::size_t percent) { return latencies[(latencies.size() - 1) * percent / 100]; };
  test::report_figure(
      "queries of fifty processes while the service writes", static_cast<std::int64_t>(latencies.size()),
      HasFailure() ? 0 : static_cast<std::int64_t>(latencies.size()),
      {{"p50_us", at(50)}, {"p99_us", at(99)}, {"max_us", latencies.back()}, {"rounds_written", rounds()}});
}

class ASlowClient : public Clients {
 protected:
  /// A process that begins to read at "go" and does not end before "stop".
  int hold() const {
    if (!comes("go")) return 2;
    const schema::Database opened = schema::open_database(path, SQLITE_OPEN_READONLY);
    schema::execute(opened.get(), "BEGIN; SELECT count(*) FROM message");
    give("held");
    return comes("stop") ? 0 : 2;
  }
};

TEST_F(ASlowClient, KeepsTheLogLongOnlyAsLongAsItReads) {
  constexpr off_t BOUND = 16 * 1024 * 1024;
  test::Process slow([this] { return hold(); });
  Client client(bus.address());
  ASSERT_FALSE(client.send("+491701", "first").empty());
  give("go");
  ASSERT_TRUE(comes("held"));
  const std::string long_text(500'000, 'x');
  int sent = 0;
  while (log_size() < BOUND * 3 / 2) {
    ASSERT_EQ(client.send("+491701", long_text).size(), 2U);
    ASSERT_LT(++sent, 100);
  }
  const off_t peak = log_size();
  give("stop");
  ASSERT_EQ(slow.wait(), 0);
  for (int number = 0; number < 20 && log_size() > BOUND; ++number) {
    ASSERT_EQ(client.send("+491701", "short").size(), 2U);
  }
  EXPECT_LE(log_size(), BOUND);
  test::report_figure("a slow reader's hold on the log", 1, HasFailure() ? 0 : 1,
                      {{"peak_bytes", peak}, {"bytes_afterwards", log_size()}});
}

}  // namespace
}  // namespace msg_consumer::service
