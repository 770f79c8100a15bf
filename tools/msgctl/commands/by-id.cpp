// SPDX-License-Identifier: Apache-2.0
#include <unistd.h>

#include <cstdint>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>

#include "msgctl/commands/commands.hpp"
#include "msgctl/connection.hpp"
#include "msgctl/json-text.hpp"
#include "msgctl/progress.hpp"

namespace msgctl {
namespace {

std::string named(const CommandById& command, int id) { return std::string(command.noun) + " " + std::to_string(id); }

Attempt attempt_of(const CommandById& command, int id) {
  return {std::string(command.verb) + " " + named(command, id), named(command, id),
          std::string("'msgctl ") + command.noun + "s' lists the " + command.noun + "s."};
}

// Calls `report_success` for each id that was dealt with; a failure with one id does not keep the others from it.
template <typename ReportSuccess>
void for_each(const CommandById& command, const std::vector<int>& ids, Context& context, ReportSuccess report_success) {
  // On a terminal of its own the output tells how far it is.
  std::optional<Progress> progress;
  if (isatty(STDOUT_FILENO) == 0) progress.emplace(std::string(command.noun) + "s:");
  const auto total = static_cast<std::int64_t>(ids.size());
  std::int64_t done = 0;
  for (const int id : ids) {
    try {
      check_command(command.call(id), attempt_of(command, id));
      report_success(id);
    } catch (const Failure& failure) {
      if (progress) progress->clear();
      context.report(failure);
    }
    ++done;
    if (progress) progress->show(done, done, total);
  }
}

void run_in_words(const CommandById& command, const std::vector<int>& ids, Context& context) {
  for_each(command, ids, context, [&](int id) { context.out.write(named(command, id) + " " + command.done + "\n"); });
}

void run_in_json(const CommandById& command, const std::string& kind, const std::vector<int>& ids, Context& context) {
  const std::string key = std::string(command.noun) + "_id";
  JsonList done(context.out, kind);
  for_each(command, ids, context, [&](int id) { done.add(json_text(nlohmann::ordered_json{{key, id}})); });
  done.end();
}

// "read", or "thread-read" for a command in a group.
std::string kind_of(const CLI::App& app) {
  std::string kind = app.get_name();
  for (const CLI::App* group = app.get_parent(); group != nullptr && group->get_parent() != nullptr;
       group = group->get_parent()) {
    kind.insert(0, group->get_name() + "-");
  }
  return kind;
}

}  // namespace

Action CommandById::operator()(CLI::App& app) const {
  auto ids = std::make_shared<std::vector<int>>();
  app.add_option("ID", *ids, std::string("The ") + noun + "s")
      ->required()
      ->check(whole_number(1, std::string_view(noun) == "thread" ? "THREAD" : "MESSAGE"));
  return [command = *this, kind = kind_of(app), ids](Context& context) {
    const Connection connection;
    context.json ? run_in_json(command, kind, *ids, context) : run_in_words(command, *ids, context);
  };
}

}  // namespace msgctl
