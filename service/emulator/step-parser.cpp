// SPDX-License-Identifier: Apache-2.0
#include "step-parser.hpp"

#include <glib.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <iterator>
#include <regex>
#include <set>

#include <msg-consumer-platform/releaser.hpp>

#include "attachments.hpp"
#include "bus-interface.hpp"
#include "content-files.hpp"
#include "fields.hpp"
#include "record-values.hpp"

namespace msg_consumer::service::emulator {
namespace {

namespace fs = std::filesystem;

constexpr int VERSION = 1;
constexpr std::size_t MAX_STEPS = 100'000;
constexpr std::size_t MAX_DEPTH = 8;
constexpr int MAX_REPEAT = 10'000;
constexpr int MAX_TIMES = 1'000'000;
constexpr int MAX_SEGMENTS = 255;
constexpr int MAX_REFERENCE = 65'535;
constexpr int DAY_MS = 24 * 60 * 60 * 1000;
constexpr std::int64_t END_OF_TIME_MS = 253'402'300'799'999;  // the last moment of the year 9999
constexpr int FIRST_FAILURE = -1;

// --- The text as a whole

/// Watches a parse: refuses deep nesting, and repeated members, of which the parser would keep the last.
class StructureCheck {
 public:
  bool operator()(int /*depth*/, Json::parse_event_t event, const Json& value) {
    using Event = Json::parse_event_t;
    if (event == Event::object_start || event == Event::array_start) {
      _names.emplace_back();
      if (_names.size() > MAX_DEPTH) {
        throw InvalidStep("it is nested too deeply");
      }
    } else if (event == Event::object_end || event == Event::array_end) {
      _names.pop_back();
    } else if (event == Event::key && !_names.back().insert(value.get<std::string>()).second) {
      throw InvalidStep(value.get<std::string>() + ": stands there twice");
    }
    return true;
  }

