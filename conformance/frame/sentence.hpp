// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_CONFORMANCE_FRAME_SENTENCE_HPP
#define MSG_CONSUMER_CONFORMANCE_FRAME_SENTENCE_HPP

// The frame of the two programs that hold sentences about a library. Each sentence is looked into in a process of its
// own, so that one that crashes, hangs or changes the library's state leaves the others alone.

#include <cstddef>
#include <functional>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace msg_consumer::conformance {

using Json = nlohmann::json;

/// A value as it is shown to the reader: on one line, whatever bytes its texts hold.
std::string shown(const Json& value);

/// What looking into one sentence brings to light. Each finding is in the report at once: a crash does not take it
/// away.
class Findings {
 public:
  /// What the caller of the kit has said about the device: an application to launch, where the log is to be seen.
  using Options = std::map<std::string, std::string>;

  Findings(std::string report, Options options) : _report(std::move(report)), _options(std::move(options)) {}

  /// Takes down `what` unless it `holds`; returns whether it does.
  bool expect(bool holds, const std::string& what);

  /// Takes down where `seen` differs from `expected`: of objects, the members that do.
  bool equal(const std::string& what, const Json& expected, const Json& seen);

  /// Says that the sentence cannot be looked into here.
  void skip(const std::string& reason);

  /// Says that the end was reached.
  void finish();

  [[nodiscard]] std::optional<std::string> option(const std::string& name) const;

 private:
  void write(const char* kind, const std::string& text);

  std::string _report;
  Options _options;
};

/// Something that every library of the name must do.
struct Sentence {
  std::string group;
  std::string text;
  std::string state;  ///< what the library's data must be before, empty when it does not matter
  std::function<void(Findings&)> body;
  bool changes_state = false;
};

using Sentences = std::vector<Sentence>;

/// All that one of the programs knows.
struct Program {
  Sentences sentences;
  std::function<Json(const std::string& state)> fixture;  ///< the data of a state
};

/// The program's main(): answers --list, --fixture STATE, and --run NUMBER REPORT [NAME=VALUE...].
int answer(int argc, char** argv, const Program& program);

/// Puts the sentences of several tables together.
Sentences joined(std::vector<Sentences> tables);

/// Runs `body` in a fork of this process; what it returns, or minus the signal that ended it.
int in_fork(const std::function<int()>& body);

/// How many files this process has open.
std::size_t open_files();

}  // namespace msg_consumer::conformance

#endif
