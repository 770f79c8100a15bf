// SPDX-License-Identifier: Apache-2.0
#include <msg-consumer/ThreadManager.h>

#include <msg-consumer-common/db.h>
#include <msg-consumer/ipc/CThreadSync.h>

#include "ManagerFrame.hpp"

namespace msg_consumer {

namespace {

constexpr const char* NO_RECORDS = "No records!";

}  // namespace

int ThreadManager::getThread(int threadId, Thread& thread) {
  if (threadId < 1) return refuse_id(HERE, "threadId", threadId);
  return record_result(HERE, "db_get_thread", db::db_get_thread(threadId, thread), "threadId", threadId);
}

int ThreadManager::getAllThreads(std::vector<Thread>& list) {
  return list_result(HERE, "db_get_threads", db::db_get_threads(list), NO_RECORDS);
}

int ThreadManager::getAddress(int threadId, std::vector<Address>& list) {
  if (threadId < 1) return refuse_id(HERE, "threadId", threadId);
  return list_result(HERE, "db_get_addresses", db::db_get_addresses(threadId, list), NO_RECORDS);
}

int ThreadManager::getThreadIdByAddress(const std::string& address, int& threadId) {
  if (address.empty()) return refuse(HERE, "[ERROR] Invalid parameter: address");
  Address participant;
  participant.address = address;
  participant.num_b = 1;
  participant.num_c = 0;
  return list_result(HERE, "db_check_thread_address_exist", db::db_check_thread_address_exist({participant}, &threadId),
                     NO_RECORDS);
}

int ThreadManager::readThread(int threadId) {
  if (threadId < 1) return refuse_id(HERE, "threadId", threadId);
  return run_request<CThreadSync>(HERE, "CThreadSync::readThread",
                                  [&](IThreadSync& request) { return request.readThread(threadId); });
}

int ThreadManager::deleteThread(int threadId) {
  if (threadId < 1) return refuse_id(HERE, "threadId", threadId);
  return run_request<CThreadSync>(HERE, "CThreadSync::deleteThread",
                                  [&](IThreadSync& request) { return request.deleteThread(threadId); });
}

int ThreadManager::deleteThreads(const std::vector<int>& threadIds) {
  if (threadIds.empty()) return refuse(HERE, "[ERROR] Invalid parameter: no thread ids!");
  return run_request<CThreadSync>(HERE, "CThreadSync::deleteThreads",
                                  [&](IThreadSync& request) { return request.deleteThreads(threadIds); });
}

int ThreadManager::updateGroupchatThread(int threadId) {
  if (threadId < 1) return refuse_id(HERE, "threadId", threadId);
  return run_request<CThreadSync>(HERE, "CThreadSync::updateGroupchatThread",
                                  [&](IThreadSync& request) { return request.updateGroupchatThread(threadId); });
}

// Any id passes: 0 and less tell the service that no thread is looked at.
int ThreadManager::setActiveThreadId(int threadId) {
  return run_request<CThreadSync>(HERE, "CThreadSync::setActiveThread",
                                  [&](IThreadSync& request) { return request.setActiveThread(threadId); });
}

}  // namespace msg_consumer
