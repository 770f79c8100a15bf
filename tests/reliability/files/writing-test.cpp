// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <optional>

#include "file-faults.hpp"
#include "reliability/whole/service-on-disk.hpp"
#include "reliability/whole/store-check.hpp"
#include "support/environment.hpp"
#include "support/figures.hpp"
#include "support/temp-dir.hpp"

namespace msg_consumer::test {
namespace {

using service::Status;

/// A filled store with its service, and what the operations on it need to know.
class Scene {
 public:
  Scene() {
    service().fill(_folder.path());
    write_file(note(), "the bytes of a note");
  }

  ServiceOnDisk& service() { return *_service; }
  service::Commands& commands() { return _service->commands(); }
  std::string note() const { return _folder.file("attached.txt"); }
  std::string copy() const { return _folder.file("copy.txt"); }
  std::string content() const { return content_of(_beside.get()); }

  /// With nothing in its memory of what is on the disk.
  void restart() {
    _service.reset();
    _service.emplace(_folder.path());
  }

  /// What is wrong in the store, or in its folder.
  std::string damage() {
    std::string damage = damage_of(service());
    for (const auto& entry : std::filesystem::directory_iterator(_folder.path() / "files")) {
      if (entry.path().filename().string().starts_with(".incoming")) damage += "a copy was left behind\n";
    }
    return damage;
  }

  /// What is wrong for a service that starts after this one was killed.
  std::string damage_after_a_kill() const {
    const TempDir left;
    for (const char* suffix : {"", "-wal"}) {
      std::filesystem::copy_file(_path + suffix, ServiceOnDisk::database_in(left.path()) + suffix);
    }
    std::filesystem::copy(_folder.path() / "files", left.path() / "files", std::filesystem::copy_options::recursive);
    ServiceOnDisk successor(left.path());
    return damage_of(successor);
  }

  int target = 0;  ///< the message or thread that an operation is prepared for
  int step = 0;

