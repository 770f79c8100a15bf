// SPDX-License-Identifier: Apache-2.0
// The emulator's steps. Each command puts one together from its arguments; the emulator alone knows whether it is one.
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <limits>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>

#include "msgctl/commands/commands.hpp"
#include "msgctl/emulator.hpp"
#include "msgctl/input.hpp"
#include "msgctl/json-text.hpp"
#include "msgctl/service-path.hpp"
#include "msgctl/text.hpp"

namespace msgctl {
namespace {

using Json = nlohmann::ordered_json;

constexpr const char* kind = "emulate";

// The step that a command's options make up, filled while they are read.
using Step = std::shared_ptr<Json>;

Step step_named(const char* name) { return std::make_shared<Json>(Json{{"do", name}}); }

Json number_or_text(const std::string& text) {
  std::int64_t number = 0;
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  return error == std::errc() && stop == end ? Json(number) : Json(text);
}

// Options whose value becomes a member of the step as it is.
class Members {
 public:
  Members(CLI::App& app, Step step) : _app(&app), _step(std::move(step)) {}

  CLI::Option* text(const std::string& option, const std::string& member, const std::string& description) const {
    return add<std::string>(option, member, description)->type_name("TEXT");
  }

  CLI::Option* number(const std::string& option, const std::string& member, const std::string& description,
                      int minimum = 0) const {
    return add<int>(option, member, description)->check(whole_number(minimum));
  }

  CLI::Option* flag(const std::string& option, const std::string& member, const std::string& description) const {
    return _app->add_flag_callback(
        option, [step = _step, member] { (*step)[member] = true; }, description);
  }

  CLI::Option* texts(const std::string& option, const std::string& member, const std::string& description) const {
    return _app
        ->add_option_function<std::vector<std::string>>(
            option, [step = _step, member](const std::vector<std::string>& values) { (*step)[member] = values; },
            description)
        ->allow_extra_args(false);
  }

  // A message's id, or "latest".
  CLI::Option* message(const std::string& option, const std::string& description) const {
    const auto check = [](const std::string& text) { return text == "latest" ? "" : message_id()(text); };
    return _app
        ->add_option_function<std::string>(
            option, [step = _step](const std::string& value) { (*step)["message"] = number_or_text(value); },
            description)
        ->check(CLI::Validator([check](std::string& text) { return check(text); }, "MESSAGE"));
  }

  // Milliseconds since 1970, or a time in words.
  CLI::Option* time(const std::string& option, const std::string& member, const std::string& description) const {
    return _app
        ->add_option_function<std::string>(
            option, [step = _step, member](const std::string& value) { (*step)[member] = number_or_text(value); },
            description)
        ->type_name("TIME");
  }

  // One of a few words that stand for numbers.
  CLI::Option* word(const std::string& option, const std::string& member, const std::map<std::string, int>& numbers,
                    const std::string& description) const {
    return add<int>(option, member, description)->transform(one_of(numbers));
  }

 private:
  template <typename Value>
  CLI::Option* add(const std::string& option, const std::string& member, const std::string& description) const {
    return _app->add_option_function<Value>(
        option, [step = _step, member](const Value& value) { (*step)[member] = value; }, description);
  }

