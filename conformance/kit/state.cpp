// SPDX-License-Identifier: Apache-2.0
#include "kit/state.hpp"

#include <fstream>
#include <sstream>
#include <utility>

#include "kit/failure.hpp"

namespace msg_consumer::conformance {
namespace {

constexpr std::chrono::minutes FILLER_TIME_LIMIT{5};

/// With this status a filler says that its library has no such state.
constexpr int NO_SUCH_STATE = 3;

Environment environment_in(const std::string& output) {
  Environment environment;
  std::istringstream lines(output);
  for (std::string line; std::getline(lines, line);) {
    const auto equals = line.find('=');
    if (equals == std::string::npos || equals == 0) throw CannotCheck("the filler's output is not NAME=VALUE: " + line);
    environment[line.substr(0, equals)] = line.substr(equals + 1);
  }
  return environment;
}

}  // namespace

State::State(std::string filler, std::filesystem::path folder, const Checks& checks)
    : _filler(std::move(filler)), _folder(std::move(folder)), _checks(checks) {
  if (_filler.empty()) return;
  std::error_code error;
  if (!std::filesystem::is_regular_file(_filler, error)) throw CannotCheck("there is no filler at " + _filler);
  _filler = std::filesystem::canonical(_filler);
}

std::optional<Environment> State::prepare(const ListedSentence& sentence) {
  if (sentence.state.empty()) return Environment();
  if (sentence.state != _current) {
    _environment = fill(sentence.state);
    _current = sentence.state;
  }
  // A change must not reach the next sentence.
  if (sentence.changes_state) _current.clear();
  return _environment;
}

std::optional<Environment> State::fill(const std::string& state) {
  if (_filler.empty()) {
    _reason = "--filler names nothing that fills the library";
    return std::nullopt;
  }
  const auto folder = _folder / ("state-" + std::to_string(++_count));
  std::filesystem::create_directory(folder);
  const auto fixture = folder / "fixture.json";
  std::ofstream(fixture) << _checks.fixture(state);
  const Ended ended = run({{_filler, fixture, folder}, {}, folder, FILLER_TIME_LIMIT});
  if (ended.how == Ended::How::Exited && ended.number == NO_SUCH_STATE) {
    _reason = "the filler says that there is no such state: " + state;
    return std::nullopt;
  }
  if (!ended.well()) throw CannotCheck("the filler failed, " + ended.description() + ":\n" + ended.errors);
  return environment_in(ended.output);
}

}  // namespace msg_consumer::conformance
