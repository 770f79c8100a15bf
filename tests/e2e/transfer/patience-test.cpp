// SPDX-License-Identifier: Apache-2.0
// A service that waits for nobody longer than it takes to look.
#include "service/bus-names.hpp"
#include "service/transfer/bus-errors.hpp"
#include "service/transfer/transfer-interface.hpp"
#include "transfer-on-bus.hpp"

namespace msg_consumer::test {
namespace {

using namespace std::chrono_literals;
using service::StoreWriter;
using testing::HasSubstr;

class Silence final : public service::Announcer {
 public:
  void announce(const service::Announcement& /*announcement*/) noexcept override {}
};

class Impatience : public testing::Test {
 protected:
  void SetUp() override {
    fill();
    // A process of its own, as the callers here wait for its answers.
    _service.emplace([this] { return serve(); });
    ASSERT_TRUE(wait_until([this] {
      _caller.emplace(_bus.address());
      return _caller->call("org.freedesktop.DBus.Peer", "Ping", nullptr) == "()";
    }));
  }

  std::int64_t messages() const {
    const schema::Database database = schema::open_database(_locations.database, SQLITE_OPEN_READONLY);
    schema::Statement count(database.get(), "SELECT count(*) FROM message");
    return count.step() ? count.integer(0) : -1;
  }

  PrivateBus _bus;
  SocketPair _socket;
  std::optional<Caller> _caller;

 private:
  // More than a socket holds.
  void fill() {
    StoreWriter store(_locations.database);
    store.transact([&] {
      const int thread = store.threads().find_or_make({"+15550100"}).id;
      for (int number = 0; number < 200; ++number) {
        service::StoredMessage stored;
        stored.message.num_b = thread;
        stored.message.str_d = std::string(10'000, 'x');
        store.messages().insert(stored);
      }
    });
  }

  int serve() {
    StoreWriter store(_locations.database);
    const service::ContentFiles files(_locations);
    Silence silence;
    sd_event* raw_loop = nullptr;
    sd_bus* raw_bus = nullptr;
    if (sd_event_new(&raw_loop) < 0 || sd_bus_open_system(&raw_bus) < 0) return 1;
    const Owned<sd_event, sd_event_unref> loop(raw_loop);
    const Owned<sd_bus, sd_bus_flush_close_unref> bus(raw_bus);
    if (sd_bus_attach_event(bus.get(), loop.get(), 0) < 0) return 1;
    const service::transfer::TransferInterface transfers(bus.get(), store, files, silence,
                                                         {.with_reader = 200ms, .with_writer = 200ms});
    if (sd_bus_request_name(bus.get(), service::BUS_NAME, 0) < 0) return 1;
    return sd_event_loop(loop.get());
  }

  TempDir _folder;
  service::Locations _locations{.database = _folder.file("messages.db"), .files = _folder.file("files")};
  std::optional<Process> _service;
};

TEST_F(Impatience, GivesUpAnExportThatNobodyReads) {
  _caller->begin("export_store", _socket.theirs());
  ASSERT_TRUE(_caller->is_answered());
  EXPECT_EQ(*_caller->answer(), service::transfer::ERROR_TIMED_OUT);
  SocketPair next;
  Caller other(_bus.address());
  other.begin("export_store", next.theirs());
  next.close_theirs();
  EXPECT_THAT(next.read_all(), HasSubstr("{\"kind\":\"end\",\"threads\":1,\"messages\":200,"));
  EXPECT_TRUE(other.is_answered());
}

TEST_F(Impatience, KeepsWhatCameBeforeAnImportFellSilent) {
  const std::string text =
      "{\"kind\":\"store\",\"version\":1}\n"
      R"({"kind":"message","type":"sms","direction":"incoming","time_ms":5,"sender":"+15550100","text":"hi"})"
      "\n{\"kind\":\"mess";
  _caller->begin("import_store", _socket.theirs());
  ASSERT_EQ(write(_socket.ours(), text.data(), text.size()), static_cast<ssize_t>(text.size()));
  ASSERT_TRUE(_caller->is_answered());
  EXPECT_THAT(*_caller->answer(), HasSubstr("\"reason\":\"timed-out\""));
  EXPECT_THAT(*_caller->answer(), HasSubstr(R"("messages":{"added":1,)"));
  EXPECT_EQ(messages(), 201);
}

}  // namespace
}  // namespace msg_consumer::test
