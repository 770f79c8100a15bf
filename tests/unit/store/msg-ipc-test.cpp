// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <msg-consumer-common/MsgIPC.h>
#include <msg-consumer-common/ipc-commands.h>

#include <algorithm>
#include <climits>
#include <set>

#include "named-row.hpp"

namespace msg_consumer {
namespace {

struct Row {
  int command;
  const char* name;
  const char* format;
};

void PrintTo(const Row& row, std::ostream* out) { *out << row.command << " " << row.name; }

class Catalogue : public testing::TestWithParam<Row> {};

TEST_P(Catalogue, NameAndFormatAreFoundByCommand) {
  const MsgIPC catalogue;
  const auto command = static_cast<MsgIPC::IpcCommand>(GetParam().command);
  EXPECT_EQ(catalogue.getCmdString(command), GetParam().name);
  EXPECT_EQ(catalogue.getCmdStruct(command), GetParam().format);
}

TEST_P(Catalogue, TheHeadersListsPairTheSameNameAndFormat) {
  const auto* found = std::find(IPC_COMMAND_NAMES.begin(), IPC_COMMAND_NAMES.end(), GetParam().name);
  ASSERT_NE(found, IPC_COMMAND_NAMES.end());
  EXPECT_EQ(IPC_COMMAND_FORMATS.at(static_cast<std::size_t>(found - IPC_COMMAND_NAMES.begin())), GetParam().format);
}

constexpr Row ROWS[] = {
    {0, "read_message", "(ii)"},
    {1, "read_thread", "(i)"},
    {2, "delete_message", "(ii)"},
    {3, "delete_thread", "(i)"},
    {4, "delete_threads", "(v)"},
    {5, "set_active_thread_id", "(i)"},
    {6, "send_change_sms_application_request", "(b)"},
    {7, "add_message", "(sisssi)"},
    {8, "send_message", "(sisssi)"},
    {9, "resend_message", "(i)"},
    {10, "show_on_device", "(i)"},
    {11, "get_content_file", "(is)"},
    {12, "send_content_file", "(is)"},
    {13, "restore_block_message", "(i)"},
    {14, "update_group_chat_address", "(i)"},
    {15, "export_to_phone", "(i)"},
    {16, "update_retrieve_mms_message", "(i)"},
    {17, "nms_add_message", "(vi)"},
    {18, "nms_delete_message_by_time", "(i)"},
    {19, "nms_send_message", "(sisss)"},
    {20, "nms_resend_message", "(i)"},
    {21, "nms_add_msg_meta", "(vi)"},
    {22, "nms_update_msg_meta", "(isvi)"},
    {23, "nms_delete_msg_meta", "(is)"},
    {24, "nms_delete_invalid_msg_meta", "()"},
    {25, "nms_handle_resetbox", "()"},
    {26, "nms_download_mms", "(i)"},
    {27, "nms_update_message_network_status", "(ii)"},
    {28, "nms_update_subscription_info", "(ts)"},
};

INSTANTIATE_TEST_SUITE_P(AllCommands, Catalogue, testing::ValuesIn(ROWS), test::name_of_row);

TEST(CatalogueLookup, GoesByCommandNotByPositionInTheHeader) {
  const MsgIPC catalogue;
  EXPECT_EQ(IPC_COMMAND_NAMES[5], "show_on_device");
  EXPECT_EQ(catalogue.getCmdString(static_cast<MsgIPC::IpcCommand>(5)), "set_active_thread_id");
  EXPECT_EQ(catalogue.getCmdString(static_cast<MsgIPC::IpcCommand>(10)), "show_on_device");
}

TEST(CatalogueLookup, TheHeaderNamesEveryCommandOnce) {
  const std::set<std::string_view> names(IPC_COMMAND_NAMES.begin(), IPC_COMMAND_NAMES.end());
  EXPECT_EQ(names.size(), 29U);
}

TEST(CatalogueLookup, ANumberOutsideTheCatalogueGivesEmptyTexts) {
  const MsgIPC catalogue;
  for (const int number : {-1, 29, 31, INT_MIN, INT_MAX}) {
    const auto command = static_cast<MsgIPC::IpcCommand>(number);
    EXPECT_EQ(catalogue.getCmdString(command), "") << number;
    EXPECT_EQ(catalogue.getCmdStruct(command), "") << number;
  }
}

}  // namespace
}  // namespace msg_consumer