 private:
  std::vector<std::set<std::string>> _names;
};

Json parse_json(std::string_view text) try {
  StructureCheck check;
  return Json::parse(
      text, [&check](int depth, Json::parse_event_t event, Json& value) { return check(depth, event, value); });
} catch (const Json::parse_error& error) {
  // The library's own text goes on with what it has read.
  const auto before = std::min<std::size_t>(error.byte > 0 ? error.byte - 1 : 0, text.size());
  const auto line = 1 + std::count(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(before), '\n');
  throw InvalidStep("line " + std::to_string(line) + ": it is not JSON in UTF-8");
}

std::string read_whole(const fs::path& path, std::int64_t limit) {
  std::error_code error;
  if (!fs::is_regular_file(path, error)) {
    throw InvalidStep("there is no such file");
  }
  if (fs::file_size(path, error) > static_cast<std::uintmax_t>(limit) || error) {
    throw InvalidStep("the file is too large");
  }
  std::ifstream file(path, std::ios::binary);
  std::string bytes{std::istreambuf_iterator<char>(file), {}};
  if (!file) {
    throw InvalidStep(std::string("the file cannot be read: ") + std::strerror(errno));
  }
  return bytes;
}

// --- Values

std::int64_t milliseconds_of(const std::string& text, const Fields& fields, std::string_view member) {
  static const std::regex form(
      "(19[7-9][0-9]|[2-9][0-9]{3})-(0[1-9]|1[0-2])-(0[1-9]|[12][0-9]|3[01])T([01][0-9]|2[0-3]):[0-5][0-9]:[0-5][0-9]"
      "(\\.[0-9]{1,3})?(Z|[+-]([01][0-9]|2[0-3]):[0-5][0-9])");
  constexpr std::size_t longest = std::string_view("2026-01-01T00:00:00.000+00:00").size();
  const Owned<GDateTime, g_date_time_unref> time(text.size() <= longest && std::regex_match(text, form)
                                                     ? g_date_time_new_from_iso8601(text.c_str(), nullptr)
                                                     : nullptr);
  fields.require(static_cast<bool>(time), member, "must be a time as 2026-01-31T12:00:00Z, or milliseconds since 1970");
  return (g_date_time_to_unix(time.get()) * 1000) + (g_date_time_get_microsecond(time.get()) / 1000);
}

std::optional<std::int64_t> time_of(Fields& fields, std::string_view member) {
  if (!fields.has(member)) {
    return std::nullopt;
  }
  if (fields.raw(member).is_string()) {
    return milliseconds_of(fields.text(member), fields, member);
  }
  return fields.integer(member, 0, END_OF_TIME_MS);
}

bool is_base64(std::string_view text) {
  const std::size_t end = std::min(text.find('='), text.size());
  const auto is_digit = [](unsigned char character) {
    return std::isalnum(character) != 0 || character == '+' || character == '/';
  };
  return text.size() % 4 == 0 && text.size() - end <= 2 &&
         std::all_of(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(end), is_digit) &&
         std::all_of(text.begin() + static_cast<std::ptrdiff_t>(end), text.end(),
                     [](char character) { return character == '='; });
}

std::string decoded(const std::string& text, const Fields& fields) {
  fields.require(is_base64(text), "data", "must be base64");
  if (text.empty()) {
    return {};
  }
  gsize size = 0;
  const Owned<guchar, g_free> bytes(g_base64_decode(text.c_str(), &size));
  return {reinterpret_cast<const char*>(bytes.get()), size};
}

int times_of(Fields& fields) { return fields.integer_or("times", 1, 0, MAX_TIMES); }

/// A message's id, or "latest".
int message_of(Fields& fields) {
  if (fields.raw("message").is_string()) {
    fields.require(fields.text("message") == "latest", "message", "must be the id of a message, or \"latest\"");
    return LATEST_MESSAGE;
  }
  return static_cast<int>(fields.integer("message", 1));
}

std::string method_of(Fields& fields, std::string_view member, bool may_be_any) {
  std::string name = fields.text(member);
  const std::vector<std::string_view> known = BusInterface::methods();
  fields.require((may_be_any && name == "*") || std::find(known.begin(), known.end(), name) != known.end(), member,
                 "the service has no such method");
  return name;
}

/// The one of these members that is there.
std::string_view only_one(const Fields& fields, std::initializer_list<std::string_view> members,
                          std::string_view blamed) {
  std::string_view found;
  std::string names;
  for (const std::string_view member : members) {
    names += (names.empty() ? "" : ", ") + std::string(member);
    if (fields.has(member)) {
      fields.require(found.empty(), member, "there is " + std::string(found) + " already");
      found = member;
    }
  }
  fields.require(!found.empty(), blamed, "there must be one of " + names);
  return found;
}

// --- receive

std::string bytes_of_file(Fields& fields, const fs::path& folder) {
  const fs::path path = fields.non_empty_text("path");
  fields.require(path.is_absolute() || !folder.empty(), "path", "must be absolute");
  try {
    return read_whole(folder / path, ContentFiles::MAX_TOTAL_SIZE);
  } catch (const InvalidStep& error) {
    fields.fail("path", error.what());
  }
}

Part parse_part(Fields fields, const fs::path& folder) {
  Part part{.mime_type = fields.non_empty_text("mime_type"), .name = fields.text_or_empty("name"), .text = {}};
  const std::string_view source = only_one(fields, {"text", "data", "path"}, "text");
  fields.require(part.name.find('/') == std::string::npos, "name", "must not hold a slash");
  if (source == "text") {
    part.text = fields.text("text");
  } else {
    fields.require(!part.name.empty(), "name", "is missing: the content is kept as a file");
    part.bytes = source == "data" ? decoded(fields.text("data"), fields) : bytes_of_file(fields, folder);
  }
  fields.finish();
  return part;
}

Chat parse_chat(Fields fields) {
  Chat chat{.chat = {.chat_id = fields.non_empty_text("id"), .title = fields.text_or_empty("title")},
            .participants = fields.addresses("participants")};
  fields.finish();
  return chat;
}

Segment parse_segment(Fields fields) {
  const auto reference = static_cast<int>(fields.integer("reference", 0, MAX_REFERENCE));
  const auto of = static_cast<int>(fields.integer("of", 1, MAX_SEGMENTS));
  const auto number = static_cast<int>(fields.integer("number", 1, of));
  fields.finish();
  return {.reference = reference, .number = number, .of = of};
}

void forbid(const Fields& fields, std::initializer_list<std::string_view> members, const std::string& why) {
  for (const std::string_view member : members) {
    fields.require(!fields.has(member), member, why);
  }
}

void check_kind(const Fields& fields, const Receive& receive) {
  if (receive.type == TYPE_SMS) {
    forbid(fields, {"subject", "cc", "parts", "notification"}, "an SMS has none");
  } else {
    forbid(fields, {"segment"}, "only an SMS is cut into segments");
  }
  if (receive.type == TYPE_GROUP_CHAT) {
    fields.require(fields.has("chat"), "chat", "is missing");
    forbid(fields, {"to", "cc", "subject", "notification"}, "a message of a group chat has none");
  } else {
    forbid(fields, {"chat"}, "only a message of a group chat has one");
  }
  if (receive.segment) {
    forbid(fields, {"repeat"}, "a segment comes alone");
  }
  fields.require(!receive.is_notification || !receive.is_blocked, "blocked", "a notification cannot be");
}

Receive parse_receive(Fields& fields, const fs::path& folder) {
  Receive receive{};
  receive.type = fields.one_of<int>("type", {{"sms", TYPE_SMS}, {"mms", TYPE_MMS}, {"group-chat", TYPE_GROUP_CHAT}});
  receive.from = fields.address("from");
  receive.from_name = fields.text_or_empty("from_name");
  receive.to = fields.addresses("to");
  receive.cc = fields.addresses("cc");
  receive.text = fields.text_or_empty("text");
  receive.subject = fields.text_or_empty("subject");
  receive.time_ms = time_of(fields, "time");
  receive.sim = fields.integer_or("sim", 0, 0, std::numeric_limits<int>::max());
  for (const Fields& part : fields.objects("parts", MAX_FILES)) {
    receive.parts.push_back(parse_part(part, folder));
  }
  if (fields.has("chat")) {
    receive.chat = parse_chat(fields.object("chat"));
  }
  receive.is_read = fields.boolean_or("read", false);
  receive.is_locked = fields.boolean_or("locked", false);
  receive.is_blocked = fields.boolean_or("blocked", false);
  receive.is_notification = fields.boolean_or("notification", false);
  receive.repeat = fields.integer_or("repeat", 1, 1, MAX_REPEAT);
  if (fields.has("segment")) {
    receive.segment = parse_segment(fields.object("segment"));
  }
  check_kind(fields, receive);
  return receive;
}

// --- The other kinds

Report parse_report(Fields& fields) {
  return {.message_id = message_of(fields),
          .is_delivered = fields.one_of<bool>("result", {{"delivered", true}, {"failed", false}})};
}

NetworkMode parse_network(Fields& fields) {
  NetworkMode mode;
  if (fields.has("sends")) {
    mode.sends = fields.one_of<Sends>(
        "sends",
        {{"deliver", Sends::DELIVER}, {"hold", Sends::HOLD}, {"fail", Sends::FAIL}, {"release", Sends::RELEASE}});
  }
  fields.require(!fields.has("times") || mode.sends == Sends::FAIL, "times", "goes with \"sends\":\"fail\" only");
  mode.times = fields.integer_or("times", 0, 1, MAX_TIMES);
  if (fields.has("reports")) {
    mode.reports = fields.boolean_or("reports", true);
  }
  if (fields.has("retrievals")) {
    mode.retrievals_succeed = fields.one_of<bool>("retrievals", {{"succeed", true}, {"fail", false}});
  }
  fields.require(mode.sends || mode.reports || mode.retrievals_succeed, "sends",
                 "there must be sends, reports or retrievals");
  return mode;
}

PhoneMode parse_phone(Fields& fields) {
  using Kind = Phone::Answer::Kind;
  PhoneMode mode{.answer = fields.one_of<Kind>(
                     "answers", {{"accept", Kind::ACCEPTED}, {"refuse", Kind::REFUSED}, {"silent", Kind::NONE}}),
                 .status = FIRST_FAILURE};
  fields.require(!fields.has("status") || mode.answer == Kind::REFUSED, "status",
                 "goes with \"answers\":\"refuse\" only");
  if (fields.has("status")) {
    mode.status = static_cast<int>(fields.integer("status", std::numeric_limits<int>::min(), FIRST_FAILURE));
  }
  return mode;
}

NmsMsgMeta parse_meta(Fields fields) {
  constexpr int last_sync_state = 3;
  constexpr int last_download_state = 4;
  NmsMsgMeta meta;
  meta.msgId = fields.has("message") ? message_of(fields) : -1;
  meta.metaStr1 = fields.text_or_empty("object_id");
  meta.metaStr2 = fields.text_or_empty("correlation_id");
  meta.metaStr3 = fields.text_or_empty("folder_path");
  meta.metaStr4 = fields.text_or_empty("resource_url");
  meta.metaInt64_1 = time_of(fields, "modified").value_or(0);
  meta.metaInt64_2 = time_of(fields, "notified").value_or(0);
  meta.metaInt1 = fields.integer_or("sync_state", 0, 0, last_sync_state);
  meta.metaInt2 = fields.integer_or("download_state", 0, 0, last_download_state);
  meta.metaFlag1 = fields.boolean_or("seen", false);
  meta.metaFlag2 = fields.boolean_or("deleted", false);
  meta.metaFlag3 = fields.boolean_or("correlated", false);
  fields.require(meta.msgId >= 0 || !meta.metaStr1.empty(), "object_id", "there must be a message or an object id");
  fields.finish();
  return meta;
}

NetworkStore::Subscription parse_subscription(Fields fields) {
  NetworkStore::Subscription subscription{.index = fields.unsigned_integer("index"),
                                          .token = fields.non_empty_text("token")};
  fields.finish();
  return subscription;
}

NetworkStore parse_network_store(Fields& fields) {
  NetworkStore store;
  if (only_one(fields, {"meta", "subscription"}, "meta") == "meta") {
    store.meta = parse_meta(fields.object("meta"));
  } else {
    store.subscription = parse_subscription(fields.object("subscription"));
  }
  return store;
}

CallFault::Error parse_error(Fields fields) {
  CallFault::Error error{.name = fields.text("name"), .message = fields.text_or_empty("message")};
  fields.require(sd_bus_interface_name_is_valid(error.name.c_str()) > 0, "name", "must be a D-Bus error's name");
  fields.finish();
  return error;
}

CallFault parse_fault(Fields& fields) {
  using Reply = CallFault::Reply;
  using Death = CallFault::Death;
  CallFault fault{.method = method_of(fields, "method", true), .times = times_of(fields), .effect = {}};
  const std::string_view effect = only_one(fields, {"status", "error", "reply", "delay_ms", "never", "die"}, "status");
  if (effect == "status") {
    fault.effect = CallFault::Status{static_cast<int>(fields.integer("status"))};
  } else if (effect == "error") {
    fault.effect = parse_error(fields.object("error"));
  } else if (effect == "reply") {
    fault.effect = fields.one_of<Reply>("reply", {{"wrong-type", Reply::WRONG_TYPE}, {"empty", Reply::EMPTY}});
  } else if (effect == "delay_ms") {
    fault.effect = CallFault::Delay{std::chrono::milliseconds(fields.integer("delay_ms", 1, DAY_MS))};
  } else if (effect == "never") {
    fields.require(fields.boolean_or("never", false), "never", "must be true");
    fault.effect = CallFault::Never{};
  } else {
    fault.effect =
        fields.one_of<Death>("die", {{"before-commit", Death::BEFORE_COMMIT}, {"after-commit", Death::AFTER_COMMIT}});
  }
  return fault;
}

SignalFault parse_signals(Fields& fields) {
  using How = SignalFault::How;
  using Form = SignalFault::Form;
  SignalFault fault{
      .how = fields.one_of<How>(
          "how", {{"drop", How::DROP}, {"double", How::DOUBLE}, {"malform", How::MALFORM}, {"delay", How::DELAY}}),
      .times = times_of(fields),
      .form = Form::NOT_JSON,
      .delay = {}};
  fields.require(!fields.has("form") || fault.how == How::MALFORM, "form", "goes with \"how\":\"malform\" only");
  fields.require(fields.has("delay_ms") == (fault.how == How::DELAY), "delay_ms",
                 "goes with \"how\":\"delay\", and only with that");
  if (fields.has("form")) {
    fault.form = fields.one_of<Form>(
        "form", {{"not-json", Form::NOT_JSON}, {"wrong-type", Form::WRONG_TYPE}, {"empty", Form::EMPTY}});
  }
  if (fields.has("delay_ms")) {
    fault.delay = std::chrono::milliseconds(fields.integer("delay_ms", 1, DAY_MS));
  }
  return fault;
}

DiskFull parse_disk_full(Fields& fields) {
  const bool is_off = fields.boolean_or("off", false);
  fields.require(is_off || !fields.has("off"), "off", "must be true");
  fields.require(!is_off || !fields.has("times"), "times", "there is off already");
  return {.is_full = !is_off, .times = fields.integer_or("times", 0, 1, MAX_TIMES)};
}

Action parse_action(Fields& fields, const fs::path& folder) {
  enum class Kind { RECEIVE, REPORT, NETWORK, PHONE, NETWORK_STORE, FAULT, SIGNALS, LOCK, DISK_FULL, CLEAR };
  switch (fields.one_of<Kind>("do", {{"receive", Kind::RECEIVE},
                                     {"report", Kind::REPORT},
                                     {"network", Kind::NETWORK},
                                     {"phone", Kind::PHONE},
                                     {"network-store", Kind::NETWORK_STORE},
                                     {"fault", Kind::FAULT},
                                     {"signals", Kind::SIGNALS},
                                     {"lock", Kind::LOCK},
                                     {"disk-full", Kind::DISK_FULL},
                                     {"clear", Kind::CLEAR}})) {
    case Kind::RECEIVE:
      return parse_receive(fields, folder);
    case Kind::REPORT:
      return parse_report(fields);
    case Kind::NETWORK:
      return parse_network(fields);
    case Kind::PHONE:
      return parse_phone(fields);
    case Kind::NETWORK_STORE:
      return parse_network_store(fields);
    case Kind::FAULT:
      return parse_fault(fields);
    case Kind::SIGNALS:
      return parse_signals(fields);
    case Kind::LOCK:
      return Lock{std::chrono::milliseconds(fields.integer("ms", 1, DAY_MS))};
    case Kind::DISK_FULL:
      return parse_disk_full(fields);
    case Kind::CLEAR:
      break;
  }
  return Clear{};
}

AfterCall parse_when(Fields fields) {
  AfterCall when{.method = method_of(fields, "call", false), .nth = fields.integer_or("nth", 0, 1, MAX_TIMES)};
  fields.finish();
  return when;
}

Step parse(const Json& json, const std::string& where, const fs::path& folder) {
  Fields fields(json, where);
  Step step{.action = parse_action(fields, folder), .when = {}, .source = json};
  fields.require(!fields.has("after_ms") || !fields.has("when"), "when", "there is after_ms already");
  if (fields.has("after_ms")) {
    step.when = std::chrono::milliseconds(fields.integer("after_ms", 0, DAY_MS));
  } else if (fields.has("when")) {
    step.when = parse_when(fields.object("when"));
  }
  fields.finish();
  return step;
}

}  // namespace

Step parse_step(std::string_view text, const fs::path& folder) { return parse(parse_json(text), "", folder); }

std::vector<Step> parse_scenario(std::string_view text, const fs::path& folder) {
  const Json json = parse_json(text);
  if (!json.is_object()) {
    throw InvalidStep("a scenario must be an object");
  }
  Fields fields(json, "");
  static_cast<void>(fields.integer("version", VERSION, VERSION));
  const Json& list = fields.raw("steps");
  fields.require(list.is_array(), "steps", "must be a list");
  fields.require(list.size() <= MAX_STEPS, "steps", "must not hold more than " + std::to_string(MAX_STEPS));
  std::vector<Step> steps;
  for (const Json& step : list) {
    steps.push_back(parse(step, "step " + std::to_string(steps.size() + 1), folder));
  }
  fields.finish();
  return steps;
}

std::vector<Step> load_scenario(const fs::path& file) try {
  constexpr std::int64_t largest = std::int64_t{256} * 1024 * 1024;
  return parse_scenario(read_whole(file, largest), fs::absolute(file).parent_path());
} catch (const InvalidStep& error) {
  throw InvalidStep(file.string() + ": " + error.what());
}

}  // namespace msg_consumer::service::emulator
