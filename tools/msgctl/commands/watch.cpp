// SPDX-License-Identifier: Apache-2.0
#include <glib-unix.h>
#include <msg-consumer/msg-consumer-client.h>

#include <array>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <functional>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <utility>

#include "msgctl/bus.hpp"
#include "msgctl/change.hpp"
#include "msgctl/commands/commands.hpp"
#include "msgctl/connection.hpp"
#include "msgctl/json-text.hpp"
#include "msgctl/record-words.hpp"
#include "msgctl/service-bus.hpp"
#include "msgctl/text.hpp"

namespace msgctl {
namespace {

using Json = nlohmann::ordered_json;

struct WatchArguments {
  int count = 0;    // 0: no limit
  int seconds = 0;  // 0: no limit
  std::optional<std::uint64_t> since;
};

struct EventKind {
  int type;
  const char* name;
  const char* signal;  // as the journal names it
};

constexpr std::array<EventKind, 4> event_kinds = {
    {{MSG_CONSUMER_EVENT_STORAGE_CHANGED, "storage", "storage_changed"},
     {MSG_CONSUMER_EVENT_CONTENT_CHANGED, "content", "content_changed"},
     {MSG_CONSUMER_EVENT_GROUPCHAT_STATE_CHANGED, "group-chat", "groupchat_state_changed"},
     {MSG_CONSUMER_EVENT_STORE_MESSAGE_RESULT, "phone", "store_message_result"}}};

// A newer service may have signals that this tool has no word for.
std::string kind_of_signal(const std::string& signal) {
  for (const EventKind& kind : event_kinds) {
    if (signal == kind.signal) return kind.name;
  }
  return signal;
}

// A source of the default main context, removed with the object.
class Source {
 public:
  explicit Source(guint id) : _id(id) {}
  ~Source() { g_source_remove(_id); }
  Source(const Source&) = delete;
  Source& operator=(const Source&) = delete;

 private:
  guint _id;
};

// An event as it is printed.
struct Event {
  std::string kind;
  std::optional<Change> change;
  std::string text;
  bool recovered = false;  // asked for afterwards
};

// Prints events and what is wrong with their sequence, one a line.
class EventPrinter {
 public:
  explicit EventPrinter(Context& context) : _context(context) {}

  void print(const Event& event) { write(_context.json ? json_of(event) : line_of(event)); }

  /// Tells of revisions that were passed over, or that nobody can tell of any more.
  void print(const RevisionGap& gap, const char* what) {
    write(_context.json ? json_of(gap, what) : line_of(gap, what));
  }

 private:
  void write(const std::string& line) {
    _context.out.write(line);
    _context.out.flush();
  }

  static std::string json_of(const RevisionGap& gap, const char* what) {
    return json_text(Json{{"version", 1}, {"kind", what}, {"first_revision", gap.first}, {"last_revision", gap.last}}) +
           "\n";
  }

  static std::string json_of(const Event& event) {
    Json line = {{"version", 1}, {"kind", "event"}, {"time", utc_time(std::time(nullptr))}, {"signal", event.kind}};
    if (event.change) {
      line["event"] = event.change->event;
      line["revision"] = event.change->revision;
      line["message_ids"] = event.change->message_ids ? Json(*event.change->message_ids) : Json(nullptr);
      line["thread_ids"] = event.change->thread_ids ? Json(*event.change->thread_ids) : Json(nullptr);
    } else {
      line["data"] = event.text;
    }
    if (event.recovered) line["recovered"] = true;
    return json_text(line) + "\n";
  }

  [[nodiscard]] std::string line_of(const RevisionGap& gap, const std::string& what) const {
    const bool one = gap.first == gap.last;
    const std::string words =
        one ? what + " revision " + std::to_string(gap.first)
            : what + " revisions " + std::to_string(gap.first) + " to " + std::to_string(gap.last);
    return styled(clock_time(), Style::Dim, _context.screen) + "  " + styled(words, Style::Yellow, _context.screen) +
           "\n";
  }

  [[nodiscard]] std::string line_of(const Event& event) const {
    std::string line =
        styled(clock_time(), Style::Dim, _context.screen) + "  " + padded(printable(event.kind), 10) + "  ";
    if (!event.change) return line + "not understood: " + printable(event.text) + "\n";
    line += padded(printable(event.change->event), 8) + "  revision " + std::to_string(event.change->revision);
    line += ids("  messages ", event.change->message_ids) + ids("  threads ", event.change->thread_ids);
    return line + (event.recovered ? "  (recovered)\n" : "\n");
  }

  static std::string ids(const char* label, const EventIds& ids) {
    const std::string words = words_of(ids);
    return words.empty() ? words : label + words;
  }

  static std::string padded(std::string text, std::size_t width) {
    if (text.size() < width) text.resize(width, ' ');
    return text;
  }

  Context& _context;
};

// Puts the events into an unbroken sequence: what is missing is fetched from the service's journal, and what was
// fetched is not taken again.
class EventSequence {
 public:
  using Take = std::function<bool(const Event&)>;  // returns whether there is to be more