  CLI::App* _app;
  Step _step;
};

// A result, an object, in words: "message_id 12, thread_id 3".
std::string words_of(const Json& result) {
  std::string words;
  for (const auto& [name, value] : result.items()) {
    if (!words.empty()) words += ", ";
    words += name + " " + (value.is_string() ? value.get<std::string>() : json_text(value));
  }
  return words.empty() ? "done" : printable(words);
}

Json parsed(const std::string& text, const std::string& what) {
  try {
    return Json::parse(text);
  } catch (const Json::parse_error& error) {
    throw Failure(ExitCode::Refused, what + " is not JSON, at byte " + std::to_string(error.byte));
  }
}

Json perform_one(const Json& step) {
  std::string text;
  try {
    text = step.dump();
  } catch (const Json::type_error&) {
    throw Failure(ExitCode::Refused, "a text is not UTF-8, so nothing was done");
  }
  return parsed(perform_step(text), "the emulator's answer");
}

void perform(const Json& step, Context& context) {
  const Json result = perform_one(step);
  context.answer(kind, json_text(result), words_of(result));
}

Action action_of(const Step& step) {
  return [step](Context& context) { perform(*step, context); };
}

// One step, a list of them, or a scenario.
std::vector<Json> steps_in(const std::string& path) {
  Json json = parsed(read_input(path), path == "-" ? "the standard input" : "'" + path + "'");
  if (json.is_object() && json.contains("steps")) json = json["steps"];
  if (json.is_array()) return json.get<std::vector<Json>>();
  return {json};
}

void perform_file(const std::string& path, Context& context) {
  const std::vector<Json> steps = steps_in(path);
  Json results = Json::array();
  for (std::size_t i = 0; i < steps.size(); ++i) {
    try {
      results.push_back(perform_one(steps[i]));
    } catch (const Failure& failure) {
      if (steps.size() == 1) throw;
      throw Failure(failure.code(), "step " + std::to_string(i + 1) + ": " + failure.what(),
                    i == 0 ? failure.advice() : "The " + std::to_string(i) + " before it were performed.");
    }
    if (!context.json) context.out.write(words_of(results.back()) + "\n");
  }
  if (context.json) write_json_item(context.out, "emulate-perform", json_text(Json{{"results", results}}));
}

// "7/2/3" is the second of the three segments of message 7.
CLI::Validator segment_check(const Step& step) {
  return CLI::Validator(
      [step](const std::string& text) -> std::string {
        int reference = 0, number = 0, of = 0, end = 0;
        // NOLINTNEXTLINE(cert-err34-c): what is out of range is refused by the emulator
        if (std::sscanf(text.c_str(), "%d/%d/%d%n", &reference, &number, &of, &end) == 3 &&
            static_cast<std::size_t>(end) == text.size()) {
          (*step)["segment"] = {{"reference", reference}, {"number", number}, {"of", of}};
          return {};
        }
        return "'" + text + "' is not of the form REFERENCE/NUMBER/OF";
      },
      "REFERENCE/NUMBER/OF");
}

struct Files {
  std::vector<std::string> paths;
  std::string segment;
};

std::string mime_type_of(const std::filesystem::path& path) {
  static const std::map<std::string, std::string> types = {
      {".3gp", "video/3gpp"},      {".amr", "audio/amr"},  {".gif", "image/gif"},  {".jpeg", "image/jpeg"},
      {".jpg", "image/jpeg"},      {".mp3", "audio/mpeg"}, {".mp4", "video/mp4"},  {".ogg", "audio/ogg"},
      {".pdf", "application/pdf"}, {".png", "image/png"},  {".txt", "text/plain"}, {".vcf", "text/x-vcard"}};
  const auto found = types.find(path.extension().string());
  return found != types.end() ? found->second : "application/octet-stream";
}

void add_files(const std::vector<std::string>& paths, Json& step) {
  for (const std::string& path : paths) {
    const std::string absolute = path_of_existing_file(path);
    step["parts"].push_back({{"mime_type", mime_type_of(absolute)},
                             {"name", std::filesystem::path(absolute).filename().string()},
                             {"path", absolute}});
  }
}

// What only one kind of message can have tells which it is.
std::string type_of(const Json& step) {
  if (step.contains("chat")) return "group-chat";
  for (const char* member : {"subject", "cc", "parts", "notification"}) {
    if (step.contains(member)) return "mms";
  }
  return "sms";
}

void declare_failures(const Members& members, CLI::App& app, const Step& step) {
  members.number("--status", "status", "Answered with this status, and not run", std::numeric_limits<int>::min());
  app.add_option_function<std::string>(
         "--error", [step](const std::string& name) { (*step)["error"]["name"] = name; },
         "Answered with this D-Bus error")
      ->type_name("NAME");
  members.text("--reply", "reply", "Answered with another reply than is documented")
      ->check(one_of(std::vector<std::string>{"wrong-type", "empty"}));
  members.number("--delay", "delay_ms", "Run and answered after so many milliseconds", 1);
  members.flag("--never", "never", "Never answered");
  members.text("--die", "die", "The service is killed")
      ->check(one_of(std::vector<std::string>{"before-commit", "after-commit"}));
}

void declare_metadata(const Members& members) {
  members.message("--message", "The message that it belongs to; 'latest' for the newest");
  members.text("--object", "object_id", "The object's id");
  members.text("--correlation", "correlation_id", "What it is correlated by");
  members.text("--folder", "folder_path", "The folder it lies in");
  members.text("--url", "resource_url", "Where it is");
  members.time("--modified", "modified", "When it was last modified");
  members.time("--notified", "notified", "When it was notified of");
  members.word("--sync", "sync_state", {{"in-step", 0}, {"required", 1}, {"running", 2}, {"failed", 3}},
               "How far its sync is");
  members.word("--download", "download_state",
               {{"none", 0}, {"required", 1}, {"running", 2}, {"done", 3}, {"failed", 4}}, "How far its download is");
  members.flag("--seen", "seen", "It was seen");
  members.flag("--deleted", "deleted", "It was deleted");
  members.flag("--correlated", "correlated", "It is correlated with a message");
}

}  // namespace

Action configure_emulate_receive(CLI::App& app) {
  const Step step = step_named("receive");
  auto files = std::make_shared<Files>();
  const Members members(app, step);
  members.text("--type", "type", "What kind of message; sms unless something is given that others have alone")
      ->check(one_of(std::vector<std::string>{"sms", "mms", "group-chat"}));
  members.text("--from", "from", "The sender's address")->type_name("ADDRESS")->required();
  members.text("--name", "from_name", "The sender's name")->type_name("NAME");
  members.texts("--to", "to", "Another receiver; may be repeated")->type_name("ADDRESS");
  members.texts("--cc", "cc", "A receiver of a copy; may be repeated")->type_name("ADDRESS");
  members.text("--subject", "subject", "The subject");
  members.time("--time", "time", "When it was sent, as 2026-03-01T08:30:00Z; now unless given");
  members.number("--sim", "sim", "The SIM it comes to");
  app.add_option("--file", files->paths, "A file that comes with it; may be repeated")
      ->type_name(file_value)
      ->allow_extra_args(false);
  members.flag("--read", "read", "It is read already");
  members.flag("--locked", "locked", "It is locked against deletion");
  members.flag("--blocked", "blocked", "It is blocked");
  members.flag("--notification", "notification", "Only announced: the content comes when it is retrieved");
  app.add_option("--segment", files->segment, "It is one segment of a long text message")->check(segment_check(step));
  app.add_option_function<std::string>(
         "--chat", [step](const std::string& id) { (*step)["chat"]["id"] = id; }, "The group chat it belongs to")
      ->type_name("CHAT");
  app.add_option_function<std::string>(
         "--title", [step](const std::string& title) { (*step)["chat"]["title"] = title; }, "The group chat's name")
      ->type_name("TEXT");
  app.add_option_function<std::vector<std::string>>(
         "--participant",
         [step](const std::vector<std::string>& addresses) { (*step)["chat"]["participants"] = addresses; },
         "A participant of the group chat; may be repeated")
      ->type_name("ADDRESS")
      ->allow_extra_args(false);
  members.number("--repeat", "repeat", "How many of them, numbered", 1);
  members.text("TEXT", "text", "The text");
  return [step, files](Context& context) {
    add_files(files->paths, *step);
    if (!step->contains("type")) (*step)["type"] = type_of(*step);
    perform(*step, context);
  };
}

Action configure_emulate_report(CLI::App& app) {
  const Step step = step_named("report");
  const Members members(app, step);
  members.message("ID", "The message that was sent; 'latest' for the newest")->required();
  members.text("RESULT", "result", "How its delivery ended")
      ->check(one_of(std::vector<std::string>{"delivered", "failed"}))
      ->required();
  return action_of(step);
}

Action configure_emulate_network(CLI::App& app) {
  const Step step = step_named("network");
  CLI::Option_group* group = app.add_option_group("Mode", "At least one of");
  group->require_option(1, 0);
  const Members choice(*group, step);
  const Members members(app, step);
  choice.text("SENDS", "sends", "What becomes of messages that are sent")
      ->check(one_of(std::vector<std::string>{"deliver", "hold", "fail", "release"}));
  choice.text("--retrievals", "retrievals", "How the retrieval of MMS ends")
      ->check(one_of(std::vector<std::string>{"succeed", "fail"}));
  choice.text("--reports", "reports", "Whether delivery reports come by themselves")
      ->check(one_of(std::vector<std::string>{"yes", "no"}));
  members.number("--times", "times", "How many sends fail before they are delivered again; all unless given", 1);
  return [step](Context& context) {
    if (step->contains("reports")) (*step)["reports"] = (*step)["reports"] == "yes";
    perform(*step, context);
  };
}

Action configure_emulate_phone(CLI::App& app) {
  const Step step = step_named("phone");
  const Members members(app, step);
  members.text("ANSWERS", "answers", "What the phone does when it is asked to store a message")
      ->check(one_of(std::vector<std::string>{"accept", "refuse", "silent"}))
      ->required();
  members.number("--status", "status", "The status with which it refuses, -1 or less", std::numeric_limits<int>::min());
  return action_of(step);
}

Action configure_emulate_network_store(CLI::App& app) {
  auto metadata = step_named("network-store");
  auto subscription = step_named("network-store");
  declare_metadata(Members(app, metadata));
  app.add_option_function<std::uint64_t>(
         "--index", [subscription](std::uint64_t index) { (*subscription)["subscription"]["index"] = index; },
         "Up to where notifications were taken; with --token, instead of metadata")
      ->check(unsigned_number());
  app.add_option_function<std::string>(
         "--token", [subscription](const std::string& token) { (*subscription)["subscription"]["token"] = token; },
         "The token with which the subscription is resumed")
      ->type_name("TEXT");
  return [metadata, subscription](Context& context) {
    if (subscription->contains("subscription")) return perform(*subscription, context);
    Json members = *metadata;
    members.erase("do");
    perform(Json{{"do", "network-store"}, {"meta", members}}, context);
  };
}

Action configure_emulate_fault(CLI::App& app) {
  const Step step = step_named("fault");
  const Members members(app, step);
  members.text("METHOD", "method", "The method on the bus that fails; * for every one")
      ->type_name("METHOD")
      ->required();
  CLI::Option_group* group = app.add_option_group("Failure", "One of");
  group->require_option(1);
  declare_failures(Members(*group, step), *group, step);
  app.add_option_function<std::string>(
         "--message", [step](const std::string& text) { (*step)["error"]["message"] = text; },
         "What the error of --error says")
      ->type_name("TEXT");
  members.number("--times", "times", "How many calls; 0 for all until cleared; 1 unless given");
  return action_of(step);
}

Action configure_emulate_signals(CLI::App& app) {
  const Step step = step_named("signals");
  const Members members(app, step);
  members.text("HOW", "how", "What becomes of the next events")
      ->check(one_of(std::vector<std::string>{"drop", "double", "malform", "delay"}))
      ->required();
  members.text("--form", "form", "How a malformed event looks")
      ->check(one_of(std::vector<std::string>{"not-json", "wrong-type", "empty"}));
  members.number("--delay", "delay_ms", "For how many milliseconds they are delayed", 1);
  members.number("--times", "times", "How many events; 0 for all until cleared; 1 unless given");
  return action_of(step);
}

Action configure_emulate_lock(CLI::App& app) {
  const Step step = step_named("lock");
  Members(app, step).number("MILLISECONDS", "ms", "For how long another writer holds the store", 1)->required();
  return action_of(step);
}

Action configure_emulate_disk_full(CLI::App& app) {
  const Step step = step_named("disk-full");
  const Members members(app, step);
  members.number("--times", "times", "For how many changes; until --off unless given", 1);
  members.flag("--off", "off", "There is room again");
  return action_of(step);
}

Action configure_emulate_clear(CLI::App& /*app*/) { return action_of(step_named("clear")); }

Action configure_emulate_state(CLI::App& /*app*/) {
  return [](Context& context) {
    const Json state = parsed(get_emulator_state(), "the emulator's answer");
    context.answer("emulator-state", json_text(state), state.dump(2, ' ', false, Json::error_handler_t::replace));
  };
}

Action configure_emulate_reset(CLI::App& /*app*/) {
  return [](Context& context) {
    reset_emulator();
    context.answer("emulate-reset", "{}", "reset");
  };
}

Action configure_emulate_perform(CLI::App& app) {
  auto path = std::make_shared<std::string>();
  app.add_option("FILE", *path, "A step, a list of them or a scenario; - reads the standard input")
      ->type_name(file_value)
      ->required();
  return [path](Context& context) { perform_file(*path, context); };
}

}  // namespace msgctl
