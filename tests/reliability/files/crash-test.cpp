// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <functional>
#include <optional>
#include <vector>

#include "dying-disk.hpp"
#include "file-faults.hpp"
#include "reliability/whole/service-on-disk.hpp"
#include "reliability/whole/store-check.hpp"
#include "support/environment.hpp"
#include "support/figures.hpp"
#include "support/temp-dir.hpp"

namespace msg_consumer::test {
namespace {

/// How often the whole story is told, each time with other crashes.
int number_of_seeds() {
  const char* text = std::getenv("MSG_CONSUMER_CRASH_SEEDS");
  return text != nullptr ? std::atoi(text) : 1;
}

/// What a file holds follows from its name.
std::string bytes_of(const std::string& name) {
  const std::size_t size = 10 + std::hash<std::string>()(name) % 9000;
  std::string bytes;
  while (bytes.size() < size) bytes += name;
  return bytes;
}

/// A device with its service, from the first start on.
class Device {
 public:
  using Step = std::function<void(Device&)>;

  explicit Device(std::filesystem::path folder) : _folder(std::move(folder)) {
    std::filesystem::remove_all(_folder);
    std::filesystem::create_directory(_folder);
  }

  void start() { _service.emplace(_folder); }
  void stop() { _service.reset(); }
  bool is_running() const { return _service.has_value(); }
  ServiceOnDisk& service() { return *_service; }
  std::string file(const std::string& name) const {
    const std::string path = _sources.file(name);
    write_file(path, bytes_of(name));
    return path;
  }
  void checkpoint(int mode) {
    sqlite3_wal_checkpoint_v2(service().store().database(), nullptr, mode, nullptr, nullptr);
  }
  std::string content() { return content_of(service().store().database()); }

 private:
  std::filesystem::path _folder;
  TempDir _sources;
  std::optional<ServiceOnDisk> _service;
};

// Each step is one change at most.
std::vector<Device::Step> story() {
  std::vector<Device::Step> steps = {[](Device& device) { device.start(); }};
  const auto add = [&](const Device::Step& step) { steps.push_back(step); };
  for (int round = 0; round < 3; ++round) {
    const std::string name = "file-" + std::to_string(round);
    add([=](Device& device) { device.service().send("+49170", "text " + name); });
    add([=](Device& device) {
      device.service().send_with_files("+49171", "text", device.file(name) + ";" + device.file(name + "-b"));
    });
    add([=](Device& device) { device.service().receive("+49172", std::string(6000, 'r')); });
    add([=](Device& device) { device.service().draft("+49173", "draft", device.file(name + "-c")); });
    add([=](Device& device) {
      const int draft = device.service().store().messages().next_id() - 1;
      device.service().commands().send_content_file(draft, device.file(name + "-d"));
    });
    if (round == 1) add([](Device& device) { device.checkpoint(SQLITE_CHECKPOINT_PASSIVE); });
    add([=](Device& device) { device.service().commands().read_thread(3); });
    add([=](Device& device) { device.service().commands().delete_message((4 * round) + 1, 0); });
    add([=](Device& device) { device.service().commands().delete_message((4 * round) + 2, 0); });
    if (round == 0) add([](Device& device) { device.checkpoint(SQLITE_CHECKPOINT_TRUNCATE); });
    if (round == 1) {
      add([](Device& device) { device.stop(); });
      add([](Device& device) { device.start(); });
    }
  }
  add([](Device& device) { device.service().send("+49170", "the last"); });
  add([](Device& device) { device.service().commands().delete_threads({2, 3}); });
  add([](Device& device) { device.stop(); });
  return steps;
}

class Crash : public testing::Test {
 protected:
  /// Tells the story without a crash, and keeps what the store holds after each step.
  void rehearse() {
    {
      const TempDir empty;
      ServiceOnDisk fresh(empty.path());
      _contents.push_back(content_of(fresh.store().database()));
    }
    Device device(_place);
    for (const Device::Step& step : _story) {
      step(device);
      _contents.push_back(device.is_running() ? device.content() : _contents.back());
    }
  }

  /// Tells the story again, and looks now and then at what a death of the machine would leave.
  void perform(unsigned seed) {
    std::mt19937 random(seed);
    Device device(_place);
    DyingDisk disk(_place);
    bool is_looking = false;
    std::size_t number = 0;
    const auto look = [&] {
      // More often at the first start: what it leaves is what all starts after it find.
      if (is_looking || random() % (number > 0 ? 12 : 2) != 0 || HasFatalFailure()) return;
      is_looking = true;
      SCOPED_TRACE("seed " + std::to_string(seed) + ", step " + std::to_string(number));
      die(disk, random, number);
      is_looking = false;
    };
    _files.on_change = look;
    _files.on_sync = [&](int descriptor) {
      if (is_looking) return;
      look();
      disk.note_sync(descriptor);
    };
    for (; number < _story.size(); ++number) {
      _story[number](device);
      look();
    }
    _files.on_change = nullptr;
    _files.on_sync = nullptr;
  }

  int tried = 0;
  int survived = 0;

 private:
  void die(const DyingDisk& disk, std::mt19937& random, std::size_t step) {
    ++tried;
    const TempDir left;
    disk.leave(left.path() / "left", random);
    std::optional<ServiceOnDisk> successor;
    ASSERT_NO_THROW(successor.emplace(left.path() / "left"));
    ASSERT_EQ(damage_of(*successor), "");
    const std::string content = content_of(successor->store().database());
    ASSERT_TRUE(content == _contents[step] || content == _contents[step + 1]) << content << "\nneither\n"
                                                                              << _contents[step] << "\nnor\n"
                                                                              << _contents[step + 1];
    ASSERT_EQ(wrong_files(*successor), "");
    ASSERT_EQ(successor->send("+49170", "goes on").outcome.status, service::STATUS_OK);
    ++survived;
  }

  static std::string wrong_files(ServiceOnDisk& service) {
    std::string wrong;
    schema::Statement messages(service.store().database(), "SELECT id FROM message");
    while (messages.step()) {
      const Message message = service.store().messages().get(static_cast<int>(messages.integer(0))).message;
      for (const Content& part : message.contents) {
        if (!part.str_g.empty() && read_file(service.file_of(part)) != bytes_of(part.str_h)) wrong += part.str_h + "\n";
      }
    }
    return wrong;
  }

  TempDir _folder;
  std::filesystem::path _place = _folder.path() / "device";
  EnvironmentVariable _log{"MSG_CONSUMER_LOG_LEVEL", "7"};
  FaultyFiles _files;
  std::vector<Device::Step> _story = story();
  std::vector<std::string> _contents;
};

TEST_F(Crash, LosesNothingThatWasAcknowledgedAndLeavesNoHalf) {
  rehearse();
  const int seeds = number_of_seeds();
  for (int seed = 1; seed <= seeds && !HasFatalFailure(); ++seed) perform(static_cast<unsigned>(seed));
  EXPECT_GT(survived, 50);
  report_figure("death of the machine", tried, survived, {{"seeds", seeds}});
}

}  // namespace
}  // namespace msg_consumer::test
