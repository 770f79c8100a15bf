// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_SERVICE_EMULATOR_STEP_HPP
#define MSG_CONSUMER_SERVICE_EMULATOR_STEP_HPP

#include <msg-consumer-common/NmsMsgMeta.h>

#include <chrono>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <optional>
#include <stdexcept>
#include <string>
#include <variant>
#include <vector>

#include "phone.hpp"
#include "threads.hpp"

namespace msg_consumer::service::emulator {

using Json = nlohmann::ordered_json;

/// A step that cannot be performed, and changes nothing: says where in it, and what.
class InvalidStep : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Stands for the newest message, whatever its id.
inline constexpr int LATEST_MESSAGE = 0;

/// A part of an arriving message.
struct Part {
  std::string mime_type;
  std::string name;
  std::optional<std::string> text;  ///< what a text part says
  std::string bytes = {};           ///< what the file of any other part holds
};

struct Chat {
  GroupChat chat;
  std::vector<std::string> participants = {};
};

/// A piece of a long SMS.
struct Segment {
  int reference;
  int number;
  int of;
};

struct Receive {
  int type;
  std::string from;
  std::string from_name;
  std::vector<std::string> to;
  std::vector<std::string> cc;
  std::string text;
  std::string subject;
  std::optional<std::int64_t> time_ms;
  int sim = 0;
  std::vector<Part> parts;
  std::optional<Chat> chat;
  bool is_read = false;
  bool is_locked = false;
  bool is_blocked = false;
  bool is_notification = false;
  int repeat = 1;
  std::optional<Segment> segment;
};

struct Report {
  int message_id;
  bool is_delivered;
};

enum class Sends { DELIVER, HOLD, FAIL, RELEASE };

struct NetworkMode {
  std::optional<Sends> sends;
  int times = 0;  ///< how many sends fail; 0: all from now on
  std::optional<bool> reports;
  std::optional<bool> retrievals_succeed;
};

struct PhoneMode {
  Phone::Answer::Kind answer;
  int status;
};

struct NetworkStore {
  struct Subscription {
    std::uint64_t index;
    std::string token;
  };

  /// A message id of -1 stands for none.
  std::optional<NmsMsgMeta> meta;
  std::optional<Subscription> subscription;
};

/// What happens to a method call instead of, or before, being answered.
struct CallFault {
  struct Status {
    int status;
  };
  struct Error {
    std::string name;
    std::string message;
  };
  enum class Reply { WRONG_TYPE, EMPTY };
  struct Delay {
    std::chrono::milliseconds time;
  };
  struct Never {};
  enum class Death { BEFORE_COMMIT, AFTER_COMMIT };

  std::string method;  ///< "*" for every one
  int times;           ///< 0: until cleared
  std::variant<Status, Error, Reply, Delay, Never, Death> effect;
};

struct SignalFault {
  enum class How { DROP, DOUBLE, MALFORM, DELAY };
  enum class Form { NOT_JSON, WRONG_TYPE, EMPTY };

  How how;
  int times;  ///< 0: until cleared
  Form form;
  std::chrono::milliseconds delay;
};

struct Lock {
  std::chrono::milliseconds time;
};

struct DiskFull {
  bool is_full;
  int times;  ///< 0: until it is said not to be full any more
};

struct Clear {};

using Action =
    std::variant<Receive, Report, NetworkMode, PhoneMode, NetworkStore, CallFault, SignalFault, Lock, DiskFull, Clear>;

/// A call that a step waits for.
struct AfterCall {
  std::string method;
  int nth;  ///< 0: each
};

struct Step {
  Action action;
  /// When it is performed; now, when there is neither.
  std::variant<std::monostate, std::chrono::milliseconds, AfterCall> when;
  Json source;  ///< as it was written
};

}  // namespace msg_consumer::service::emulator

#endif
