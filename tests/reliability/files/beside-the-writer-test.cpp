// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <msg-consumer-common/db.h>

#include "file-faults.hpp"
#include "reliability/whole/every-query.hpp"
#include "reliability/whole/service-on-disk.hpp"
#include "support/environment.hpp"
#include "support/figures.hpp"
#include "support/temp-dir.hpp"

namespace msg_consumer::test {
namespace {

class BesideTheWriter : public testing::TestWithParam<Query> {
 protected:
  BesideTheWriter() { service.fill(_folder.path()); }
  ~BesideTheWriter() override { db::deinit_db(); }

  /// Asks at each moment at which `work` touches a file: the answer is that from before or from after, and at once.
  template <typename Work>
  void ask_during(Work&& work) {
    const Answer before = GetParam().ask();
    std::vector<Answer> answers;
    bool is_asking = false;
    _files.on_change = [&] {
      if (std::exchange(is_asking, true)) return;
      answers.push_back(GetParam().ask());
      is_asking = false;
    };
    work();
    _files.on_change = nullptr;
    const Answer after = GetParam().ask();
    for (const Answer& answer : answers) EXPECT_TRUE(answer == before || answer == after) << answer;
    EXPECT_EQ(_files.waits(), 0);
    EXPECT_GT(answers.size(), 1U);
    report_figure("queries in the midst of a change", static_cast<std::int64_t>(answers.size()),
                  HasFailure() ? 0 : static_cast<std::int64_t>(answers.size()));
  }

  void checkpoint(int mode) {
    const auto result = sqlite3_wal_checkpoint_v2(service.store().database(), nullptr, mode, nullptr, nullptr);
    EXPECT_EQ(result, SQLITE_OK);
  }

 private:
  TempDir _folder;
  EnvironmentVariable _database{"MSG_CONSUMER_DB", ServiceOnDisk::database_in(_folder.path())};
  FaultyFiles _files;

 protected:
  ServiceOnDisk service{_folder.path()};
};

TEST_P(BesideTheWriter, NobodyWaitsForACommit) {
  ask_during([this] {
    service.store().transact([this] { service.store().device_requests().add("show", 1, 1); });
    EXPECT_EQ(service.send("+491701000001", "one more needle").outcome.status, service::STATUS_OK);
  });
}

TEST_P(BesideTheWriter, NobodyWaitsForACheckpoint) {
  ask_during([this] { checkpoint(SQLITE_CHECKPOINT_PASSIVE); });
}

TEST_P(BesideTheWriter, NobodyWaitsWhileTheLogIsEmptied) {
  ask_during([this] { checkpoint(SQLITE_CHECKPOINT_TRUNCATE); });
}

INSTANTIATE_TEST_SUITE_P(EachQuery, BesideTheWriter, testing::ValuesIn(every_query()),
                         [](const auto& row) { return row.param.name; });

}  // namespace
}  // namespace msg_consumer::test