  EventSequence(EventPrinter& printer, Take take) : _printer(printer), _take(std::move(take)) {}

  /// Begins behind a revision or, without one, with what comes next.
  void begin(const std::optional<std::uint64_t>& since) {
    const std::optional<KeptChanges> kept = _bus.changes_after(0, 0);
    _has_journal = kept.has_value();
    if (!_has_journal) return begin_without_journal(since);
    _last = kept->newest;
    if (!since) return;
    if (*since > static_cast<std::uint64_t>(kept->newest)) {
      throw Failure(ExitCode::NotFound, "there is no revision " + std::to_string(*since) + " yet",
                    "The newest is " + std::to_string(kept->newest) + ": is it of another store?");
    }
    _last = static_cast<std::int64_t>(*since);
    recover(kept->newest);
  }

  void take(Event event) {
    if (!event.change) {
      _take(event);
      return;
    }
    const std::int64_t revision = event.change->revision;
    if (_last && revision <= *_last && !begins_anew(revision)) return;
    if (_last && revision > *_last + 1) {
      _printer.print(RevisionGap{*_last + 1, revision - 1}, "missed");
      if (_has_journal && !recover(revision - 1)) return;
    }
    _last = revision;
    _take(event);
  }

  /// The service has been started: an instance before may have died between a change and its signal.
  void catch_up() {
    if (!_has_journal || !_last) return;
    const std::optional<KeptChanges> kept = _bus.changes_after(*_last, 0);
    if (!kept) return;
    if (kept->newest < *_last) {
      _last = kept->newest;
    } else if (kept->newest > *_last) {
      _printer.print(RevisionGap{*_last + 1, kept->newest}, "missed");
      recover(kept->newest);
    }
  }

  [[nodiscard]] GDBusConnection* bus() const { return _bus.connection(); }
  [[nodiscard]] std::optional<std::int64_t> last() const { return _last; }

 private:
  static constexpr std::uint32_t page = 500;

  static void begin_without_journal(const std::optional<std::uint64_t>& since) {
    if (since) {
      throw Failure(ExitCode::Unsupported, "the service keeps no journal, so the past cannot be shown",
                    "Watch without --since.");
    }
    static_cast<void>(
        std::fputs("the service keeps no journal: what is missed is told, but cannot be recovered\n", stderr));
  }

  // A lower revision than the last one was recovered before, unless the store has been replaced.
  bool begins_anew(std::int64_t revision) {
    if (!_has_journal) return true;
    if (revision <= _recovered) return false;
    const std::optional<KeptChanges> kept = _bus.changes_after(0, 0);
    const bool anew = kept && kept->newest < *_last;
    if (anew) _recovered = 0;
    if (anew) _last.reset();
    return anew;
  }

  // Prints what lies behind the last revision, up to another. Returns whether there is to be more.
  bool recover(std::int64_t up_to) {
    while (*_last < up_to) {
      const std::optional<KeptChanges> kept = _bus.changes_after(*_last, page);
      if (!kept || kept->changes.empty()) {
        lose(up_to);
        break;
      }
      for (const KeptChange& change : kept->changes) {
        if (change.revision > up_to) break;
        lose(change.revision - 1);
        _last = _recovered = change.revision;
        if (!_take({kind_of_signal(change.signal), parse_change(change.text.c_str()), change.text, true})) return false;
      }
      if (kept->changes.front().revision > up_to) lose(up_to);
    }
    return true;
  }

  void lose(std::int64_t up_to) {
    if (*_last >= up_to) return;
    _printer.print(RevisionGap{*_last + 1, up_to}, "lost");
    _last = up_to;
  }

  EventPrinter& _printer;
  Take _take;
  ServiceBus _bus;
  bool _has_journal = false;
  std::optional<std::int64_t> _last;
  std::int64_t _recovered = 0;  // the last revision that was recovered
};

// Calls back when the service has come to the bus again. That it is there at first is known: it has just been asked.
class ServiceGuard {
 public:
  ServiceGuard(GDBusConnection* bus, std::function<void()> on_start) : _on_start(std::move(on_start)) {
    _watch = g_bus_watch_name_on_connection(bus, service_name, G_BUS_NAME_WATCHER_FLAGS_NONE, note_start, note_end,
                                            this, nullptr);
  }
  ~ServiceGuard() { g_bus_unwatch_name(_watch); }
  ServiceGuard(const ServiceGuard&) = delete;
  ServiceGuard& operator=(const ServiceGuard&) = delete;

 private:
  static void note_start(GDBusConnection* /*bus*/, const char* /*name*/, const char* /*owner*/, gpointer guard) {
    auto* self = static_cast<ServiceGuard*>(guard);
    if (self->_was_away) self->_on_start();
  }
  static void note_end(GDBusConnection* /*bus*/, const char* /*name*/, gpointer guard) {
    static_cast<ServiceGuard*>(guard)->_was_away = true;
  }

