// SPDX-License-Identifier: Apache-2.0
#include <glib.h>
#include <gtest/gtest.h>
#include <msg-consumer-platform/log.h>
#include <unistd.h>

#include <cstdlib>
#include <map>
#include <msg-consumer-platform/logging.hpp>
#include <string>
#include <vector>

#include "support/process.hpp"

namespace {

using Fields = std::map<std::string, std::string>;

// NOLINTBEGIN(cppcoreguidelines-avoid-non-const-global-variables)
bool stderr_is_journal = true;
bool journal_works = true;
int asked_descriptor = -1;
std::vector<Fields> journal;
// NOLINTEND(cppcoreguidelines-avoid-non-const-global-variables)

}  // namespace

// These take the places of GLib's own, which ask for a socket of the machine's journal.
gboolean g_log_writer_is_journald(gint output_fd) {
  asked_descriptor = output_fd;
  return stderr_is_journal ? TRUE : FALSE;
}

GLogWriterOutput g_log_writer_journald(GLogLevelFlags /*level*/, const GLogField* fields, gsize count,
                                       gpointer /*user_data*/) {
  if (!journal_works) {
    return G_LOG_WRITER_UNHANDLED;
  }
  Fields entry;
  for (gsize i = 0; i < count; ++i) {
    EXPECT_EQ(fields[i].length, -1);
    entry[fields[i].key] = static_cast<const char*>(fields[i].value);
  }
  journal.push_back(entry);
  return G_LOG_WRITER_HANDLED;
}

namespace msg_consumer::test {
namespace {

TEST(Journal, TakesEachLineWithItsPriorityAndTag) {
  setenv("MSG_CONSUMER_LOG_LEVEL", "3", 1);
  constexpr CallSite site{"File.cpp", "function", 12};
  LOG_ERROR(site, "[ERROR] %s", "one\ntwo");
  LOG_WARNING(site, "w");
  LOG_INFO(site, "i");
  EXPECT_EQ(__dlog_print(0, 3, "OTHER", "d"), LOG_PRINT_OK);

  EXPECT_EQ(asked_descriptor, STDERR_FILENO);
  const auto entry = [](const char* message, const char* priority, const char* identifier) {
    return Fields{{"MESSAGE", message}, {"PRIORITY", priority}, {"SYSLOG_IDENTIFIER", identifier}};
  };
  EXPECT_EQ(journal, (std::vector<Fields>{
                         entry("File.cpp: function(12) > [ERROR] one\\ntwo", "3", "MSG_CONSUMER"),
                         entry("File.cpp: function(12) > w", "4", "MSG_CONSUMER"),
                         entry("File.cpp: function(12) > i", "6", "MSG_CONSUMER"),
                         entry("d", "7", "OTHER"),
                     }));
}

TEST(Journal, ThatTookALineKeepsItOffStderr) {
  Process process([] { return __dlog_print(0, 6, "MSG_CONSUMER", "line"); });
  EXPECT_EQ(process.wait(), LOG_PRINT_OK);
  EXPECT_EQ(process.standard_error(), "");
}

TEST(Journal, ThatStderrIsNotConnectedToGetsNothing) {
  Process process([] {
    journal.clear();
    stderr_is_journal = false;
    const int status = __dlog_print(0, 6, "MSG_CONSUMER", "line");
    return journal.empty() ? status : 1;
  });
  EXPECT_EQ(process.wait(), LOG_PRINT_OK);
  EXPECT_NE(process.standard_error(), "");
}

TEST(Journal, ThatFailsLeavesTheLineToStderr) {
  Process process([] {
    journal_works = false;
    return __dlog_print(0, 6, "MSG_CONSUMER", "line");
  });
  EXPECT_EQ(process.wait(), LOG_PRINT_OK);
  EXPECT_EQ(process.standard_error(), "E/MSG_CONSUMER(" + std::to_string(process.pid()) + "): line\n");
}

}  // namespace
}  // namespace msg_consumer::test
