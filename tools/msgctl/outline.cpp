// SPDX-License-Identifier: Apache-2.0
#include "msgctl/outline.hpp"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "msgctl/command.hpp"
#include "msgctl/json-text.hpp"

namespace msgctl {
namespace {

using Json = nlohmann::ordered_json;

std::string full_name(const CLI::App& app) {
  if (app.get_parent() == nullptr) return {};
  const std::string group = full_name(*app.get_parent());
  return group.empty() ? app.get_name() : group + " " + app.get_name();
}

const Command* command_named(const std::string& name) {
  const auto found =
      std::find_if(commands().begin(), commands().end(), [&](const Command& command) { return command.name == name; });
  return found != commands().end() ? &*found : nullptr;
}

// The parser names the type of the variable in front of what the check asks for: "INT:MESSAGE".
std::string value_of(const CLI::Option& option) {
  if (option.get_items_expected_max() == 0) return {};
  std::string type = option.get_type_name();
  type.erase(0, type.find(':') + 1);
  // "{json,xml}" is how the parser's own check writes a choice.
  if (!type.starts_with('{')) return type;
  std::replace(type.begin(), type.end(), ',', '|');
  return type.substr(1, type.size() - 2);
}

OptionOutline outline_of(const CLI::Option& option, const std::string& group) {
  const bool positional = option.get_positional();
  const bool flag = option.get_items_expected_max() == 0;
  return {positional ? option.get_name(true) : "--" + option.get_lnames().front(),
          value_of(option),
          option.get_description(),
          group,
          positional,
          option.get_required(),
          !flag && option.get_items_expected_max() > 1};
}

// The options of the parser's own groups belong to the command that the groups stand in.
void add_options(const CLI::App& app, const std::string& group, std::vector<OptionOutline>& options) {
  for (const CLI::Option* option : app.get_options([](const CLI::Option*) { return true; })) {
    // The parser gives each of its groups a --help, too.
    if (group.empty() || !option->check_lname("help")) options.push_back(outline_of(*option, group));
  }
  for (const CLI::App* part : app.get_subcommands([](const CLI::App* child) { return child->get_name().empty(); })) {
    add_options(*part, part->get_description(), options);
  }
}

Json object_of(const OptionOutline& option) {
  return {{"name", option.name},         {"value", option.value},       {"description", option.description},
          {"group", option.group},       {"choices", option.choices()}, {"positional", option.positional},
          {"required", option.required}, {"repeats", option.repeats}};
}

Json object_of(const Outline& outline) {
  Json options = Json::array(), commands = Json::array();
  for (const OptionOutline& option : outline.options) options.push_back(object_of(option));
  for (const Outline& command : outline.commands) commands.push_back(object_of(command));
  return {{"name", outline.name},     {"summary", outline.summary}, {"example", outline.example},
          {"hidden", outline.hidden}, {"options", options},         {"commands", commands}};
}

}  // namespace

std::vector<std::string> OptionOutline::choices() const {
  if (value.find('|') == std::string::npos) return {};
  return CLI::detail::split(value, '|');
}

Outline outline_of(const CLI::App& app) {
  Outline outline;
  outline.name = full_name(app);
  outline.summary = app.get_description();
  outline.hidden = app.get_parent() != nullptr && app.get_group().empty();
  if (const Command* command = command_named(outline.name)) outline.example = command->example;
  add_options(app, {}, outline.options);
  for (const CLI::App* child : app.get_subcommands([](const CLI::App* child) { return !child->get_name().empty(); })) {
    outline.commands.push_back(outline_of(*child));
  }
  return outline;
}

std::string json_of(const Outline& outline) { return json_text(object_of(outline)); }

}  // namespace msgctl
