// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <msg-consumer/ConnectionManager.h>
#include <msg-consumer/ContentManager.h>
#include <msg-consumer/MessageManager.h>
#include <msg-consumer/MsgOperationManager.h>
#include <msg-consumer/NmsManager.h>
#include <msg-consumer/ThreadManager.h>

#include <memory>
#include <new>
#include <optional>
#include <utility>

#include "rows.hpp"
#include "unit/store/record-compare.hpp"
#include "unit/store/sample-records.hpp"

namespace msg_consumer::test {
namespace {

const std::string TEXT = "a text that is too long for a short string";
const std::string PATH = "/tmp/a file that is too far away to be found";
const std::string RECIPIENT = Device::PARTICIPANT;
constexpr int OUT_OF_MEMORY = -2;
constexpr int UNSET = -7;

void on_event(const char* /*data*/, void* /*user_data*/) {}

/// The one exception that a manager may throw counts like the status.
std::function<int(Device&)> throwing(std::function<int(Device&)> call) {
  return [call = std::move(call)](Device& device) {
    try {
      return call(device);
    } catch (const std::bad_alloc&) {
      return OUT_OF_MEMORY;
    }
  };
}

FaultRow change(const char* name, std::function<int(Device&)> call) {
  return {.name = name,
          .call = throwing(std::move(call)),
          .prepare = [](Device&) { ASSERT_EQ(ConnectionManager().connect(), 0); },
          .reaches_service = true};
}

// -1: the preference that allows MMS.
FaultRow creation(const char* name, const std::function<int(int&)>& call, std::set<int> refusals = {-2}) {
  auto id = std::make_shared<int>();
  return {.name = name,
          .call = throwing([=](Device&) { return call(*id); }),
          .refusals = std::move(refusals),
          .prepare =
              [=](Device&) {
                ASSERT_EQ(ConnectionManager().connect(), 0);
                *id = UNSET;
              },
          .finish = [=](Device&, int status) { EXPECT_EQ(*id, status == 0 ? Device::NEW_ID : UNSET); },
          .reaches_service = true};
}

/// A query that puts something in the place of `before`, whole: the first call, which is without a fault, says what.
/// One that fails leaves `before`.
template <typename Output>
FaultRow query(const char* name, std::function<int(Device&, Output&)> call, const Output& before = {}) {
  auto output = std::make_shared<Output>();
  auto whole = std::make_shared<std::optional<Output>>();
  return {.name = name,
          .call = throwing([=](Device& device) { return call(device, *output); }),
          .prepare = [=](Device&) { *output = before; },
          .finish =
              [=](Device&, int status) {
                if (!*whole) *whole = *output;
                EXPECT_TRUE(*output == (status == 0 ? **whole : before));
                *output = {};
              }};
}

template <typename Record>
FaultRow record_query(const char* name, std::function<int(Device&, Record&)> call) {
  return query<Record>(name, std::move(call));
}

/// A query that appends to a list that holds an empty record.
template <typename Record>
FaultRow list_query(const char* name, std::function<int(Device&, std::vector<Record>&)> call) {
  return query<std::vector<Record>>(name, std::move(call), {Record()});
}

std::vector<FaultRow> connection_rows() {
  const auto connect = [](Device&) { return ConnectionManager().connect(); };
  const auto subscribe = [](Device&) {
    return ConnectionManager().subscribeEvent(EVENT_STORAGE_CHANGED, on_event, nullptr);
  };
  const auto unsubscribe = [](Device&) {
    return ConnectionManager().unsubscribeEvent(EVENT_STORAGE_CHANGED, on_event);
  };
  return {
      {.name = "ConnectionManager::connect",
       .call = throwing(connect),
       .refusals = {-2, -1},
       .prepare = [](Device&) { ConnectionManager().disconnect(); }},
      {.name = "ConnectionManager::disconnect",
       .call = throwing([](Device&) { return ConnectionManager().disconnect(); }),
       .prepare = connect},
      {.name = "ConnectionManager::subscribeEvent",
       .call = throwing(subscribe),
       .prepare = unsubscribe,
       .finish = [=](Device& device, int status) { EXPECT_EQ(unsubscribe(device), status == 0 ? 0 : -1); }},
      {.name = "ConnectionManager::unsubscribeEvent", .call = throwing(unsubscribe), .prepare = subscribe},
  };
}

std::vector<FaultRow> query_rows() {
  return {
      record_query<Message>(
          "MessageManager::getMessage",
          [](Device& device, Message& message) { return MessageManager().getMessage(device.message, message); }),
      opening(list_query<Message>("MessageManager::getMessages",
                                  [](Device& device, std::vector<Message>& list) {
                                    ListCondition condition;
                                    condition.keyword = "the body of the";
                                    condition.thread_ids = {device.thread, device.thread + 1};
                                    return MessageManager().getMessages(condition, list);
                                  })),
      record_query<Conversation>("MessageManager::getConversation",
                                 [](Device& device, Conversation& conversation) {
                                   return MessageManager().getConversation(device.message, conversation);
                                 }),
      list_query<Conversation>("MessageManager::getConversations",
                               [](Device& device, std::vector<Conversation>& list) {
                                 return MessageManager().getConversations(device.thread, list);
                               }),
      query<Content::Status>(
          "MessageManager::getFTSendingStatus",
          [](Device& device, Content::Status& status) {
            return MessageManager().getFTSendingStatus(device.message, status);
          },
          Content::STATUS_NONE),
      record_query<Thread>(
          "ThreadManager::getThread",
          [](Device& device, Thread& found) { return ThreadManager().getThread(device.thread, found); }),
      list_query<Thread>("ThreadManager::getAllThreads",
                         [](Device&, std::vector<Thread>& list) { return ThreadManager().getAllThreads(list); }),
      list_query<Address>(
          "ThreadManager::getAddress",
          [](Device& device, std::vector<Address>& list) { return ThreadManager().getAddress(device.thread, list); }),
      query<int>(
          "ThreadManager::getThreadIdByAddress",
          [](Device&, int& thread) { return ThreadManager().getThreadIdByAddress(RECIPIENT, thread); }, UNSET),
  };
}

std::vector<FaultRow> change_rows() {
  return {
      change("MessageManager::readMessage",
             [](Device& device) { return MessageManager().readMessage(device.message); }),
      change("MessageManager::deleteMessage",
             [](Device& device) { return MessageManager().deleteMessage(device.message); }),
      creation("MessageManager::addMessage",
               [](int& id) { return MessageManager().addMessage("mms", 0, RECIPIENT, TEXT, PATH, 1, id); }),
      creation("MessageManager::sendSMS", [](int& id) { return MessageManager().sendSMS(0, RECIPIENT, TEXT, 1, id); }),
      creation("MessageManager::sendMMS",
               [](int& id) { return MessageManager().sendMMS(0, RECIPIENT, TEXT, PATH, 1, id); }, {-2, -1}),
      change("MessageManager::resendMessage",
             [](Device& device) { return MessageManager().resendMessage(device.message); }),
      change("MessageManager::updateMMSRetrieveStatus",
             [](Device& device) { return MessageManager().updateMMSRetrieveStatus(device.message); }),
      change("MessageManager::restoreBlockedMessage",
             [](Device& device) { return MessageManager().restoreBlockedMessage(device.message); }),
      change("MessageManager::exportMessageToPhone",
             [](Device& device) { return MessageManager().exportMessageToPhone(device.message); }),
      change("ThreadManager::readThread", [](Device& device) { return ThreadManager().readThread(device.thread); }),
      change("ThreadManager::deleteThread", [](Device& device) { return ThreadManager().deleteThread(device.thread); }),
      change("ThreadManager::deleteThreads",
             [](Device& device) {
               return ThreadManager().deleteThreads({device.thread, device.thread + 1});
             }),
      change("ThreadManager::updateGroupchatThread",
             [](Device& device) { return ThreadManager().updateGroupchatThread(device.thread); }),
      change("ThreadManager::setActiveThreadId",
             [](Device& device) { return ThreadManager().setActiveThreadId(device.thread); }),
      change("ContentManager::downloadContentFile",
             [](Device& device) { return ContentManager().downloadContentFile(device.message, PATH); }),
      change("MsgOperationManager::showOnDevice",
             [](Device& device) { return MsgOperationManager().showOnDevice(device.message); }),
      change("MsgOperationManager::requestToChangeSmsApplication",
             [](Device&) { return MsgOperationManager().requestToChangeSmsApplication(true); }),
      creation("NmsManager::sendSMS", [](int& id) { return NmsManager().sendSMS(0, RECIPIENT, TEXT, id); }),
      creation("NmsManager::sendMMS", [](int& id) { return NmsManager().sendMMS(0, RECIPIENT, TEXT, PATH, id); },
               {-2, -1}),
  };
}

}  // namespace

std::vector<FaultRow> manager_rows() {
  std::vector<FaultRow> rows = connection_rows();
  for (const auto& more : {query_rows(), change_rows()}) rows.insert(rows.end(), more.begin(), more.end());
  return rows;
}

}  // namespace msg_consumer::test
