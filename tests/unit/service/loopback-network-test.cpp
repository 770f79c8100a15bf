// SPDX-License-Identifier: Apache-2.0
#include "service/loopback-network.hpp"

#include <functional>

#include "service-test.hpp"

namespace msg_consumer::service {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class RecordingAnnouncer final : public Announcer {
 public:
  void announce(const Announcement& announcement) noexcept override { bodies.push_back(announcement.body); }
  std::vector<std::string> bodies;
};

class Loopback : public ServiceTest {
 protected:
  static constexpr std::chrono::milliseconds BEAT{2};

  Loopback() {
    sd_event* handle = nullptr;
    EXPECT_GE(sd_event_new(&handle), 0);
    loop.reset(handle);
  }

  /// Lets the network work until `done` holds; false when it does not within the test's patience.
  bool run_until(const std::function<bool()>& done) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!done() && std::chrono::steady_clock::now() < end) {
      sd_event_run(loop.get(), 10'000);
    }
    return done();
  }
  std::function<bool()> announced(std::size_t count) {
    return [this, count] { return announcer.bodies.size() >= count; };
  }

  Owned<sd_event, sd_event_unref> loop;
  RecordingAnnouncer announcer;
  FarSide far_side;
};

std::string changed(int revision, const std::string& message_ids, const std::string& thread_ids) {
  return R"({"event":"changed","revision":)" + std::to_string(revision) + R"(,"message_ids":[)" + message_ids +
         R"(],"thread_ids":[)" + thread_ids + "]}";
}

TEST_F(Loopback, AMessageIsSendingThenSentThenDelivered) {
  LoopbackNetwork loopback(loop.get(), store, announcer, far_side, BEAT);
  send("+4917");
  loopback.send_queued();
  const std::vector<int> stages = {DELIVERY_SENDING, DELIVERY_SENT, DELIVERY_DELIVERED};
  for (std::size_t stage = 0; stage < stages.size(); ++stage) {
    ASSERT_TRUE(run_until(announced(stage + 1)));
    EXPECT_EQ(stored(1).num_f, stages[stage]);
    EXPECT_EQ(stored_thread(1).num_i, stages[stage]);
  }
  EXPECT_THAT(announcer.bodies, ElementsAre(changed(2, "1", "1"), changed(3, "1", "1"), changed(4, "1", "1")));
}

TEST_F(Loopback, WhatIsDueTogetherIsOneChange) {
  send("+491");
  send("+492");
  send("+491");
  LoopbackNetwork loopback(loop.get(), store, announcer, far_side, BEAT);
  ASSERT_TRUE(run_until(announced(3)));
  EXPECT_EQ(announcer.bodies[0], changed(4, "1,2,3", "1,2"));
  EXPECT_THAT(announcer.bodies, SizeIs(3));
}

TEST_F(Loopback, WhatADeadInstanceLeftGoesOn) {
  send("+491");
  send("+492");
  edit(2, [](Message& message) { message.num_f = DELIVERY_SENDING; });
  LoopbackNetwork loopback(loop.get(), store, announcer, far_side, BEAT);
  ASSERT_TRUE(run_until(announced(3)));
  EXPECT_EQ(stored(1).num_f, DELIVERY_DELIVERED);
  EXPECT_EQ(stored(2).num_f, DELIVERY_DELIVERED);
}

TEST_F(Loopback, AReportThatADeadInstanceAwaitedComes) {
  send("+491");
  {
    LoopbackNetwork dying(loop.get(), store, announcer, far_side, BEAT);
    ASSERT_TRUE(run_until(announced(2)));
  }
  ASSERT_EQ(stored(1).num_f, DELIVERY_SENT);
  LoopbackNetwork loopback(loop.get(), store, announcer, far_side, BEAT);
  ASSERT_TRUE(run_until(announced(3)));
  EXPECT_EQ(stored(1).num_f, DELIVERY_DELIVERED);
}

TEST_F(Loopback, AMessageThatSomebodyElseHasSentIsNotReported) {
  const int id = receive_from("+491");
  edit(id, [](Message& message) {
    message.num_e = DIRECTION_OUTGOING;
    message.num_f = DELIVERY_SENT;
  });
  LoopbackNetwork loopback(loop.get(), store, announcer, far_side, BEAT);
  send("+492");
  ASSERT_TRUE(run_until(announced(3)));
  EXPECT_EQ(stored(id).num_f, DELIVERY_SENT);
}

TEST_F(Loopback, ADeletedMessageIsForgotten) {
  LoopbackNetwork loopback(loop.get(), store, announcer, far_side, BEAT);
  send("+491");
  loopback.send_queued();
  ASSERT_TRUE(run_until(announced(2)));
  commands.delete_message(1, 0);
  send("+492");
  loopback.send_queued();
  ASSERT_TRUE(run_until(announced(5)));
  EXPECT_EQ(announcer.bodies[2], changed(6, "2", "2"));
}

TEST_F(Loopback, DraftsAndIncomingMessagesStayWhereTheyAre) {
  LoopbackNetwork loopback(loop.get(), store, announcer, far_side, BEAT);
  commands.add_message(submission("+491"));
  receive_from("+492");
  send("+493");
  loopback.send_queued();
  ASSERT_TRUE(run_until(announced(3)));
  EXPECT_EQ(stored(1).num_f, DELIVERY_NONE);
  EXPECT_EQ(stored(2).num_f, DELIVERY_NONE);
}

TEST_F(Loopback, ARetrievalEnds) {
  LoopbackNetwork loopback(loop.get(), store, announcer, far_side, BEAT);
  Message notification = incoming();
  notification.num_c = TYPE_MMS;
  notification.subType = SUBTYPE_MMS_NOTIFICATION;
  notification.num_n = RETRIEVAL_RUNNING;
  const int id = receive(notification);
  loopback.retrieve(id);
  EXPECT_TRUE(loopback.is_retrieving(id));
  ASSERT_TRUE(run_until(announced(1)));
  EXPECT_FALSE(loopback.is_retrieving(id));
  EXPECT_EQ(stored(id).num_n, RETRIEVAL_DONE);
  EXPECT_EQ(stored(id).subType, SUBTYPE_PLAIN);
}

TEST_F(Loopback, ADamagedMessageHoldsNothingUp) {
  LoopbackNetwork loopback(loop.get(), store, announcer, far_side, BEAT);
  const int damaged = receive_from("+491");
  beside("UPDATE message SET packed = x'00'");
  loopback.retrieve(damaged);
  send("+492");
  loopback.send_queued();
  ASSERT_TRUE(run_until(announced(3)));
  EXPECT_EQ(stored(2).num_f, DELIVERY_DELIVERED);
}

TEST_F(Loopback, AFailureOfTheStoreIsTriedAgain) {
  LoopbackNetwork loopback(loop.get(), store, announcer, far_side, BEAT);
  send("+491");
  break_the_store();
  loopback.send_queued();
  // The timer is due at once: one turn of the loop is one attempt.
  ASSERT_GT(sd_event_run(loop.get(), UINT64_MAX), 0);
  EXPECT_THAT(announcer.bodies, IsEmpty());
  EXPECT_EQ(stored(1).num_f, DELIVERY_QUEUED);
  beside("DROP TRIGGER broken");
  ASSERT_TRUE(run_until(announced(3)));
  EXPECT_EQ(stored(1).num_f, DELIVERY_DELIVERED);
}

}  // namespace
}  // namespace msg_consumer::service
