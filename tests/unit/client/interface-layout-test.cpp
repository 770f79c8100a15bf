// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>

#include <msg-consumer/ipc/IContentSync.h>
#include <msg-consumer/ipc/IMessageSync.h>
#include <msg-consumer/ipc/INmsSync.h>
#include <msg-consumer/ipc/IPCProxy.h>
#include <msg-consumer/ipc/IRequestSync.h>
#include <msg-consumer/ipc/IThreadSync.h>

// The order of the virtual functions is part of the binary interface. The C++ ABI of this platform keeps the slot in a
// pointer to a virtual member function: its offset in the table, plus one. (On ARM the one stands elsewhere.)

namespace {

using namespace msg_consumer;

template <typename Method>
int slot(Method method) {
  std::uintptr_t words[2];
  static_assert(sizeof method == sizeof words);
  std::memcpy(words, &method, sizeof words);
#if defined(__arm__) || defined(__aarch64__)
  return static_cast<int>(words[0] / sizeof(void*));
#else
  return static_cast<int>((words[0] - 1) / sizeof(void*));
#endif
}

// The two forms of the destructor come first.
constexpr int FIRST = 2;

template <typename... Methods>
void expect_slots(Methods... methods) {
  int expected = FIRST;
  (..., [&] { EXPECT_EQ(slot(methods), expected++); }());
}

TEST(InterfaceLayout, OfMessageRequestsIsFixed) {
  expect_slots(&IMessageSync::readMessage, &IMessageSync::deleteMessage, &IMessageSync::addMessage,
               &IMessageSync::sendMessage, &IMessageSync::resendMessage, &IMessageSync::restoreBlockMessage,
               &IMessageSync::exportToPhoneMessage, &IMessageSync::updateRetrieveMMSMessage);
}

TEST(InterfaceLayout, OfThreadRequestsIsFixed) {
  expect_slots(&IThreadSync::readThread, &IThreadSync::deleteThread, &IThreadSync::deleteThreads,
               &IThreadSync::setActiveThread, &IThreadSync::updateGroupchatThread);
}

TEST(InterfaceLayout, OfContentRequestsIsFixed) {
  expect_slots(&IContentSync::getContentFile, &IContentSync::sendContentFile);
}

TEST(InterfaceLayout, OfDeviceRequestsIsFixed) {
  expect_slots(&IRequestSync::showOnDevice, &IRequestSync::reqChangeDefaultSmsApplication);
}

TEST(InterfaceLayout, OfNetworkStoreRequestsIsFixed) {
  expect_slots(&INmsSync::addMessage, &INmsSync::deleteMessagesByTime, &INmsSync::sendMessage, &INmsSync::resendMessage,
               &INmsSync::addNmsMsgMeta, &INmsSync::updateNmsMsgMeta, &INmsSync::deleteNmsMsgMeta,
               &INmsSync::deleteInvalidNmsMsgMetas, &INmsSync::handleResetBox, &INmsSync::downloadMms,
               &INmsSync::updateNetworkStatus, &INmsSync::updateSubscriptionInfo);
}

TEST(InterfaceLayout, OfTheProxyIsAConnectionAndTwoLists) {
  EXPECT_EQ(sizeof(IPCProxy), sizeof(void*) + 2 * sizeof(std::vector<void*>));
}

}  // namespace
