// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <msg-consumer-common/db.h>

#include <filesystem>

#include "file-faults.hpp"
#include "reliability/whole/every-query.hpp"
#include "reliability/whole/service-on-disk.hpp"
#include "support/environment.hpp"
#include "support/figures.hpp"
#include "support/temp-dir.hpp"

namespace msg_consumer::test {
namespace {

/// How the query finds the database.
enum class State {
  OPEN,       ///< as it left it
  CLOSED,     ///< in use by the service
  LEFT_OVER,  ///< as a service left it that was killed: whoever comes first recovers it
};

class FaultsInReading : public testing::TestWithParam<Query> {
 protected:
  FaultsInReading() {
    _service.fill(_folder.path());
    _expected = GetParam().ask();
    for (const char* suffix : {"", "-wal"}) {
      std::filesystem::copy_file(_path + suffix, ServiceOnDisk::database_in(_left_over.path()) + suffix);
    }
    // From here on, what is read lies in the database itself.
    sqlite3_wal_checkpoint_v2(_service.store().database(), nullptr, SQLITE_CHECKPOINT_PASSIVE, nullptr, nullptr);
  }
  ~FaultsInReading() override { db::deinit_db(); }

  void try_each(State state) {
    const std::string path = state == State::LEFT_OVER ? ServiceOnDisk::database_in(_left_over.path()) : _path;
    const EnvironmentVariable database("MSG_CONSUMER_DB", path);
    for (const FileFault& fault : FILE_FAULTS) {
      for (const bool persists : {false, true}) {
        db::deinit_db();
        ASSERT_EQ(GetParam().ask(), _expected);
        ASSERT_NO_FATAL_FAILURE(try_each(fault, state, persists));
      }
    }
  }

  int tried = 0;
  int survived = 0;

 private:
  /// Lets each call of a kind fail in turn, until there is no further one.
  void try_each(const FileFault& fault, State state, bool persists) {
    for (int number = 0;; ++number) {
      if (state != State::OPEN) db::deinit_db();
      _files.arm(fault, number, persists);
      const Answer answer = GetParam().ask();
      if (!_files.disarm()) {
        ASSERT_EQ(answer, _expected);
        return;
      }
      ++tried;
      ASSERT_TRUE(answer == _expected || is_error(answer))
          << fault.name << " at call " << number << (persists ? " and after" : "") << ": " << answer;
      ASSERT_EQ(GetParam().ask(), _expected) << "after " << fault.name << " at call " << number;
      ++survived;
    }
  }

  // That there is nothing, or that the caller erred, would be wrong.
  static bool is_error(const Answer& answer) {
    return answer.status != db::DB_OK && answer.status != db::DB_NO_RECORD && answer.status != db::DB_NO_STORE &&
           answer.status != db::DB_INVALID_ARGUMENT && answer.text.empty();
  }

  TempDir _folder;
  TempDir _left_over;
  std::string _path = ServiceOnDisk::database_in(_folder.path());
  EnvironmentVariable _database{"MSG_CONSUMER_DB", _path};
  EnvironmentVariable _log{"MSG_CONSUMER_LOG_LEVEL", "7"};
  ServiceOnDisk _service{_folder.path()};
  FaultyFiles _files;
  Answer _expected;
};

TEST_P(FaultsInReading, AreAnsweredWithAnErrorOrTheWholeTruth) {
  ASSERT_NO_FATAL_FAILURE(try_each(State::CLOSED));
  ASSERT_NO_FATAL_FAILURE(try_each(State::OPEN));
  EXPECT_GT(survived, 30);
  report_figure("file faults in reading", tried, survived);
}

INSTANTIATE_TEST_SUITE_P(EachQuery, FaultsInReading, testing::ValuesIn(every_query()),
                         [](const auto& row) { return row.param.name; });

class FaultsInRecovery : public FaultsInReading {};

TEST_P(FaultsInRecovery, AreAnsweredWithAnErrorOrTheWholeTruth) {
  ASSERT_NO_FATAL_FAILURE(try_each(State::LEFT_OVER));
  EXPECT_GT(survived, 300);
  report_figure("file faults in recovery by a reader", tried, survived);
}

// The recovery is the same for all.
INSTANTIATE_TEST_SUITE_P(SomeQueries, FaultsInRecovery,
                         testing::ValuesIn(every_query().begin(), every_query().begin() + 3),
                         [](const auto& row) { return row.param.name; });

}  // namespace
}  // namespace msg_consumer::test
