// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <exception>
#include <filesystem>
#include <functional>
#include <optional>

#include "file-faults.hpp"
#include "reliability/whole/service-on-disk.hpp"
#include "reliability/whole/store-check.hpp"
#include "support/environment.hpp"
#include "support/figures.hpp"
#include "support/temp-dir.hpp"
#include "unit/store/named-row.hpp"

namespace msg_consumer::test {
namespace {

/// What a service finds when it starts.
struct Start {
  const char* name;
  bool has_database;
  bool was_killed;  ///< what was written last is in the log alone
};

void PrintTo(const Start& start, std::ostream* out) { *out << start.name; }

class FaultsAtAStart : public testing::TestWithParam<Start> {
 protected:
  FaultsAtAStart() {
    std::filesystem::create_directory(_origin);
    if (GetParam().has_database) {
      std::optional<ServiceOnDisk> service(_origin);
      service->fill(_folder.path());
      _content = content_of(service->store().database());
      if (GetParam().was_killed) {
        std::filesystem::copy(_origin, _place, std::filesystem::copy_options::recursive);
        service.reset();
        std::filesystem::remove_all(_origin);
        std::filesystem::rename(_place, _origin);
        std::filesystem::remove(ServiceOnDisk::database_in(_origin) + "-shm");
      }
    }
  }

  /// Lets each call of a kind fail in turn, until there is no further one. The service starts, and ends.
  void try_each(const FileFault& fault, bool persists) {
    bool struck = true;
    for (int number = 0; struck; number = next_call(number)) {
      const auto where =
          std::string(fault.name) + " at call " + std::to_string(number) + (persists ? " and after" : "");
      std::filesystem::remove_all(_place);
      std::filesystem::copy(_origin, _place, std::filesystem::copy_options::recursive);
      _files.arm(fault, number, persists);
      bool failed = false;
      try {
        const ServiceOnDisk service(_place);
      } catch (const std::exception&) {
        failed = true;
      }
      struck = _files.disarm();
      ASSERT_TRUE(struck || !failed) << where;
      ASSERT_NO_FATAL_FAILURE(check(where));
      tried += struck ? 1 : 0;
    }
  }

  int tried = 0;

 private:
  /// The next start finds all that was there.
  void check(const std::string& where) {
    std::optional<ServiceOnDisk> successor;
    ASSERT_NO_THROW(successor.emplace(_place)) << where;
    ASSERT_EQ(damage_of(*successor), "") << where;
    if (GetParam().has_database) {
      ASSERT_EQ(content_of(successor->store().database()), _content) << where;
    }
    ASSERT_EQ(successor->send("+49170", "goes on").outcome.status, service::STATUS_OK) << where;
  }

  EnvironmentVariable _log{"MSG_CONSUMER_LOG_LEVEL", "7"};
  TempDir _folder;
  std::filesystem::path _origin = _folder.path() / "origin";
  std::filesystem::path _place = _folder.path() / "place";
  FaultyFiles _files;
  std::string _content;
};

TEST_P(FaultsAtAStart, LeaveAllThatWasThere) {
  for (const FileFault& fault : FILE_FAULTS) {
    for (const bool persists : {false, true}) {
      ASSERT_NO_FATAL_FAILURE(try_each(fault, persists));
    }
  }
  EXPECT_GT(tried, 50);
  report_figure("file faults at a start or an end", tried, tried);
}

constexpr Start STARTS[] = {
    {"TheFirst", false, false},
    {"AfterACleanEnd", true, false},
    {"AfterAKill", true, true},
};

INSTANTIATE_TEST_SUITE_P(EachStart, FaultsAtAStart, testing::ValuesIn(STARTS), test::name_of_row);

}  // namespace
}  // namespace msg_consumer::test
