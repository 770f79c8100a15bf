// SPDX-License-Identifier: Apache-2.0
#include "client-test.hpp"
#include "request-test.hpp"

#include <msg-consumer/ipc/CThreadSync.h>

using namespace msg_consumer;

namespace {

IThreadSync& requests() {
  static CThreadSync instance;
  return instance;
}

INSTANTIATE_TEST_SUITE_P(Thread, Request,
                         testing::Values(RequestRow{"ReadThread",
                                                    [] { return requests().readThread(5); },
                                                    "CThreadSync.cpp",
                                                    "readThread",
                                                    "read_thread",
                                                    "(5,)",
                                                    {"threadId: (5)"}},
                                         RequestRow{"DeleteThread",
                                                    [] { return requests().deleteThread(6); },
                                                    "CThreadSync.cpp",
                                                    "deleteThread",
                                                    "delete_thread",
                                                    "(6,)",
                                                    {"threadId: (6)"}},
                                         RequestRow{"DeleteThreads",
                                                    [] {
                                                      return requests().deleteThreads({7, 7, 9});
                                                    },
                                                    "CThreadSync.cpp",
                                                    "deleteThreads",
                                                    "delete_threads",
                                                    "(<[7, 7, 9]>,)",
                                                    {"size of threadIds: (3)", "threadId: (7)", "threadId: (7)",
                                                     "threadId: (9)"}},
                                         RequestRow{"DeleteNoThreads",
                                                    [] { return requests().deleteThreads({}); },
                                                    "CThreadSync.cpp",
                                                    "deleteThreads",
                                                    "delete_threads",
                                                    "(<@ai []>,)",
                                                    {"size of threadIds: (0)"}},
                                         RequestRow{"SetActiveThread",
                                                    [] { return requests().setActiveThread(10); },
                                                    "CThreadSync.cpp",
                                                    "setActiveThread",
                                                    "set_active_thread_id",
                                                    "(10,)",
                                                    {"threadId: (10)"}},
                                         RequestRow{"SetNoActiveThread",
                                                    [] { return requests().setActiveThread(0); },
                                                    "CThreadSync.cpp",
                                                    "setActiveThread",
                                                    "set_active_thread_id",
                                                    "(0,)",
                                                    {"threadId: (0)"}},
                                         RequestRow{"SetANegativeActiveThread",
                                                    [] { return requests().setActiveThread(-3); },
                                                    "CThreadSync.cpp",
                                                    "setActiveThread",
                                                    "set_active_thread_id",
                                                    "(-3,)",
                                                    {"threadId: (-3)"}},
                                         RequestRow{"UpdateGroupchatThread",
                                                    [] { return requests().updateGroupchatThread(11); },
                                                    "CThreadSync.cpp",
                                                    "updateGroupchatThread",
                                                    "update_group_chat_address",
                                                    "(11,)",
                                                    {"threadId: (11)"}}),
                         [](const auto& row) { return row.param.name; });

using ThreadRequests = ClientTest;

TEST_F(ThreadRequests, BoxManyIdsIntoOneVariant) {
  connect();
  EXPECT_EQ(requests().deleteThreads({1, 2}), 0);
  EXPECT_EQ(fake::gio().calls.at(0).params_type, "(v)");
}

}  // namespace