  std::function<void()> _on_start;
  bool _was_away = false;
  guint _watch = 0;
};

// Runs until there were enough events, time is up, a signal asks for the end, or something fails.
class Watch {
 public:
  Watch(Context& context, const WatchArguments& arguments)
      : _printer(context),
        _arguments(arguments),
        _sequence(_printer, [this](const Event& event) { return print(event); }) {
    for (std::size_t i = 0; i < event_kinds.size(); ++i) _subscriptions[i] = {this, event_kinds[i].name};
  }

  // The callbacks were given this object.
  ~Watch() {
    for (const EventKind& kind : event_kinds) static_cast<void>(msg_consumer_event_unsubscribe(kind.type, take_event));
  }
  Watch(const Watch&) = delete;
  Watch& operator=(const Watch&) = delete;

  void run() {
    subscribe();
    const Connection connection;
    const BusGuard guard([this] { _lost = true, stop(); });
    const Source interrupt(g_unix_signal_add(SIGINT, stop_watch, this));
    const Source terminate(g_unix_signal_add(SIGTERM, stop_watch, this));
    std::unique_ptr<Source> timer;
    if (_arguments.seconds > 0) {
      timer = std::make_unique<Source>(g_timeout_add_seconds(static_cast<guint>(_arguments.seconds), time_is_up, this));
    }
    _sequence.begin(_arguments.since);
    const ServiceGuard service(_sequence.bus(), [this] { guarded([this] { _sequence.catch_up(); }); });
    static_cast<void>(std::fputs("watching…\n", stderr));
    if (!enough()) g_main_loop_run(_loop.get());
    check_outcome();
  }

 private:
  struct Subscription {
    Watch* watch;
    const char* kind;
  };

  void subscribe() {
    for (std::size_t i = 0; i < event_kinds.size(); ++i) {
      check_command(msg_consumer_event_subscribe(event_kinds[i].type, take_event, &_subscriptions[i]),
                    {"subscribe to events", "event", {}});
    }
  }

  static void take_event(const char* data, void* subscription) {
    const auto* self = static_cast<Subscription*>(subscription);
    Watch* watch = self->watch;
    if (watch->enough()) return;
    watch->guarded([&] { watch->_sequence.take({self->kind, parse_change(data), data}); });
  }

  // Called by C code, which no exception may cross.
  template <typename Work>
  void guarded(Work&& work) {
    try {
      work();
    } catch (...) {
      if (!_failure) _failure = std::current_exception();
    }
    if (enough()) stop();
  }

  bool print(const Event& event) {
    if (!enough()) {
      _printer.print(event);
      ++_received;
    }
    return !enough();
  }

  static gboolean stop_watch(gpointer watch) {
    static_cast<Watch*>(watch)->stop();
    return G_SOURCE_CONTINUE;
  }

  static gboolean time_is_up(gpointer watch) {
    static_cast<Watch*>(watch)->_out_of_time = true;
    return stop_watch(watch);
  }

  void stop() { g_main_loop_quit(_loop.get()); }

  [[nodiscard]] bool enough() const {
    return _failure != nullptr || (_arguments.count > 0 && _received >= _arguments.count);
  }

  void check_outcome() const {
    // When the bus goes away, asking it fails as well: that is the consequence.
    if (_lost && !(_arguments.count > 0 && _received >= _arguments.count)) fail_for_lost_bus();
    if (_failure) std::rethrow_exception(_failure);
    if (enough()) return;
    if (_out_of_time && _arguments.count > 0) {
      throw Failure(ExitCode::Failed, "time is up after " + std::to_string(_received) + " of " +
                                          std::to_string(_arguments.count) + " events");
    }
  }

  [[noreturn]] void fail_for_lost_bus() const {
    const std::optional<std::int64_t> last = _sequence.last();
    throw Failure(ExitCode::Unreachable, "the message bus went away",
                  last ? "'msgctl watch --since " + std::to_string(*last) + "' goes on from here once it is back."
                       : "Events are lost from here on: watch again.");
  }

  EventPrinter _printer;
  WatchArguments _arguments;
  EventSequence _sequence;
  Owned<GMainLoop, g_main_loop_unref> _loop{g_main_loop_new(nullptr, FALSE)};
  std::array<Subscription, event_kinds.size()> _subscriptions{};
  std::exception_ptr _failure;
  int _received = 0;
  bool _out_of_time = false;
  bool _lost = false;
};

}  // namespace

Action configure_watch(CLI::App& app) {
  auto arguments = std::make_shared<WatchArguments>();
  app.add_option("--count", arguments->count, "End after this many events")->check(whole_number(1));
  app.add_option("--timeout", arguments->seconds, "End after this many seconds; a failure when --count was not reached")
      ->check(whole_number(1, "SECONDS"));
  app.add_option("--since", arguments->since, "Begin with what came after this revision")->check(unsigned_number());
  return [arguments](Context& context) { Watch(context, *arguments).run(); };
}

}  // namespace msgctl
