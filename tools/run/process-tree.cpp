// SPDX-License-Identifier: Apache-2.0
#include "run/process-tree.hpp"

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "run/failure.hpp"

namespace msg_consumer_run {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds pause(2);
constexpr std::chrono::seconds death_patience(5);

std::optional<pid_t> process_of(const std::string& folder) {
  pid_t process = 0;
  const char* const end = folder.data() + folder.size();
  const auto [stop, error] = std::from_chars(folder.data(), end, process);
  return error == std::errc() && stop == end ? std::optional(process) : std::nullopt;
}

// None for a process that has ended, and for a zombie.
std::optional<pid_t> parent_of(const fs::path& folder) {
  std::ifstream file(folder / "stat");
  std::string line;
  std::getline(file, line);
  // "PID (NAME) STATE PARENT …", where the name may hold anything.
  const std::size_t name_end = line.rfind(") ");
  if (name_end == std::string::npos) return std::nullopt;
  const char state = line[name_end + 2];
  if (state == 'Z' || state == 'X') return std::nullopt;
  return static_cast<pid_t>(std::strtol(line.c_str() + name_end + 3, nullptr, 10));
}

std::multimap<pid_t, pid_t> children_by_parent() {
  std::multimap<pid_t, pid_t> children;
  for (const fs::directory_entry& entry : fs::directory_iterator("/proc")) {
    const std::optional<pid_t> process = process_of(entry.path().filename());
    const std::optional<pid_t> parent = process ? parent_of(entry.path()) : std::nullopt;
    if (parent) children.emplace(*parent, *process);
  }
  return children;
}

std::set<pid_t> descendants_without(const std::set<pid_t>& spared) {
  const std::multimap<pid_t, pid_t> children = children_by_parent();
  std::set<pid_t> found;
  std::vector<pid_t> open{getpid()};
  while (!open.empty()) {
    const auto [begin, end] = children.equal_range(open.back());
    open.pop_back();
    for (auto child = begin; child != end; ++child) {
      if (!spared.contains(child->second) && found.insert(child->second).second) open.push_back(child->second);
    }
  }
  return found;
}

void reap() {
  while (waitpid(-1, nullptr, WNOHANG) > 0) {
  }
}

void signal_all(const std::set<pid_t>& processes, int signal) {
  for (const pid_t process : processes) static_cast<void>(kill(process, signal));
}

// Whether all came to their end in time; `nudge` gets those that have not.
template <typename Nudge>
bool wait_for_end(const std::set<pid_t>& spared, std::chrono::milliseconds patience, const Nudge& nudge) {
  const auto deadline = Clock::now() + patience;
  for (;;) {
    reap();
    const std::set<pid_t> left = descendants_without(spared);
    if (left.empty()) return true;
    if (Clock::now() >= deadline) return false;
    nudge(left);
    std::this_thread::sleep_for(pause);
  }
}

}  // namespace

std::set<pid_t> descendants() { return descendants_without({}); }

void end_descendants(const std::set<pid_t>& spared, std::chrono::milliseconds patience) {
  const std::set<pid_t> asked = descendants_without(spared);
  signal_all(asked, SIGTERM);
  // A stopped process hears nothing else.
  signal_all(asked, SIGCONT);
  if (wait_for_end(spared, patience, [](const auto&) {})) return;
  // Again and again: a process may have had a child since the others were listed.
  const auto kill_all = [](const std::set<pid_t>& left) { signal_all(left, SIGKILL); };
  if (wait_for_end(spared, death_patience, kill_all)) return;
  for (const pid_t process : descendants_without(spared)) {
    say("process " + std::to_string(process) + " cannot be ended");
  }
}

}  // namespace msg_consumer_run
