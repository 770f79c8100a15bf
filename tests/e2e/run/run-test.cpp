// SPDX-License-Identifier: Apache-2.0
#include "run-test.hpp"

#include <unistd.h>

#include <algorithm>
#include <filesystem>

#include "support/wait-until.hpp"

namespace msg_consumer::test {
namespace {

namespace fs = std::filesystem;

bool is_number(const std::string& text) {
  return !text.empty() && std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

std::string name_of(pid_t process) { return read_file("/proc/" + std::to_string(process) + "/comm"); }

}  // namespace

std::unique_ptr<Process> Run::start(Arguments arguments, const Process::Environment& environment) {
  arguments.insert(arguments.begin(), RUN_PATH);
  return std::make_unique<Process>(arguments, environment);
}

Outcome Run::outcome_of(Process& process) {
  const auto status = process.wait();
  if (!status) ADD_FAILURE() << "msg-consumer-run does not end";
  return {status.value_or(-1), process.standard_output(), process.standard_error()};
}

// The test itself got the variable only after its start, so that its environment here does not have it. A zombie has
// no environment.
std::vector<pid_t> Run::alive() const {
  std::vector<pid_t> found;
  const std::string mark = '\0' + ("RUN_TEST_MARK=" + _temporary.path().string()) + '\0';
  for (const fs::directory_entry& entry : fs::directory_iterator("/proc")) {
    const std::string name = entry.path().filename();
    if (is_number(name) && ('\0' + read_file(entry.path() / "environ")).find(mark) != std::string::npos) {
      found.push_back(std::stoi(name));
    }
  }
  return found;
}

pid_t Run::find(std::string_view name) const {
  pid_t found = 0;
  const bool there = wait_until([&] {
    const std::vector<pid_t> all = alive();
    const auto match = std::find_if(all.begin(), all.end(), [&](pid_t p) { return name_of(p).starts_with(name); });
    found = match == all.end() ? 0 : *match;
    return found != 0;
  });
  EXPECT_TRUE(there) << "there is no " << name;
  return found;
}

testing::AssertionResult Run::nothing_is_left() const {
  if (wait_until([this] { return alive().empty() && temporary_files().empty(); })) return testing::AssertionSuccess();
  testing::AssertionResult result = testing::AssertionFailure();
  for (const pid_t process : alive()) result << "process " << process << " " << name_of(process);
  for (const std::string& file : temporary_files()) result << "file " << file << "\n";
  return result;
}

// Those of the test's own processes are not msg-consumer-run's.
std::vector<std::string> Run::temporary_files() const {
  std::vector<std::string> files;
  for (const fs::directory_entry& entry : fs::directory_iterator(_temporary.path())) {
    const std::string name = entry.path().filename();
    if (name.starts_with("msg-consumer-test-bed-")) files.push_back(name);
  }
  return files;
}

bool Run::has_said(Process& process, std::string_view text) {
  return wait_until([&] { return process.standard_output().find(text) != std::string::npos || !process.running(); });
}

}  // namespace msg_consumer::test
