// SPDX-License-Identifier: Apache-2.0
#include "run/bed.hpp"

#include <sys/random.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <cerrno>
#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <optional>

#include "run/bus-configuration.hpp"
#include "run/failure.hpp"
#include "run/store-copy.hpp"

namespace msg_consumer_run {
namespace {

namespace fs = std::filesystem;

constexpr mode_t folder_mode = 0700;

fs::path temporary_folder() try {
  return fs::absolute(fs::temp_directory_path());
} catch (const fs::filesystem_error& error) {
  throw Failure(std::string("there is no folder for temporary files: ") + error.what());
}

// So many names that nobody else has this one.
std::string unused_name() {
  std::uint64_t number = 0;
  if (getrandom(&number, sizeof number, 0) != sizeof number) throw Failure("there are no random numbers");
  std::string name(sizeof number * 2 + 1, '\0');
  name.resize(static_cast<std::size_t>(std::snprintf(name.data(), name.size(), "%016" PRIx64, number)));
  return "msg-consumer-test-bed-" + name;
}

void make_folder(const fs::path& folder) {
  if (mkdir(folder.c_str(), folder_mode) != 0) {
    throw Failure("cannot make the folder '" + folder.string() + "': " + std::strerror(errno));
  }
}

void write(const fs::path& path, const std::string& content) {
  std::ofstream file(path);
  if (!(file << content << std::flush)) {
    throw Failure("cannot write '" + path.string() + "': " + std::strerror(errno));
  }
}

void set(const char* name, const std::optional<std::string>& value) {
  if (value) {
    static_cast<void>(setenv(name, value->c_str(), 1));
  } else {
    static_cast<void>(unsetenv(name));
  }
}

// Attachments keep their modes, and a folder without the right to write would keep what is in it.
void make_removable(const fs::path& folder) {
  std::error_code ignored;
  for (auto entry = fs::recursive_directory_iterator(folder, ignored); entry != fs::recursive_directory_iterator();
       entry.increment(ignored)) {
    if (entry->is_directory(ignored) && !entry->is_symlink(ignored)) {
      fs::permissions(entry->path(), fs::perms::owner_all, fs::perm_options::add, ignored);
    }
  }
}

}  // namespace

Bed::Bed() : _folder(temporary_folder() / unused_name()) {
  if (socket().size() >= sizeof sockaddr_un{}.sun_path) {
    throw Failure("the name of the folder for temporary files is too long for a socket in it: set TMPDIR to another");
  }
}

void Bed::make(const Options& options, const std::string& emulator) const {
  make_folder(_folder);
  make_folder(file("services"));
  if (options.exchange) make_folder(file("exchange"));
  write(bus_configuration(), msg_consumer_run::bus_configuration(bus_address(socket()), file("services")));
  write(file("services") + "/" + service_name + ".service", activation_file(emulator));
  if (!options.store.empty()) copy_store(options.store, file("messages.db"));
  if (!options.files.empty()) copy_attachments(options.files, file("files"));
}

void Bed::enter(const Options& options) const {
  const std::string address = bus_address(socket());
  set("DBUS_SYSTEM_BUS_ADDRESS", address);
  set("DBUS_SESSION_BUS_ADDRESS", address);
  // Left by a bus that started this tool, they name that one.
  for (const char* name : {"DBUS_STARTER_ADDRESS", "DBUS_STARTER_BUS_TYPE", "DBUS_SESSION_BUS_PID"}) set(name, {});
  set("MSG_CONSUMER_DB", file("messages.db"));
  set("MSG_CONSUMER_FILES", file("files"));
  set("MSG_CONSUMER_PREFERENCES", file("preferences.ini"));
  set("MSG_CONSUMER_EXCHANGE", options.exchange ? std::optional(file("exchange")) : std::nullopt);
  set("MSG_CONSUMER_TEST_BED", _folder.string());
}

void Bed::remove(bool keep) const noexcept try {
  if (keep) {
    for (const std::string& path : {socket(), bus_configuration(), file("services")}) fs::remove_all(path);
    say("kept " + _folder.string());
    return;
  }
  make_removable(_folder);
  fs::remove_all(_folder);
} catch (const std::exception& error) {
  say(std::string("cannot clean up: ") + error.what());
}

}  // namespace msg_consumer_run