 private:
  TempDir _folder;
  std::string _path = ServiceOnDisk::database_in(_folder.path());
  std::optional<ServiceOnDisk> _service{_folder.path()};
  schema::Database _beside = schema::open_database(_path, SQLITE_OPEN_READONLY);
};

/// Something that the service does to the store.
struct Operation {
  const char* name;
  std::function<Status(Scene&)> act;
  std::function<void(Scene&)> prepare = [](Scene&) {};
  bool leaves_content = false;
};

void PrintTo(const Operation& operation, std::ostream* out) { *out << operation.name; }

std::string numbered(Scene& scene, const char* text) { return text + std::to_string(++scene.step); }

void send_target(Scene& scene) { scene.target = scene.service().send("+491701000001", "target").message_id; }
void receive_target(Scene& scene) { scene.target = scene.service().receive("+491701000004", "target"); }
void draft_target(Scene& scene) {
  scene.target = scene.service().draft("+491701000005", "target", scene.note()).message_id;
}
void send_to_new_thread(Scene& scene) {
  const std::string number = numbered(scene, "+4917020000");
  scene.service().send_with_files(number, "first", scene.note());
  const int last = scene.service().send(number, "second").message_id;
  scene.target = scene.service().store().messages().get(last).message.num_b;
}
void notify_target(Scene& scene) {
  scene.service().add_record("notification", true);
  scene.target = scene.service().store().messages().next_id() - 1;
}
void add_target_meta(Scene& scene) { scene.service().add_meta(0, "target"); }

Status checkpoint(Scene& scene, int mode) {
  sqlite3_wal_checkpoint_v2(scene.service().store().database(), nullptr, mode, nullptr, nullptr);
  return service::STATUS_OK;
}

Status copy_attachment(Scene& scene) {
  std::filesystem::remove(scene.copy());
  const Status status = scene.commands().get_content_file(2, scene.copy()).status;
  EXPECT_EQ(std::filesystem::exists(scene.copy()), status == service::STATUS_OK);
  return status;
}

const Operation OPERATIONS[] = {
    {"SendMessage", [](Scene& scene) { return scene.service().send("+491701000001", "text").outcome.status; }},
    {"SendALongMessage",
     [](Scene& scene) { return scene.service().send("+491701000001", std::string(9000, 'x')).outcome.status; }},
    {"SendToANewThread",
     [](Scene& scene) { return scene.service().send(numbered(scene, "+4917010000"), "text").outcome.status; }},
    {"SendFiles",
     [](Scene& scene) {
       return scene.service()
           .send_with_files("+491701000001", "text", scene.note() + ";" + scene.note())
           .outcome.status;
     }},
    {"AddDraft",
     [](Scene& scene) { return scene.service().draft("+491701000005", "text", scene.note()).outcome.status; }},
    {"ReadMessage", [](Scene& scene) { return scene.commands().read_message(scene.target, 0).status; }, receive_target},
    {"DeleteMessage", [](Scene& scene) { return scene.commands().delete_message(scene.target, 0).status; },
     send_target},
    {"DeleteFiles", [](Scene& scene) { return scene.commands().delete_message(scene.target, 0).status; }, draft_target},
    {"ResendMessage", [](Scene& scene) { return scene.commands().resend_message(scene.target).status; }, draft_target},
    {"ExportToPhone", [](Scene& scene) { return scene.commands().export_to_phone(scene.target).status; }, send_target},
    {"RetrieveMessage", [](Scene& scene) { return scene.commands().update_retrieve_mms_message(scene.target).status; },
     notify_target},
    {"ReadThread", [](Scene& scene) { return scene.commands().read_thread(3).status; }, receive_target},
    {"DeleteThread", [](Scene& scene) { return scene.commands().delete_thread(scene.target).status; },
     send_to_new_thread},
    {"UpdateGroupChatAddress", [](Scene& scene) { return scene.commands().update_group_chat_address(5).status; }},
    {"GetContentFile", copy_attachment},
    {"SendContentFile",
     [](Scene& scene) { return scene.commands().send_content_file(scene.target, scene.note()).status; }, draft_target},
    {"ShowOnDevice", [](Scene& scene) { return scene.commands().show_on_device(1).status; }},
    {"ChangeSmsApplication",
     [](Scene& scene) { return scene.commands().send_change_sms_application_request(true).status; }},
    {"NmsAddMessage", [](Scene& scene) { return scene.service().add_record("record", false).status; }},
    {"NmsDeleteMessageByTime",
     [](Scene& scene) { return scene.commands().nms_delete_message_by_time(2'000'000'000).status; },
     [](Scene& scene) {
       send_target(scene);
       receive_target(scene);
     }},
    {"NmsUpdateNetworkStatus",
     [](Scene& scene) { return scene.commands().nms_update_message_network_status(1, ++scene.step).status; }},
    {"NmsAddMeta", [](Scene& scene) { return scene.service().add_meta(1, numbered(scene, "object")).status; }},
    {"NmsUpdateMeta",
     [](Scene& scene) { return scene.service().update_meta("object-2", numbered(scene, "/")).status; }},
    {"NmsDeleteMeta", [](Scene& scene) { return scene.commands().nms_delete_msg_meta(0, "target").status; },
     add_target_meta},
    {"NmsHandleResetbox", [](Scene& scene) { return scene.commands().nms_handle_resetbox().status; }, add_target_meta},
    {"NmsUpdateSubscription",
     [](Scene& scene) { return scene.commands().nms_update_subscription_info(1, numbered(scene, "token")).status; }},
    {"Checkpoint", [](Scene& scene) { return checkpoint(scene, SQLITE_CHECKPOINT_PASSIVE); }, send_target, true},
    {"CheckpointThatTruncates", [](Scene& scene) { return checkpoint(scene, SQLITE_CHECKPOINT_TRUNCATE); }, send_target,
     true},
};

class FaultsInWriting : public testing::TestWithParam<Operation> {
 protected:
  /// Lets each call of a kind fail in turn, until there is no further one.
  void try_each(const FileFault& fault, bool persists) {
    Scene scene;
    bool is_prepared = false;
    for (int number = 0;; number = next_call(number)) {
      if (!std::exchange(is_prepared, true) && GetParam().prepare) GetParam().prepare(scene);
      // What is in memory is not read.
      if (fault.call == FileCall::READ) scene.restart();
      const std::string before = scene.content();
      _files.arm(fault, number, persists);
      const Status status = GetParam().act(scene);
      const bool struck = _files.disarm();
      const std::string after = scene.content();

      const auto where =
          std::string(fault.name) + " at call " + std::to_string(number) + (persists ? " and after" : "");
      ASSERT_EQ(after == before, status != service::STATUS_OK || GetParam().leaves_content) << where << ": " << status;
      ASSERT_EQ(scene.damage(), "") << where;
      if (!struck) {
        ASSERT_EQ(status, service::STATUS_OK) << where;
        return;
      }
      ++tried;
      is_prepared = status != service::STATUS_OK;
      if (!persists && status != service::STATUS_OK) {
        ASSERT_EQ(scene.damage_after_a_kill(), "") << where;
      }
      ASSERT_EQ(scene.commands().nms_update_subscription_info(++_next, "goes on").status, service::STATUS_OK) << where;
      ++survived;
    }
  }

  int tried = 0;
  int survived = 0;

 private:
  EnvironmentVariable _log{"MSG_CONSUMER_LOG_LEVEL", "7"};
  FaultyFiles _files;
  std::uint64_t _next = 1'000'000;
};

TEST_P(FaultsInWriting, LeaveAllOfTheChangeOrNothing) {
  for (const FileFault& fault : FILE_FAULTS) {
    for (const bool persists : {false, true}) {
      ASSERT_NO_FATAL_FAILURE(try_each(fault, persists));
    }
  }
  EXPECT_GT(survived, 20);
  report_figure("file faults in writing", tried, survived);
}

INSTANTIATE_TEST_SUITE_P(EachCommand, FaultsInWriting, testing::ValuesIn(OPERATIONS),
                         [](const auto& row) { return row.param.name; });

}  // namespace
}  // namespace msg_consumer::test
