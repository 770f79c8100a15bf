// SPDX-License-Identifier: Apache-2.0
#include <glib-unix.h>
#include <msg-consumer/msg-consumer-client.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <exception>
#include <memory>
#include <nlohmann/json.hpp>

#include "msgctl/bus.hpp"
#include "msgctl/change.hpp"
#include "msgctl/commands/commands.hpp"
#include "msgctl/connection.hpp"
#include "msgctl/json-text.hpp"
#include "msgctl/record-words.hpp"
#include "msgctl/text.hpp"

namespace msgctl {
namespace {

using Json = nlohmann::ordered_json;

struct Limits {
  int count = 0;    // 0: no limit
  int seconds = 0;  // 0: no limit
};

struct EventKind {
  int type;
  const char* name;
};

constexpr std::array<EventKind, 4> event_kinds = {{{MSG_CONSUMER_EVENT_STORAGE_CHANGED, "storage"},
                                                   {MSG_CONSUMER_EVENT_CONTENT_CHANGED, "content"},
                                                   {MSG_CONSUMER_EVENT_GROUPCHAT_STATE_CHANGED, "group-chat"},
                                                   {MSG_CONSUMER_EVENT_STORE_MESSAGE_RESULT, "phone"}}};

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

// Prints events, one a line.
class EventPrinter {
 public:
  explicit EventPrinter(Context& context) : _context(context) {}

  void print(const char* kind, const char* text) {
    const std::optional<Change> change = parse_change(text);
    const std::optional<RevisionGap> gap = change ? _tracker.note(change->revision) : std::nullopt;
    if (gap) _context.out.write(_context.json ? json_of(*gap) : line_of(*gap));
    _context.out.write(_context.json ? json_of(kind, change, text) : line_of(kind, change, text));
    _context.out.flush();
  }

 private:
  static std::string json_of(const RevisionGap& gap) {
    return json_text(
               Json{{"version", 1}, {"kind", "missed"}, {"first_revision", gap.first}, {"last_revision", gap.last}}) +
           "\n";
  }

  static std::string json_of(const char* kind, const std::optional<Change>& change, const char* text) {
    Json line = {{"version", 1}, {"kind", "event"}, {"time", utc_time(std::time(nullptr))}, {"signal", kind}};
    if (change) {
      line["event"] = change->event;
      line["revision"] = change->revision;
      line["message_ids"] = change->message_ids ? Json(*change->message_ids) : Json(nullptr);
      line["thread_ids"] = change->thread_ids ? Json(*change->thread_ids) : Json(nullptr);
    } else {
      line["data"] = text;
    }
    return json_text(line) + "\n";
  }

  [[nodiscard]] std::string line_of(const RevisionGap& gap) const {
    const bool one = gap.first == gap.last;
    const std::string words = one ? "missed revision " + std::to_string(gap.first)
                                  : "missed revisions " + std::to_string(gap.first) + " to " + std::to_string(gap.last);
    return styled(clock_time(), Style::Dim, _context.screen) + "  " + styled(words, Style::Yellow, _context.screen) +
           "\n";
  }

  [[nodiscard]] std::string line_of(const char* kind, const std::optional<Change>& change, const char* text) const {
    std::string line = styled(clock_time(), Style::Dim, _context.screen) + "  " + padded(kind, 10) + "  ";
    if (!change) return line + "not understood: " + printable(text) + "\n";
    line += padded(printable(change->event), 8) + "  revision " + std::to_string(change->revision);
    line += ids("  messages ", change->message_ids) + ids("  threads ", change->thread_ids);
    return line + "\n";
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
  RevisionTracker _tracker;
};

// Runs until there were enough events, time is up, a signal asks for the end, or something fails.
class Watch {
 public:
  Watch(Context& context, const Limits& limits) : _printer(context), _limits(limits) {
    for (std::size_t i = 0; i < event_kinds.size(); ++i) _subscriptions[i] = {this, event_kinds[i].name};
  }

  void run() {
    subscribe();
    const Connection connection;
    const BusGuard guard([this] { _lost = true, stop(); });
    const Source interrupt(g_unix_signal_add(SIGINT, stop_watch, this));
    const Source terminate(g_unix_signal_add(SIGTERM, stop_watch, this));
    std::unique_ptr<Source> timer;
    if (_limits.seconds > 0) {
      timer = std::make_unique<Source>(g_timeout_add_seconds(static_cast<guint>(_limits.seconds), time_is_up, this));
    }
    static_cast<void>(std::fputs("watching…\n", stderr));
    g_main_loop_run(_loop.get());
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

  // Called by C code, which no exception may cross.
  static void take_event(const char* data, void* subscription) {
    const auto* self = static_cast<Subscription*>(subscription);
    self->watch->take(self->kind, data);
  }

  void take(const char* kind, const char* data) {
    if (enough()) return;
    try {
      _printer.print(kind, data);
      ++_received;
    } catch (...) {
      _failure = std::current_exception();
    }
    if (_failure || enough()) stop();
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

  [[nodiscard]] bool enough() const { return _failure != nullptr || (_limits.count > 0 && _received >= _limits.count); }

  void check_outcome() const {
    if (_failure) std::rethrow_exception(_failure);
    if (enough()) return;
    if (_lost) {
      throw Failure(ExitCode::Unreachable, "the message bus went away", "Events are lost from here on: watch again.");
    }
    if (_out_of_time && _limits.count > 0) {
      throw Failure(ExitCode::Failed, "time is up after " + std::to_string(_received) + " of " +
                                          std::to_string(_limits.count) + " events");
    }
  }

  EventPrinter _printer;
  Limits _limits;
  Owned<GMainLoop, g_main_loop_unref> _loop{g_main_loop_new(nullptr, FALSE)};
  std::array<Subscription, event_kinds.size()> _subscriptions{};
  std::exception_ptr _failure;
  int _received = 0;
  bool _out_of_time = false;
  bool _lost = false;
};

}  // namespace

Action configure_watch(CLI::App& app) {
  auto limits = std::make_shared<Limits>();
  app.add_option("--count", limits->count, "End after this many events")->check(whole_number(1));
  app.add_option("--timeout", limits->seconds, "End after this many seconds; a failure when --count was not reached")
      ->check(whole_number(1, "SECONDS"));
  return [limits](Context& context) { Watch(context, *limits).run(); };
}

}  // namespace msgctl
