// SPDX-License-Identifier: Apache-2.0
#include <functional>
#include <memory>
#include <ostream>
#include <regex>

#include "faults.hpp"
#include "service-world.hpp"
#include "support/figures.hpp"
#include "unit/service/serialized-records.hpp"

namespace msg_consumer::service {
namespace {

using test::Allocator;
using test::as_record;
using test::Fault;
using test::FaultClass;
using test::live_blocks;

constexpr int THROWN = -4711;

struct CommandRow {
  const char* name;
  std::function<Outcome(World&)> call;
};

Outcome outcome_of(Creation creation) {
  EXPECT_EQ(creation.message_id != 0, creation.outcome.status == STATUS_OK);
  return std::move(creation.outcome);
}

// Deleting and exporting are the commands' ends, so that each row has a world of its own.
const std::vector<CommandRow>& rows() {
  static const std::vector<CommandRow> all = {
      {"read_message", [](World& world) { return world.commands.read_message(world.unread, 0); }},
      {"delete_message", [](World& world) { return world.commands.delete_message(world.draft, 0); }},
      {"add_message",
       [](World& world) {
         return outcome_of(world.commands.add_message({"mms", 0, World::STRANGER, "text", world.attachment, 1}));
       }},
      {"send_message",
       [](World& world) {
         return outcome_of(
             world.commands.send_message({"mms", 0, "+491701234567;nobody@example.org", "text", world.attachment, 1}));
       }},
      {"resend_message", [](World& world) { return world.commands.resend_message(world.failed); }},
      {"restore_block_message", [](World& world) { return world.commands.restore_block_message(world.blocked); }},
      {"export_to_phone", [](World& world) { return world.commands.export_to_phone(world.unread); }},
      {"update_retrieve_mms_message",
       [](World& world) { return world.commands.update_retrieve_mms_message(world.notified); }},
      {"read_thread", [](World& world) { return world.commands.read_thread(world.thread); }},
      {"delete_thread", [](World& world) { return world.commands.delete_thread(world.thread); }},
      {"delete_threads", [](World& world) { return world.commands.delete_threads(world.threads); }},
      {"set_active_thread_id", [](World& world) { return world.commands.set_active_thread_id(world.thread); }},
      {"update_group_chat_address", [](World& world) { return world.commands.update_group_chat_address(world.group); }},
      {"get_content_file", [](World& world) { return world.commands.get_content_file(world.draft, world.target); }},
      {"send_content_file",
       [](World& world) { return world.commands.send_content_file(world.draft, world.attachment); }},
      {"show_on_device", [](World& world) { return world.commands.show_on_device(world.unread); }},
      {"send_change_sms_application_request",
       [](World& world) { return world.commands.send_change_sms_application_request(true); }},
      {"nms_add_message", [](World& world) { return world.commands.nms_add_message(as_record(world.message_record)); }},
      {"nms_delete_message_by_time",
       [](World& world) { return world.commands.nms_delete_message_by_time(2'000'000'000); }},
      {"nms_send_message",
       [](World& world) {
         return outcome_of(world.commands.nms_send_message("sms", 0, World::STRANGER, "a text of some length", ""));
       }},
      {"nms_update_message_network_status",
       [](World& world) { return world.commands.nms_update_message_network_status(world.unread, 7); }},
      {"nms_add_msg_meta", [](World& world) { return world.commands.nms_add_msg_meta(as_record(world.meta_record)); }},
      {"nms_update_msg_meta",
       [](World& world) {
         return world.commands.nms_update_msg_meta(world.unread, World::OBJECT, as_record(world.meta_record));
       }},
      {"nms_delete_msg_meta",
       [](World& world) { return world.commands.nms_delete_msg_meta(world.unread, World::OBJECT); }},
      {"nms_delete_invalid_msg_meta", [](World& world) { return world.commands.nms_delete_invalid_msg_meta(); }},
      {"nms_handle_resetbox", [](World& world) { return world.commands.nms_handle_resetbox(); }},
      {"nms_update_subscription_info",
       [](World& world) {
         return world.commands.nms_update_subscription_info(7, "a token that is too long for a short string");
       }},
  };
  return all;
}

std::size_t open_files() {
  return static_cast<std::size_t>(
      std::distance(std::filesystem::directory_iterator("/proc/self/fd"), std::filesystem::directory_iterator()));
}

/// All that a command which fails must leave alone.
struct State {
  std::string content;
  std::set<std::string> files;
  std::set<int> retrieving;
  int send_requests;
  std::size_t open_files;

  bool operator==(const State&) const = default;
};

State state_of(World& world) {
  return {world.content(), world.files_kept(), world.network.retrieving, world.network.send_requests, open_files()};
}

// No command throws.
int status_of(World& world, const CommandRow& row) try {
  return row.call(world).status;
} catch (const std::bad_alloc&) {
  return THROWN;
}

/// One call with the allocation `number` failing.
struct Run {
  int status;
  bool struck;
  std::int64_t blocks;  ///< that it has left
};

Run run(World& world, const CommandRow& row, const FaultClass& fault_class, int number) {
  const std::int64_t before = live_blocks();
  Run result{};
  {
    const Fault fault(fault_class.allocator, number, fault_class.extent);
    result.status = status_of(world, row);
    result.struck = fault.has_struck();
  }
  result.blocks = live_blocks() - before;
  return result;
}

class ServiceOutOfMemory : public testing::TestWithParam<FaultClass> {};

/// Fails each allocation of the row's command in turn. Returns how many there were.
int fail_each_allocation(const CommandRow& row, const FaultClass& fault) {
  auto world = std::make_unique<World>();
  for (int number = 0;; ++number) {
    const State before = state_of(*world);
    const Run result = run(*world, row, fault, number);
    if (!result.struck) {
      EXPECT_EQ(result.status, STATUS_OK);
      world->expect_whole();
      return number;
    }
    if (result.status == STATUS_OK) {
      // It did without: the next fault needs the world as it was.
      world->expect_whole();
      // The old one first: both stand in the same environment.
      world.reset();
      world = std::make_unique<World>();
      continue;
    }
    EXPECT_EQ(result.status, STATUS_OUT_OF_MEMORY) << number;
    EXPECT_EQ(result.blocks, 0) << number;
    const State after = state_of(*world);
    EXPECT_TRUE(after == before) << number << ": content " << (before.content == after.content) << ", files "
                                 << before.files.size() << "/" << after.files.size() << ", retrieving "
                                 << before.retrieving.size() << "/" << after.retrieving.size() << ", open "
                                 << before.open_files << "/" << after.open_files;
    if (testing::Test::HasFailure()) return number;
  }
}

TEST_P(ServiceOutOfMemory, RefusesEveryCommandWithAStatusAndChangesNothing) {
  int tried = 0;
  for (const CommandRow& row : rows()) {
    SCOPED_TRACE(row.name);
    tried += fail_each_allocation(row, GetParam());
  }
  EXPECT_GT(tried, 100);
  test::report_figure(std::string("allocation: commands of the service, ") + GetParam().name, tried, tried,
                      {{"commands", static_cast<std::int64_t>(rows().size())}});
}

INSTANTIATE_TEST_SUITE_P(Faults, ServiceOutOfMemory, testing::ValuesIn(test::FAULT_CLASSES),
                         [](const auto& tested) { return tested.param.name; });

TEST(CommandTable, NamesEveryCommand) {
  const std::string text = test::read_file(SOURCE_DIR "/service/commands.hpp");
  const std::string commands = text.substr(0, text.find(" private:"));
  const std::regex expression(R"(\n  (?:Outcome|Creation) (\w+)\()");
  std::set<std::string> declared;
  for (std::sregex_iterator match(commands.begin(), commands.end(), expression), end; match != end; ++match) {
    declared.insert((*match)[1]);
  }
  std::set<std::string> named;
  for (const CommandRow& row : rows()) named.insert(row.name);
  EXPECT_EQ(named, declared);
}

// Another thread's look must not be lost half-way, and the one before must stay.
TEST(ActiveThread, StaysWhenAnotherCannotBeFound) {
  World world;
  ASSERT_EQ(world.commands.set_active_thread_id(world.thread).status, STATUS_OK);
  const int other = world.thread + 1;
  for (int number = 0;; ++number) {
    bool struck = false;
    int status = 0;
    {
      const Fault fault(Allocator::NEW, number);
      status = world.commands.set_active_thread_id(other).status;
      struck = fault.has_struck();
    }
    EXPECT_EQ(world.is_active(World::FRIEND), struck);
    EXPECT_EQ(world.is_active(World::STRANGER), !struck);
    EXPECT_EQ(status, struck ? STATUS_OUT_OF_MEMORY : STATUS_OK);
    if (!struck) break;
  }
}

}  // namespace
}  // namespace msg_consumer::service
