// SPDX-License-Identifier: Apache-2.0
// Callers who are slow, leave, or hand over something else.
#include <fcntl.h>

#include "transfer-on-bus.hpp"

namespace msg_consumer::test {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

constexpr const char* busy = "com.velmora.message.consumer.Error.Busy";

class SlowCallers : public TransferOnBus {
 protected:
  void SetUp() override {
    // More than a socket holds.
    ASSERT_EQ(msgctl({"import", file_of(400, 4000)}).status, 0);
  }

  SocketPair _socket;
  Caller _caller{_bus.address()};
};

TEST_F(SlowCallers, AreServedFromOneMomentWhileOthersAreServedToo) {
  _caller.begin("export_store", _socket.theirs());
  _socket.close_theirs();
  EXPECT_GT(send("+15550100", "sent meanwhile"), 0);
  EXPECT_EQ(messages(), 401);
  const std::string text = _socket.read_all();
  EXPECT_THAT(text, testing::Not(HasSubstr("sent meanwhile")));
  EXPECT_THAT(text, HasSubstr("{\"kind\":\"end\",\"threads\":1,\"messages\":400,"));
  EXPECT_TRUE(_caller.is_answered());
  EXPECT_THAT(*_caller.answer(), HasSubstr("\"messages\":400"));
}

TEST_F(SlowCallers, MakeOthersWait) {
  _caller.begin("export_store", _socket.theirs());
  Caller other(_bus.address());
  SocketPair socket;
  other.begin("import_store", socket.theirs());
  ASSERT_TRUE(other.is_answered());
  EXPECT_EQ(*other.answer(), busy);
  const Outcome run = msgctl({"export", _folder.file("store.jsonl")});
  EXPECT_EQ(run.status, 5);
  EXPECT_THAT(run.err, HasSubstr("Another export or import is running"));
}

TEST_F(SlowCallers, WhoLeaveMakeRoom) {
  _caller.begin("export_store", _socket.theirs());
  EXPECT_EQ(msgctl({"export", _folder.file("first.jsonl")}).status, 5);
  _caller.leave();
  EXPECT_TRUE(wait_until([&] { return msgctl({"export", _folder.file("second.jsonl")}).status == 0; }));
}

TEST_F(SlowCallers, WhoCloseTheirEndAreTold) {
  _caller.begin("export_store", _socket.theirs());
  _socket.close_theirs();
  _socket.close_ours();
  ASSERT_TRUE(_caller.is_answered());
  EXPECT_EQ(*_caller.answer(), "com.velmora.message.consumer.Error.Stream");
}

TEST_F(SlowCallers, MayHandOverAPipe) {
  std::array<int, 2> ends{};
  ASSERT_EQ(pipe2(ends.data(), O_CLOEXEC), 0);
  _caller.begin("import_store", ends[0]);
  ASSERT_GT(write(ends[1], "oops\n", 5), 0);
  ASSERT_TRUE(_caller.is_answered());
  EXPECT_THAT(*_caller.answer(), HasSubstr("\"reason\":\"broken\""));
  EXPECT_EQ(fcntl(ends[0], F_GETFL) & O_NONBLOCK, 0) << "the caller's own end is as it was";
  close(ends[0]);
  close(ends[1]);
}

TEST_F(SlowCallers, WhoHandOverAFileAreRefused) {
  const int file = open(_folder.file("made-400.jsonl").c_str(), O_RDONLY | O_CLOEXEC);
  _caller.begin("import_store", file);
  ASSERT_TRUE(_caller.is_answered());
  EXPECT_EQ(*_caller.answer(), "org.freedesktop.DBus.Error.InvalidArgs");
  close(file);
}

}  // namespace
}  // namespace msg_consumer::test
