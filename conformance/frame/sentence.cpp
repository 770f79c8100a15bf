// SPDX-License-Identifier: Apache-2.0
#include "frame/sentence.hpp"

#include <sys/wait.h>
#include <unistd.h>

#include <charconv>
#include <cstring>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <stdexcept>
#include <string_view>

namespace msg_consumer::conformance {
namespace {

constexpr std::size_t MAX_SHOWN = 300;
constexpr std::size_t MAX_DIFFERENCES = 5;

struct Difference {
  std::string place;
  Json expected;
  Json seen;
};

std::string element_of(const std::string& place, std::size_t index) {
  return place + "[" + std::to_string(index) + "]";
}

std::string member_of(const std::string& place, const std::string& name) { return place + "." + name; }

// An object that differs in one member of many is easier to read as that member.
void find_differences(const std::string& place, const Json& expected, const Json& seen,
                      std::vector<Difference>& found) {
  if (expected == seen || found.size() >= MAX_DIFFERENCES) return;
  const bool both_lists = expected.is_array() && seen.is_array() && expected.size() == seen.size();
  if (both_lists && !expected.empty() && expected.front().is_structured()) {
    for (std::size_t i = 0; i < expected.size(); ++i) {
      find_differences(element_of(place, i), expected[i], seen[i], found);
    }
  } else if (expected.is_object() && seen.is_object()) {
    for (const auto& [name, value] : expected.items()) {
      find_differences(member_of(place, name), value, seen.value(name, Json()), found);
    }
  } else {
    found.push_back({place, expected, seen});
  }
}

Json listed(const Sentences& sentences) {
  Json list = Json::array();
  for (const auto& sentence : sentences) {
    list.push_back({{"group", sentence.group},
                    {"text", sentence.text},
                    {"state", sentence.state},
                    {"changes_state", sentence.changes_state}});
  }
  return list;
}

const Sentence* find_sentence(const Sentences& sentences, std::string_view number) {
  std::size_t index = 0;
  const auto [end, error] = std::from_chars(number.data(), number.data() + number.size(), index);
  const bool valid = error == std::errc() && end == number.data() + number.size() && index < sentences.size();
  return valid ? &sentences[index] : nullptr;
}

Findings::Options options_of(int count, char** arguments) {
  Findings::Options options;
  for (int i = 0; i < count; ++i) {
    const std::string text = arguments[i];
    const auto equals = text.find('=');
    if (equals != std::string::npos) options[text.substr(0, equals)] = text.substr(equals + 1);
  }
  return options;
}

int run(const Sentence& sentence, Findings findings) {
  try {
    sentence.body(findings);
  } catch (const std::exception& error) {
    findings.expect(false, std::string("an exception came out: ") + error.what());
  }
  findings.finish();
  return 0;
}

int print_fixture(const Program& program, const std::string& state) try {
  std::cout << program.fixture(state).dump(2) << '\n';
  return 0;
} catch (const std::invalid_argument& error) {
  std::cerr << error.what() << '\n';
  return 2;
}

int usage(const char* name) {
  std::cerr << "Usage: " << name << " --list | --fixture STATE | --run NUMBER REPORT [NAME=VALUE...]\n"
            << "msg-consumer-conformance runs this program.\n";
  return 2;
}

}  // namespace

std::string shown(const Json& value) {
  std::string text = value.dump(-1, ' ', false, Json::error_handler_t::replace);
  if (text.size() > MAX_SHOWN) text.replace(MAX_SHOWN, std::string::npos, "...");
  return text;
}

bool Findings::expect(bool holds, const std::string& what) {
  if (!holds) write("fail", what);
  return holds;
}

bool Findings::equal(const std::string& what, const Json& expected, const Json& seen) {
  std::vector<Difference> differences;
  find_differences(what, expected, seen, differences);
  for (const auto& difference : differences) {
    write("fail", difference.place + ": expected " + shown(difference.expected) + ", saw " + shown(difference.seen));
  }
  return differences.empty();
}

void Findings::skip(const std::string& reason) { write("skip", reason); }

void Findings::finish() { write("done", ""); }

std::optional<std::string> Findings::option(const std::string& name) const {
  const auto found = _options.find(name);
  return found == _options.end() ? std::nullopt : std::optional(found->second);
}

void Findings::write(const char* kind, const std::string& text) {
  std::ofstream(_report, std::ios::app) << kind << ' ' << text << '\n';
}

int answer(int argc, char** argv, const Program& program) {
  const std::string_view wish = argc > 1 ? argv[1] : "";
  if (wish == "--list" && argc == 2) {
    std::cout << listed(program.sentences).dump() << '\n';
    return 0;
  }
  if (wish == "--fixture" && argc == 3) {
    return print_fixture(program, argv[2]);
  }
  const Sentence* sentence = wish == "--run" && argc > 3 ? find_sentence(program.sentences, argv[2]) : nullptr;
  if (sentence == nullptr) return usage(argv[0]);
  return run(*sentence, Findings(argv[3], options_of(argc - 4, argv + 4)));
}

Sentences joined(std::vector<Sentences> tables) {
  Sentences all;
  for (auto& table : tables) std::move(table.begin(), table.end(), std::back_inserter(all));
  return all;
}

int in_fork(const std::function<int()>& body) {
  const pid_t child = fork();
  if (child == 0) _exit(body());
  int status = -1;
  waitpid(child, &status, 0);
  return WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status);
}

std::size_t open_files() {
  const std::filesystem::directory_iterator files("/proc/self/fd");
  return static_cast<std::size_t>(std::distance(begin(files), end(files)));
}

}  // namespace msg_consumer::conformance
