// SPDX-License-Identifier: Apache-2.0
#include "client-test.hpp"
#include "request-test.hpp"

#include <msg-consumer/ipc/CContentSync.h>

using namespace msg_consumer;

namespace {

IContentSync& requests() {
  static CContentSync instance;
  return instance;
}

INSTANTIATE_TEST_SUITE_P(Content, Request,
                         testing::Values(RequestRow{"GetContentFile",
                                                    [] { return requests().getContentFile(5, "/tmp/a"); },
                                                    "CContentSync.cpp",
                                                    "getContentFile",
                                                    "get_content_file",
                                                    "(5, '/tmp/a')",
                                                    {"msgId:(5), fileName:(/tmp/a)"}},
                                         RequestRow{"GetContentFileWithoutAName",
                                                    [] { return requests().getContentFile(5, ""); },
                                                    "CContentSync.cpp",
                                                    "getContentFile",
                                                    "get_content_file",
                                                    "(5, '')",
                                                    {"msgId:(5), fileName:()"}},
                                         RequestRow{"SendContentFile",
                                                    [] { return requests().sendContentFile(6, "/tmp/b"); },
                                                    "CContentSync.cpp",
                                                    "sendContentFile",
                                                    "send_content_file",
                                                    "(6, '/tmp/b')",
                                                    {"msgId:(6)"}}),
                         [](const auto& row) { return row.param.name; });

using ContentRequests = ClientTest;

TEST_F(ContentRequests, RefuseANameThatIsNotUtf8) {
  connect();
  EXPECT_EQ(requests().getContentFile(5, "/tmp/\xff"), -2);
  EXPECT_EQ(requests().sendContentFile(5, "/tmp/\xff"), -2);
  EXPECT_THAT(fake::gio().calls, testing::IsEmpty());
}

TEST_F(ContentRequests, NeverLogTheNameOfAFileThatIsSent) {
  connect();
  requests().sendContentFile(6, "/tmp/secret");
  EXPECT_FALSE(LogCapture::instance().contains("secret"));
}

}  // namespace
