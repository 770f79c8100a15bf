// SPDX-License-Identifier: Apache-2.0
#include "kit/checks.hpp"

#include <fstream>
#include <utility>

#include "kit/failure.hpp"

namespace msg_consumer::conformance {
namespace {

/// With this status a program that checks says that it was asked for something that it does not have.
constexpr int REFUSED = 2;

struct Report {
  std::vector<std::string> failures;
  std::vector<std::string> skipped;
  bool done = false;
};

Report read_report(const std::filesystem::path& path) {
  Report report;
  std::ifstream file(path);
  for (std::string line; std::getline(file, line);) {
    if (line.starts_with("fail ")) report.failures.push_back(line.substr(5));
    if (line.starts_with("skip ")) report.skipped.push_back(line.substr(5));
    report.done = report.done || line.starts_with("done");
  }
  return report;
}

std::string last_line(const std::string& text) {
  const auto end = text.find_last_not_of('\n');
  if (end == std::string::npos) return "";
  const auto begin = text.find_last_of('\n', end);
  return text.substr(begin == std::string::npos ? 0 : begin + 1, end - (begin == std::string::npos ? -1 : begin));
}

}  // namespace

Checks::Checks(std::filesystem::path program, Environment environment, std::filesystem::path folder,
               std::chrono::milliseconds time_limit)
    : _program(std::move(program)),
      _environment(std::move(environment)),
      _folder(std::move(folder)),
      _time_limit(time_limit) {
  std::filesystem::create_directory(_folder);
}

std::vector<ListedSentence> Checks::list() const {
  const auto json = nlohmann::json::parse(answer_to({"--list"}));
  std::vector<ListedSentence> sentences;
  for (const auto& entry : json) {
    sentences.push_back(
        {sentences.size(), entry.at("group"), entry.at("text"), entry.at("state"), entry.at("changes_state")});
  }
  return sentences;
}

std::string Checks::fixture(const std::string& state) const { return answer_to({"--fixture", state}); }

Outcome Checks::look_into(const ListedSentence& sentence, const Environment& environment,
                          const std::vector<std::string>& options) const {
  const auto path = _folder / "report";
  std::filesystem::remove(path);
  std::vector<std::string> arguments = {"--run", std::to_string(sentence.number), path};
  arguments.insert(arguments.end(), options.begin(), options.end());
  const Ended ended = run_with(std::move(arguments), environment);
  Report report = read_report(path);
  // After the end of the sentence, too: libraries have destructors.
  if (!ended.well() || !report.done) {
    const std::string words = last_line(ended.errors);
    report.failures.push_back(ended.description() + (words.empty() ? "" : ": " + words));
  }
  if (!report.failures.empty()) return {Verdict::Fails, report.failures};
  if (!report.skipped.empty()) return {Verdict::Skipped, report.skipped};
  return {Verdict::Holds, {}};
}

Ended Checks::run_with(std::vector<std::string> arguments, const Environment& environment) const {
  arguments.insert(arguments.begin(), _program);
  Environment whole = environment;
  whole.insert(_environment.begin(), _environment.end());
  return run({std::move(arguments), std::move(whole), _folder, _time_limit});
}

std::string Checks::answer_to(const std::vector<std::string>& question) const {
  const Ended ended = run_with(question, {});
  if (ended.how == Ended::How::Exited && ended.number == REFUSED) throw CannotCheck(last_line(ended.errors));
  if (!ended.well()) {
    throw CannotCheck(_program.filename().string() + " cannot be used, " + ended.description() + ": " +
                      last_line(ended.errors));
  }
  return ended.output;
}

}  // namespace msg_consumer::conformance
