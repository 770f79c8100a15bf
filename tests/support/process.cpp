// SPDX-License-Identifier: Apache-2.0
#include "support/process.hpp"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <system_error>

namespace msg_consumer::test {

namespace {

constexpr int exit_not_started = 127;

void redirect(int target, const std::string& path) {
  const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
  dup2(fd, target);
  close(fd);
}

std::vector<char*> c_strings(std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  pointers.reserve(texts.size() + 1);
  for (std::string& text : texts) {
    pointers.push_back(text.data());
  }
  pointers.push_back(nullptr);
  return pointers;
}

// This process's environment with the changes made to it, as "name=value" texts.
std::vector<std::string> changed_environment(const Process::Environment& changes) {
  std::vector<std::string> result;
  for (char** entry = environ; *entry != nullptr; ++entry) {
    const std::string text(*entry);
    if (!changes.contains(text.substr(0, text.find('=')))) {
      result.push_back(text);
    }
  }
  for (const auto& [name, value] : changes) {
    if (value) {
      result.push_back(name + "=" + *value);
    }
  }
  return result;
}

}  // namespace

Process::Process(const std::vector<std::string>& arguments, const Environment& environment) {
  // Made before the fork: the child of a process with threads may not allocate.
  std::vector<std::string> argument_texts = arguments;
  std::vector<std::string> environment_texts = changed_environment(environment);
  const std::vector<char*> argv = c_strings(argument_texts);
  const std::vector<char*> envp = c_strings(environment_texts);
  start([&argv, &envp] {
    execvpe(argv.front(), argv.data(), envp.data());
    return exit_not_started;
  });
}

Process::Process(const std::function<int()>& body) { start(body); }

void Process::start(const std::function<int()>& body) {
  const std::string out = _folder.file("stdout");
  const std::string err = _folder.file("stderr");
  const pid_t parent = getpid();
  _pid = fork();
  if (_pid < 0) {
    throw std::system_error(errno, std::generic_category(), "fork");
  }
  if (_pid > 0) {
    return;
  }
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (getppid() != parent) {
    _exit(exit_not_started);
  }
  redirect(STDOUT_FILENO, out);
  redirect(STDERR_FILENO, err);
  _exit(body());
}

Process::~Process() {
  if (!running()) {
    return;
  }
  signal(SIGKILL);
  wait();
}

bool Process::running() {
  if (_status) {
    return false;
  }
  int raw = 0;
  const pid_t ended = waitpid(_pid, &raw, WNOHANG);
  if (ended == _pid) {
    _status = WIFSIGNALED(raw) ? -WTERMSIG(raw) : WEXITSTATUS(raw);
  }
  return !_status;
}

void Process::signal(int number) {
  if (running()) {
    kill(_pid, number);
  }
}

std::optional<ExitStatus> Process::wait(std::chrono::milliseconds timeout) {
  wait_until([this] { return !running(); }, timeout);
  return _status;
}

std::string Process::standard_output() const { return read_file(_folder.path() / "stdout"); }

std::string Process::standard_error() const { return read_file(_folder.path() / "stderr"); }

}  // namespace msg_consumer::test
