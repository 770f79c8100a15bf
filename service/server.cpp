// SPDX-License-Identifier: Apache-2.0
#include "server.hpp"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <exception>
#include <stdexcept>
#include <string>
#include <system_error>

#include <msg-consumer-platform/logging.hpp>
#include <msg-consumer-platform/releaser.hpp>

#include "attachments.hpp"
#include "bus-announcer.hpp"
#include "bus-interface.hpp"
#include "bus-names.hpp"
#include "commands.hpp"
#include "instance-lock.hpp"
#include "journal-interface.hpp"
#include "loopback-network.hpp"
#include "readiness.hpp"
#include "transfer/transfer-interface.hpp"

namespace msg_consumer::service {
namespace {

// After the bus was restarted, its first call starts a successor while the old instance is still ending. A caller
// waits for five seconds.
constexpr std::chrono::seconds LOCK_PATIENCE{2};

using EventLoop = Owned<sd_event, sd_event_unref>;
using Bus = Owned<sd_bus, sd_bus_flush_close_unref>;

int check(int result, const char* what) {
  if (result < 0) {
    throw std::system_error(-result, std::generic_category(), what);
  }
  return result;
}

void end_at(sd_event* loop, int signal) {
  sigset_t set;
  sigemptyset(&set);
  sigaddset(&set, signal);
  check(-sigprocmask(SIG_BLOCK, &set, nullptr), "cannot block a signal");
  check(sd_event_add_signal(loop, nullptr, signal, nullptr, nullptr), "cannot watch for a signal");
}

// Only now: until somebody looks at the loop, a signal ends the service as it ends any program.
void catch_signals(sd_event* loop) {
  for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
    end_at(loop, signal);
  }
}

EventLoop make_loop() {
  sd_event* handle = nullptr;
  check(sd_event_new(&handle), "cannot make an event loop");
  return EventLoop(handle);
}

Bus connect(sd_event* loop) {
  sd_bus* handle = nullptr;
  check(sd_bus_open_system(&handle), "cannot connect to the system bus");
  Bus bus(handle);
  check(sd_bus_attach_event(bus.get(), loop, SD_EVENT_PRIORITY_NORMAL), "cannot serve the bus");
  check(sd_bus_set_exit_on_disconnect(bus.get(), 1), "cannot watch the bus");
  return bus;
}

int shorten_log(sd_event_source* /*source*/, void* store) {
  static_cast<StoreWriter*>(store)->shorten_log();
  return 0;
}

void own_name(sd_bus* bus) {
  const int result = sd_bus_request_name(bus, BUS_NAME, 0);
  if (result == -EEXIST || result == -EALREADY) {
    throw std::runtime_error(std::string("another process owns the name ") + BUS_NAME);
  }
  check(result, "cannot own the name on the bus");
}

/// Tells the surroundings when the loop has ended, however that came.
class Ending {
 public:
  explicit Ending(Surroundings& surroundings) : _surroundings(surroundings) {}
  ~Ending() { _surroundings.after_end(); }
  Ending(const Ending&) = delete;
  Ending& operator=(const Ending&) = delete;

 private:
  Surroundings& _surroundings;
};

// Whatever is made first ends last: the readiness goes before the store, the store before the lock, the lock before
// the name. So nobody starts a successor that would find the lock held.
int run(Surroundings& surroundings) {
  const Locations places = locations();
  const EventLoop loop = make_loop();
  const Bus bus = connect(loop.get());
  const InstanceLock lock(places.database, LOCK_PATIENCE);
  StoreWriter store(places.database);
  ContentFiles files(places);
  files.claim(store.id());

  const SystemClock clock;
  BusAnnouncer bus_announcer(bus.get());
  Announcer& announcer = surroundings.announcer(bus_announcer, loop.get(), bus.get());
  LoopbackNetwork network(loop.get(), store, announcer, surroundings.far_side());
  Inbox inbox(store);
  Commands commands(store, files, inbox, network, surroundings.phone(), clock);
  const BusInterface interface(bus.get(), commands, announcer, surroundings.call_gate());
  const JournalInterface journal(bus.get(), store);
  const transfer::TransferInterface transfers(bus.get(), store, files, announcer);
  const Ending ending(surroundings);
  surroundings.before_start({.places = places,
                             .loop = loop.get(),
                             .bus = bus.get(),
                             .store = store,
                             .files = files,
                             .inbox = inbox,
                             .network = network,
                             .clock = clock,
                             .announcer = announcer});
  own_name(bus.get());
  files.remove_orphans([&](int message_id) { return files_of_message(store.messages(), message_id); });
  // After the answers are out.
  check(sd_event_add_post(loop.get(), nullptr, shorten_log, &store), "cannot watch the log");
  catch_signals(loop.get());
  const Readiness readiness(lock);
  return sd_event_loop(loop.get());
}

}  // namespace

int serve(Surroundings& surroundings) noexcept try {
  // Whoever reads the log may go away.
  static_cast<void>(std::signal(SIGPIPE, SIG_IGN));
  return run(surroundings) == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
} catch (const std::exception& error) {
  LOG_ERROR(HERE, "[ERROR] %s", error.what());
  return EXIT_FAILURE;
}

}  // namespace msg_consumer::service
