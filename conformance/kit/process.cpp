// SPDX-License-Identifier: Apache-2.0
#include "kit/process.hpp"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <ctime>
#include <fstream>
#include <optional>
#include <sstream>
#include <system_error>

namespace msg_consumer::conformance {
namespace {

using Clock = std::chrono::steady_clock;

constexpr int NOT_STARTED = 127;

/// Blocks the signal that tells of a child's end, so that it can be waited for with a limit.
class BlockedSignal {
 public:
  BlockedSignal() {
    sigemptyset(&_blocked);
    sigaddset(&_blocked, SIGCHLD);
    sigprocmask(SIG_BLOCK, &_blocked, &_before);
  }
  BlockedSignal(const BlockedSignal&) = delete;
  BlockedSignal& operator=(const BlockedSignal&) = delete;
  ~BlockedSignal() { restore(); }

  void restore() const { sigprocmask(SIG_SETMASK, &_before, nullptr); }

  void wait(Clock::duration limit) const {
    const auto nanoseconds = std::chrono::duration_cast<std::chrono::nanoseconds>(limit).count();
    constexpr long BILLION = 1'000'000'000;
    const timespec time = {static_cast<time_t>(nanoseconds / BILLION), static_cast<long>(nanoseconds % BILLION)};
    sigtimedwait(&_blocked, nullptr, &time);
  }

 private:
  sigset_t _blocked{};
  sigset_t _before{};
};

std::vector<char*> c_strings(std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  pointers.reserve(texts.size() + 1);
  for (auto& text : texts) pointers.push_back(text.data());
  pointers.push_back(nullptr);
  return pointers;
}

std::vector<std::string> whole_environment(const Environment& changes) {
  std::vector<std::string> result;
  for (char** entry = environ; *entry != nullptr; ++entry) {
    const std::string text = *entry;
    if (!changes.contains(text.substr(0, text.find('=')))) result.push_back(text);
  }
  for (const auto& [name, value] : changes) result.emplace_back(name).append("=").append(value);
  return result;
}

void redirect(int target, const std::string& path, int flags) {
  const int file = open(path.c_str(), flags | O_CLOEXEC, 0600);
  if (file < 0 || dup2(file, target) < 0) _exit(NOT_STARTED);
  close(file);
}

/// Starts the program, in a process group of its own.
pid_t start(const Command& command, const BlockedSignal& signal) {
  auto arguments = command.arguments;
  auto environment = whole_environment(command.environment);
  const auto argv = c_strings(arguments);
  const auto envp = c_strings(environment);
  const std::string out = command.folder / "stdout";
  const std::string err = command.folder / "stderr";
  const pid_t child = fork();
  if (child < 0) throw std::system_error(errno, std::generic_category(), "fork");
  if (child > 0) return child;
  setpgid(0, 0);
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  constexpr rlimit no_core = {0, 0};
  setrlimit(RLIMIT_CORE, &no_core);
  redirect(STDIN_FILENO, "/dev/null", O_RDONLY);
  redirect(STDOUT_FILENO, out, O_WRONLY | O_CREAT | O_TRUNC);
  redirect(STDERR_FILENO, err, O_WRONLY | O_CREAT | O_TRUNC);
  if (chdir(command.folder.c_str()) != 0) _exit(NOT_STARTED);
  signal.restore();
  execvpe(argv.front(), argv.data(), envp.data());
  dprintf(STDERR_FILENO, "%s: %s\n", argv.front(), std::strerror(errno));
  _exit(NOT_STARTED);
}

/// The status with which the child ended; none when the time was over before.
std::optional<int> wait_for(pid_t child, Clock::time_point deadline, const BlockedSignal& signal) {
  int status = 0;
  while (waitpid(child, &status, WNOHANG) == 0) {
    const auto left = deadline - Clock::now();
    if (left <= Clock::duration::zero()) return std::nullopt;
    signal.wait(left);
  }
  return status;
}

std::string content_of(const std::filesystem::path& path) {
  std::ifstream file(path);
  std::ostringstream content;
  content << file.rdbuf();
  return content.str();
}

}  // namespace

std::string Ended::description() const {
  switch (how) {
    case How::TimedOut:
      return "it did not end in time";
    case How::Killed:
      return "it crashed by SIG" + std::string(sigabbrev_np(number) != nullptr ? sigabbrev_np(number) : "?");
    case How::Exited:
      break;
  }
  return "it exited with status " + std::to_string(number);
}

Ended run(const Command& command) {
  const BlockedSignal signal;
  const pid_t child = start(command, signal);
  auto status = wait_for(child, Clock::now() + command.time_limit, signal);
  // Also what the program has left behind.
  kill(-child, SIGKILL);
  Ended ended{Ended::How::TimedOut, 0, "", ""};
  if (!status) {
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
  } else if (WIFSIGNALED(*status)) {
    ended.how = Ended::How::Killed;
    ended.number = WTERMSIG(*status);
  } else {
    ended.how = Ended::How::Exited;
    ended.number = WEXITSTATUS(*status);
  }
  ended.output = content_of(command.folder / "stdout");
  ended.errors = content_of(command.folder / "stderr");
  return ended;
}

}  // namespace msg_consumer::conformance
