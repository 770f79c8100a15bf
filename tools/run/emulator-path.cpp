// SPDX-License-Identifier: Apache-2.0
#include "run/emulator-path.hpp"

#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "run/failure.hpp"

namespace msg_consumer_run {
namespace {

namespace fs = std::filesystem;

constexpr const char* name = "msg-consumer-emulator";

bool is_program(const fs::path& path) { return fs::is_regular_file(path) && access(path.c_str(), X_OK) == 0; }

std::string named_by_user(const std::string& path) {
  if (!is_program(path)) throw Failure("MSG_CONSUMER_EMULATOR names no program: '" + path + "'");
  // The bus, which starts it again, asks for an absolute path.
  return fs::absolute(path).string();
}

}  // namespace

std::string emulator_path() {
  if (const char* path = std::getenv("MSG_CONSUMER_EMULATOR"); path != nullptr && *path != '\0') {
    return named_by_user(path);
  }
  const fs::path here = fs::read_symlink("/proc/self/exe").parent_path();
  // Where it is installed, then where it is built.
  for (const char* folder : {MSG_CONSUMER_RUN_LIBEXEC, ".", "../../service/emulator", "../../service"}) {
    const fs::path path = (here / folder / name).lexically_normal();
    if (is_program(path)) return path.string();
  }
  throw Failure("cannot find " + std::string(name) + "; MSG_CONSUMER_EMULATOR may name it");
}

}  // namespace msg_consumer_run
