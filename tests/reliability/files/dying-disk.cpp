// SPDX-License-Identifier: Apache-2.0
#include "dying-disk.hpp"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <optional>
#include <set>
#include <system_error>

#include "support/temp-dir.hpp"

namespace msg_consumer::test {
namespace {

std::string path_of(int descriptor) { return "/proc/self/fd/" + std::to_string(descriptor); }

struct stat status_of(const std::string& path) {
  struct stat status {};
  if (stat(path.c_str(), &status) != 0) throw std::system_error(errno, std::generic_category(), path);
  return status;
}

bool toss(std::mt19937& random) { return random() % 2 == 0; }

/// A file's bytes when some of its sectors have reached the disk.
std::string torn(const std::string& before, const std::string& after, std::mt19937& random) {
  if (before == after) return before;
  const std::size_t sector = toss(random) ? 512 : 4096;
  std::string bytes(toss(random) ? before.size() : after.size(), '\0');
  for (std::size_t offset = 0; offset < bytes.size(); offset += sector) {
    const std::string& source = toss(random) ? before : after;
    if (offset < source.size()) {
      const std::size_t length = std::min({sector, source.size() - offset, bytes.size() - offset});
      bytes.replace(offset, length, source, offset, length);
    }
  }
  return bytes;
}

}  // namespace

DyingDisk::DyingDisk(std::filesystem::path folder) : _folder(std::move(folder)) {
  _names[status_of(_folder).st_ino] = {};
}

// A folder that was removed meanwhile has no names.
DyingDisk::Names DyingDisk::names_in(const std::filesystem::path& folder) {
  Names names;
  std::error_code error;
  for (std::filesystem::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
    names[entry->path().filename()] = status_of(entry->path()).st_ino;
  }
  return names;
}

void DyingDisk::keep_open(const std::string& path) {
  const ino_t file = status_of(path).st_ino;
  if (!_open.contains(file)) {
    _open.emplace(file, service::FileDescriptor(open(path.c_str(), O_RDONLY | O_CLOEXEC)));
  }
}

void DyingDisk::note_sync(int descriptor) {
  const std::string path = test::path_of(descriptor);
  const struct stat status = status_of(path);
  keep_open(path);
  if (!S_ISDIR(status.st_mode)) {
    _bytes[status.st_ino] = read_file(path);
    return;
  }
  _names[status.st_ino] = names_in(path);
  for (const auto& [name, file] : _names[status.st_ino]) keep_open(path + "/" + name);
}

void DyingDisk::leave(const std::filesystem::path& target, std::mt19937& random) const {
  leave_folder(_folder, status_of(_folder).st_ino, target, random);
}

std::string DyingDisk::path_of(ino_t file, const std::string& now) const {
  const auto found = _open.find(file);
  return found != _open.end() ? test::path_of(found->second.get()) : now;
}

void DyingDisk::leave_folder(const std::string& now, ino_t folder, const std::filesystem::path& target,
                             std::mt19937& random) const {
  std::filesystem::create_directory(target);
  const auto known = _names.find(folder);
  const Names before = known != _names.end() ? known->second : Names();
  const Names after = names_in(now);
  std::set<std::string> names;
  for (const auto* half : {&before, &after}) {
    for (const auto& [name, file] : *half) names.insert(name);
  }
  for (const std::string& name : names) {
    const Names& source = toss(random) ? before : after;
    const auto found = source.find(name);
    if (found == source.end()) continue;
    const std::string path = path_of(found->second, now + "/" + name);
    const bool is_folder = S_ISDIR(status_of(path).st_mode);
    is_folder ? leave_folder(path, found->second, target / name, random)
              : leave_file(path, found->second, target / name, random);
  }
}

void DyingDisk::leave_file(const std::string& now, ino_t file, const std::filesystem::path& target,
                           std::mt19937& random) const {
  if (target.filename().string().ends_with("-shm") && toss(random)) return;
  const auto known = _bytes.find(file);
  write_file(target, torn(known != _bytes.end() ? known->second : "", read_file(now), random));
}

}  // namespace msg_consumer::test
