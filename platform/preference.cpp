// SPDX-License-Identifier: Apache-2.0
#include <fcntl.h>
#include <glib.h>
#include <glib/gstdio.h>
#include <msg-consumer-platform/preference.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <msg-consumer-platform/releaser.hpp>
#include <string>
#include <string_view>
#include <utility>

namespace {

using msg_consumer::Owned;

using KeyFile = Owned<GKeyFile, g_key_file_unref>;

constexpr const char* group = "preferences";
constexpr mode_t shared_mode = 0660;

enum class Type { Integer, Boolean };

struct Preference {
  std::string_view key;
  Type type;
  int default_value;
};

constexpr std::array<Preference, 5> preferences{{
    {"consumer_preference_int_consumer_status", Type::Integer, 0},
    {"consumer_preference_bool_support_sending_mms", Type::Boolean, 1},
    {"consumer_preference_int_delay_noti_event", Type::Integer, 0},
    {"consumer_preference_bool_numbersync_supported", Type::Boolean, 1},
    {"consumer_preference_bool_wpc_mode", Type::Boolean, 0},
}};

std::string preference_path() {
  const char* path = secure_getenv("MSG_CONSUMER_PREFERENCES");
  return path != nullptr ? path : "/var/lib/msg-consumer-preferences/preferences.ini";
}

// Checks what every function checks first; `found` is set on success.
int find_preference(const char* key, Type type, const Preference*& found) {
  if (key == nullptr) {
    return PREFERENCE_INVALID_ARGUMENT;
  }
  const auto* position = std::find_if(preferences.begin(), preferences.end(),
                                      [key](const Preference& preference) { return preference.key == key; });
  if (position == preferences.end()) {
    return PREFERENCE_UNKNOWN_KEY;
  }
  found = position;
  return position->type == type ? PREFERENCE_OK : PREFERENCE_WRONG_TYPE;
}

// A file that is missing reads like an empty one.
int load(const std::string& path, KeyFile& file) {
  file.reset(g_key_file_new());
  constexpr auto flags = static_cast<GKeyFileFlags>(G_KEY_FILE_KEEP_COMMENTS | G_KEY_FILE_KEEP_TRANSLATIONS);
  GError* raw_error = nullptr;
  if (g_key_file_load_from_file(file.get(), path.c_str(), flags, &raw_error) != FALSE) {
    return PREFERENCE_OK;
  }
  const Owned<GError, g_error_free> error(raw_error);
  if (g_error_matches(error.get(), G_FILE_ERROR, G_FILE_ERROR_NOENT) != FALSE) {
    return PREFERENCE_OK;
  }
  return error->domain == G_KEY_FILE_ERROR ? PREFERENCE_MALFORMED_FILE : PREFERENCE_UNREADABLE_FILE;
}

// Reads one value with `get`, GKeyFile's reader of its type.
template <auto get, typename T>
int read_value(const char* key, Type type, T* value) {
  if (value == nullptr) {
    return PREFERENCE_INVALID_ARGUMENT;
  }
  const Preference* preference = nullptr;
  KeyFile file;
  int status = find_preference(key, type, preference);
  if (status == PREFERENCE_OK) {
    status = load(preference_path(), file);
  }
  if (status != PREFERENCE_OK) {
    return status;
  }
  GError* raw_error = nullptr;
  const int stored = get(file.get(), group, key, &raw_error);
  const Owned<GError, g_error_free> error(raw_error);
  const bool absent = g_error_matches(error.get(), G_KEY_FILE_ERROR, G_KEY_FILE_ERROR_KEY_NOT_FOUND) != FALSE ||
                      g_error_matches(error.get(), G_KEY_FILE_ERROR, G_KEY_FILE_ERROR_GROUP_NOT_FOUND) != FALSE;
  if (error && !absent) {
    return PREFERENCE_WRONG_TYPE;
  }
  *value = static_cast<T>(absent ? preference->default_value : stored);
  return PREFERENCE_OK;
}

class FileDescriptor {
 public:
  explicit FileDescriptor(int fd) : _fd(fd) {}
  FileDescriptor(const FileDescriptor&) = delete;
  FileDescriptor& operator=(const FileDescriptor&) = delete;
  FileDescriptor(FileDescriptor&& other) noexcept : _fd(std::exchange(other._fd, -1)) {}
  FileDescriptor& operator=(FileDescriptor&&) = delete;
  ~FileDescriptor() {
    if (valid()) {
      close(_fd);
    }
  }

  [[nodiscard]] bool valid() const { return _fd >= 0; }
  [[nodiscard]] int get() const { return _fd; }

 private:
  int _fd;
};

// Opens a file that all members of the group use. Each of them can write to the folder, so a link is not followed: its
// target is not ours to touch. The creator's umask must not shut the others out.
FileDescriptor open_shared(const std::string& path, int flags) {
  FileDescriptor file(open(path.c_str(), flags | O_RDONLY | O_CLOEXEC | O_NOFOLLOW, shared_mode));
  struct stat status {};
  if (file.valid() && fstat(file.get(), &status) == 0 && S_ISREG(status.st_mode) && status.st_nlink == 1 &&
      status.st_uid == geteuid() && (status.st_mode & 0777U) != shared_mode) {
    fchmod(file.get(), shared_mode);
  }
  return file;
}

bool lock_exclusively(const FileDescriptor& file) {
  int result = 0;
  do {
    result = flock(file.get(), LOCK_EX);
  } while (result != 0 && errno == EINTR);
  return result == 0;
}

int save(const std::string& path, GKeyFile* file) {
  gsize length = 0;
  const Owned<char, g_free> data(g_key_file_to_data(file, &length, nullptr));
  constexpr auto flags =
      static_cast<GFileSetContentsFlags>(G_FILE_SET_CONTENTS_CONSISTENT | G_FILE_SET_CONTENTS_DURABLE);
  if (g_file_set_contents_full(path.c_str(), data.get(), static_cast<gssize>(length), flags, shared_mode, nullptr) ==
      FALSE) {
    return PREFERENCE_NOT_WRITTEN;
  }
  open_shared(path, 0);
  return PREFERENCE_OK;
}

}  // namespace

int preference_get_int(const char* key, int* value) {
  return read_value<g_key_file_get_integer>(key, Type::Integer, value);
}

int preference_get_boolean(const char* key, bool* value) {
  return read_value<g_key_file_get_boolean>(key, Type::Boolean, value);
}

int preference_set_int(const char* key, int value) {
  const Preference* preference = nullptr;
  int status = find_preference(key, Type::Integer, preference);
  if (status != PREFERENCE_OK) {
    return status;
  }
  const std::string path = preference_path();
  // The lock lies beside the file, for the file itself is replaced under it.
  const FileDescriptor lock = open_shared(path + ".lock", O_CREAT);
  if (!lock.valid()) {
    return errno == ENOENT || errno == ENOTDIR ? PREFERENCE_NO_FOLDER : PREFERENCE_NOT_WRITTEN;
  }
  if (!lock_exclusively(lock)) {
    return PREFERENCE_NOT_WRITTEN;
  }
  KeyFile file;
  status = load(path, file);
  if (status != PREFERENCE_OK) {
    return status;
  }
  g_key_file_set_integer(file.get(), group, key, value);
  return save(path, file.get());
}
