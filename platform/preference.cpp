// SPDX-License-Identifier: Apache-2.0
#include <fcntl.h>
#include <glib.h>
#include <msg-consumer-platform/preference.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <msg-consumer-platform/releaser.hpp>
#include <new>
#include <string>
#include <string_view>
#include <thread>
#include <utility>

namespace {

using msg_consumer::Owned;

using File = Owned<std::FILE, std::fclose>;
using KeyFile = Owned<GKeyFile, g_key_file_unref>;

constexpr const char* group = "preferences";
constexpr mode_t shared_mode = 0660;
constexpr std::size_t size_limit = std::size_t{64} * 1024;
constexpr std::chrono::seconds lock_patience{2};
constexpr std::chrono::milliseconds lock_interval{1};

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
  return path != nullptr && *path != '\0' ? path : "/var/lib/msg-consumer-preferences/preferences.ini";
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

  /// A stream that closes the descriptor; empty when there is no descriptor.
  File into_stream(const char* mode) && {
    File stream(valid() ? fdopen(_fd, mode) : nullptr);
    if (stream) {
      _fd = -1;
    }
    return stream;
  }

 private:
  int _fd;
};

// Opens a file that all members of the group use. Each of them can put anything in its place: a link's target is not
// ours to touch, and a FIFO would have us wait for its other end.
FileDescriptor open_shared(const std::string& path, int flags) {
  constexpr int safe_flags = O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY;
  FileDescriptor file(open(path.c_str(), flags | safe_flags, shared_mode));
  struct stat status {};
  if (file.valid() && (fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode))) {
    errno = EINVAL;
    return FileDescriptor(-1);
  }
  return file;
}

// A file that is missing reads like an empty one.
int read_content(const std::string& path, std::string& content) {
  content.clear();
  const File file = open_shared(path, 0).into_stream("r");
  if (!file) {
    return errno == ENOENT ? PREFERENCE_OK : PREFERENCE_UNREADABLE_FILE;
  }
  content.resize(size_limit + 1);
  content.resize(std::fread(content.data(), 1, content.size(), file.get()));
  return std::ferror(file.get()) == 0 && content.size() <= size_limit ? PREFERENCE_OK : PREFERENCE_UNREADABLE_FILE;
}

int load(const std::string& path, KeyFile& file) {
  file.reset(g_key_file_new());
  std::string content;
  const int status = read_content(path, content);
  if (status != PREFERENCE_OK) {
    return status;
  }
  constexpr auto flags = static_cast<GKeyFileFlags>(G_KEY_FILE_KEEP_COMMENTS | G_KEY_FILE_KEEP_TRANSLATIONS);
  const bool loaded = g_key_file_load_from_data(file.get(), content.data(), content.size(), flags, nullptr) != FALSE;
  return loaded ? PREFERENCE_OK : PREFERENCE_MALFORMED_FILE;
}

// Reads one value with `get`, GKeyFile's reader of its type. The callers may be C: no exception reaches them.
template <auto get, typename T>
int read_value(const char* key, Type type, T* value) try {
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
} catch (const std::bad_alloc&) {
  return PREFERENCE_OUT_OF_MEMORY;
}

// The creator's umask must not shut the rest of the group out; who did not create the file cannot change it.
void share_with_group(const FileDescriptor& file) {
  struct stat status {};
  if (fstat(file.get(), &status) == 0 && status.st_nlink == 1 && status.st_uid == geteuid() &&
      (status.st_mode & 0777U) != shared_mode) {
    fchmod(file.get(), shared_mode);
  }
}

// Every member of the group can hold the lock for as long as it likes, so the wait has an end; flock() knows none.
int wait_for_lock(const FileDescriptor& file) {
  const auto deadline = std::chrono::steady_clock::now() + lock_patience;
  while (flock(file.get(), LOCK_EX | LOCK_NB) != 0) {
    if (errno != EWOULDBLOCK && errno != EINTR) {
      return PREFERENCE_NOT_WRITTEN;
    }
    if (std::chrono::steady_clock::now() >= deadline) {
      return PREFERENCE_BUSY;
    }
    std::this_thread::sleep_for(lock_interval);
  }
  return PREFERENCE_OK;
}

bool write_durably(FileDescriptor file, std::string_view data) {
  const File stream = std::move(file).into_stream("w");
  return stream && fchmod(fileno(stream.get()), shared_mode) == 0 &&
         std::fwrite(data.data(), 1, data.size(), stream.get()) == data.size() && std::fflush(stream.get()) == 0 &&
         fsync(fileno(stream.get())) == 0;
}

bool sync_folder_of(const std::string& path) {
  const Owned<char, g_free> folder_path(g_path_get_dirname(path.c_str()));
  const FileDescriptor folder(open(folder_path.get(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  return folder.valid() && fsync(folder.get()) == 0;
}

// g_file_set_contents_full() leaves the mode to the umask: the group would be shut out until the mode is mended, and
// for good if we are killed in between.
int save(const std::string& path, GKeyFile* file) {
  gsize length = 0;
  const Owned<char, g_free> data(g_key_file_to_data(file, &length, nullptr));
  if (length > size_limit) {
    return PREFERENCE_NOT_WRITTEN;
  }
  std::string name = path + ".XXXXXX";
  FileDescriptor replacement(mkostemp(name.data(), O_CLOEXEC));
  if (!replacement.valid()) {
    return PREFERENCE_NOT_WRITTEN;
  }
  if (!write_durably(std::move(replacement), {data.get(), length}) || std::rename(name.c_str(), path.c_str()) != 0) {
    unlink(name.c_str());
    return PREFERENCE_NOT_WRITTEN;
  }
  return sync_folder_of(path) ? PREFERENCE_OK : PREFERENCE_NOT_WRITTEN;
}

}  // namespace

int preference_get_int(const char* key, int* value) {
  return read_value<g_key_file_get_integer>(key, Type::Integer, value);
}

int preference_get_boolean(const char* key, bool* value) {
  return read_value<g_key_file_get_boolean>(key, Type::Boolean, value);
}

int preference_set_int(const char* key, int value) try {
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
  share_with_group(lock);
  status = wait_for_lock(lock);
  if (status != PREFERENCE_OK) {
    return status;
  }
  KeyFile file;
  status = load(path, file);
  if (status != PREFERENCE_OK) {
    return status;
  }
  g_key_file_set_integer(file.get(), group, key, value);
  return save(path, file.get());
} catch (const std::bad_alloc&) {
  return PREFERENCE_OUT_OF_MEMORY;
}
