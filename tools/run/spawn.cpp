// SPDX-License-Identifier: Apache-2.0
#include "run/spawn.hpp"

#include <fcntl.h>
#include <linux/close_range.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <exception>

#include "run/descriptor.hpp"
#include "run/failure.hpp"

namespace msg_consumer_run {
namespace {

int guarded(const std::function<int()>& body) {
  try {
    return body();
  } catch (const std::exception& error) {
    say(error.what());
    return EXIT_OWN_FAILURE;
  }
}

}  // namespace

pid_t spawn(const std::function<int()>& body) {
  // What stands in the buffers would come out twice.
  static_cast<void>(std::fflush(nullptr));
  const pid_t child = fork();
  if (child < 0) throw Failure(std::string("cannot start a process: ") + std::strerror(errno));
  if (child == 0) _exit(guarded(body));
  return child;
}

int become(const std::vector<std::string>& arguments) {
  std::vector<std::string> texts = arguments;
  std::vector<char*> pointers;
  pointers.reserve(texts.size() + 1);
  for (std::string& text : texts) pointers.push_back(text.data());
  pointers.push_back(nullptr);
  execvp(pointers.front(), pointers.data());
  const int reason = errno;
  say("cannot run '" + arguments.front() + "': " + std::strerror(reason));
  return reason == ENOENT ? EXIT_NOT_FOUND : EXIT_NOT_RUNNABLE;
}

void die_with(pid_t parent) {
  static_cast<void>(prctl(PR_SET_PDEATHSIG, SIGKILL));
  // It may have died before.
  if (getppid() != parent) _exit(EXIT_OWN_FAILURE);
}

void detach(int standard_output, int standard_error) {
  const Descriptor nothing(open("/dev/null", O_RDONLY | O_CLOEXEC));
  static_cast<void>(dup2(nothing.get(), STDIN_FILENO));
  static_cast<void>(dup2(standard_output, STDOUT_FILENO));
  static_cast<void>(dup2(standard_error, STDERR_FILENO));
  static_cast<void>(close_range(STDERR_FILENO + 1, ~0U, CLOSE_RANGE_CLOEXEC));
}

int exit_status_of(int wait_status) {
  return WIFSIGNALED(wait_status) ? EXIT_SIGNAL_BASE + WTERMSIG(wait_status) : WEXITSTATUS(wait_status);
}

std::string words_of_end(int wait_status) {
  if (WIFSIGNALED(wait_status)) return "killed by signal " + std::to_string(WTERMSIG(wait_status));
  return "exit status " + std::to_string(WEXITSTATUS(wait_status));
}

}  // namespace msg_consumer_run
