// SPDX-License-Identifier: Apache-2.0
#include <grp.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>

#include "service-on-bus.hpp"
#include "service/inbox.hpp"
#include "service/record-values.hpp"
#include "service/store-writer.hpp"

namespace msg_consumer::service {
namespace {

constexpr gid_t READERS = 54321;
constexpr gid_t OTHERS = 54322;
constexpr uid_t SOMEBODY = 65534;

// No connection to the bus here: it would start threads, and the readers are forks.
class OtherUsers : public ServiceOnBus {
 protected:
  void SetUp() override {
    if (geteuid() != 0) {
      GTEST_SKIP() << "only root can become somebody else";
    }
    // The folder's group is the readers', and the set-group-id bit hands it on to the files.
    ASSERT_EQ(chown(folder.path().c_str(), 0, READERS), 0);
    ASSERT_EQ(chmod(folder.path().c_str(), 02750), 0);
    queue_a_message();
  }

  void queue_a_message() const {
    StoreWriter store(path);
    store.transact([&] {
      StoredMessage queued;
      queued.message.num_b = store.threads().find_or_make({"+4917"}).id;
      queued.message.num_c = TYPE_SMS;
      queued.message.num_e = DIRECTION_OUTGOING;
      queued.message.num_f = DELIVERY_QUEUED;
      store.messages().insert(queued);
    });
  }

  static bool become(uid_t user, gid_t group) {
    return setgroups(0, nullptr) == 0 && setgid(group) == 0 && setuid(user) == 0;
  }

  /// What another user reads in the attachment of message 2.
  std::string attachment_as(uid_t user, gid_t group) const {
    Message message;
    EXPECT_EQ(db::db_get_message(2, message), db::DB_OK);
    const std::string file = message.contents.empty() ? "" : message.contents.back().str_g;
    test::Process reader([&] {
      if (!become(user, group)) {
        return 100;
      }
      const std::string content = test::read_file(file);
      return write(STDOUT_FILENO, content.data(), content.size()) < 0 ? 1 : 0;
    });
    EXPECT_EQ(reader.wait(), 0);
    return reader.standard_output();
  }

  /// What another user reads: the message's delivery, or a failed query's status.
  static int read_as(uid_t user, gid_t group) {
    test::Process reader([&] {
      if (!become(user, group)) {
        return 100;
      }
      Message message;
      const int status = db::db_get_message(1, message);
      return status == db::DB_OK ? message.num_f : 50 + (status == db::DB_NO_ACCESS ? 1 : 0);
    });
    return reader.wait().value_or(-1);
  }
};

TEST_F(OtherUsers, OfTheGroupReadAtAnyTime) {
  test::Process service({SERVICE_PROGRAM});
  ASSERT_TRUE(becomes_ready());
  EXPECT_TRUE(test::wait_until([] { return read_as(SOMEBODY, READERS) == DELIVERY_DELIVERED; }));

  service.signal(SIGKILL);
  service.wait();
  EXPECT_EQ(read_as(SOMEBODY, READERS), DELIVERY_DELIVERED) << "after a sudden death, from the log";

  // What the dead instance left there says nothing of its successor.
  ASSERT_EQ(preference_set_int("consumer_preference_int_consumer_status", 0), 0);
  test::Process successor({SERVICE_PROGRAM});
  ASSERT_TRUE(becomes_ready());
  successor.signal(SIGTERM);
  ASSERT_EQ(successor.wait(), 0);
  EXPECT_EQ(read_as(SOMEBODY, READERS), DELIVERY_DELIVERED) << "after a clean end";
}

// A message's parts are in files of their own.
TEST_F(OtherUsers, ReadAttachmentsAsTheyReadTheStore) {
  test::Process service({SERVICE_PROGRAM});
  ASSERT_TRUE(becomes_ready());
  test::write_file(folder.file("photo.png"), "image");
  test::Process sender([this] {
    Client client(bus.address());
    const std::string photo = folder.file("photo.png");
    const Reply reply =
        client.call("send_message", g_variant_new("(sisssi)", "mms", 0, "+4917", "look", photo.c_str(), 1));
    return reply.integers() == std::vector<int>{2, 0} ? 0 : 1;
  });
  ASSERT_EQ(sender.wait(), 0);
  EXPECT_EQ(attachment_as(SOMEBODY, READERS), "image");
  EXPECT_EQ(attachment_as(SOMEBODY, OTHERS), "");
}

TEST_F(OtherUsers, OutsideTheGroupAreKeptOut) { EXPECT_EQ(read_as(SOMEBODY, OTHERS), 51); }

}  // namespace
}  // namespace msg_consumer::service
