// SPDX-License-Identifier: Apache-2.0
#include <msg-consumer/ipc/CThreadSync.h>

#include "Request.hpp"

namespace msg_consumer {

IThreadSync::~IThreadSync() = default;
CThreadSync::~CThreadSync() = default;

int CThreadSync::readThread(int threadId) {
  LOG_WARNING(HERE, "threadId: (%d)", threadId);
  return request(HERE, MsgIPC::READ_THREAD, nullptr, threadId);
}

int CThreadSync::deleteThread(int threadId) {
  LOG_WARNING(HERE, "threadId: (%d)", threadId);
  return request(HERE, MsgIPC::DELETE_THREAD, nullptr, threadId);
}

int CThreadSync::deleteThreads(const std::vector<int>& threadIds) {
  LOG_WARNING(HERE, "size of threadIds: (%d)", static_cast<int>(threadIds.size()));
  const CallSite here = HERE;
  return request_built(here, ORDINARY_LOOKUP, MsgIPC::DELETE_THREADS, nullptr, [&](const std::string& format) {
    GVariantBuilder ids;
    g_variant_builder_init(&ids, G_VARIANT_TYPE("ai"));
    for (const int threadId : threadIds) {
      LOG_WARNING(here, "threadId: (%d)", threadId);
      g_variant_builder_add(&ids, "i", threadId);
    }
    return pack(format, own(g_variant_builder_end(&ids)));
  });
}

int CThreadSync::setActiveThread(int threadId) {
  LOG_WARNING(HERE, "threadId: (%d)", threadId);
  return request(HERE, MsgIPC::SET_ACTIVE_THREAD_ID, nullptr, threadId);
}

int CThreadSync::updateGroupchatThread(int threadId) {
  LOG_WARNING(HERE, "threadId: (%d)", threadId);
  return request(HERE, MsgIPC::UPDATE_GROUP_CHAT_ADDRESS, nullptr, threadId);
}

}  // namespace msg_consumer
