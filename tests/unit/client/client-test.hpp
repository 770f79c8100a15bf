// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_TESTS_UNIT_CLIENT_CLIENT_TEST_HPP
#define MSG_CONSUMER_TESTS_UNIT_CLIENT_CLIENT_TEST_HPP

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <string>

#include <msg-consumer/ipc/IPCProxy.h>

#include "fake-allocator.hpp"
#include "fake-gio.hpp"
#include "fake-platform.hpp"
#include "fake-store.hpp"
#include "support/log-capture.hpp"

using msg_consumer::test::LogCapture;

/// A test of the client library with everything below it replaced. Each test starts with a disconnected proxy, a bus
/// that answers 0, a store that finds nothing to say, and an empty log.
class ClientTest : public testing::Test {
 protected:
  // Nothing here makes the proxy's instance, so that a test may see what happens when it cannot be made.
  ClientTest() { reset_fakes(); }
  ~ClientTest() override {
    reset_fakes();
    if (auto* const proxy = msg_consumer::IPCProxy::getInstance()) proxy->disconnect();
    reset_fakes();
  }

  static void connect() {
    ASSERT_EQ(msg_consumer::IPCProxy::getInstance()->connect(), 0);
    LogCapture::instance().clear();
  }

  /// The lines of one priority, without colour and place.
  static std::vector<std::string> logged(int priority) {
    std::vector<std::string> messages;
    for (const auto& line : LogCapture::instance().lines()) {
      if (line.priority == priority) messages.push_back(line.message);
    }
    return messages;
  }
  static std::vector<std::string> errors() { return logged(6); }
  static std::vector<std::string> traces() { return logged(5); }
  static std::vector<std::string> notes() { return logged(4); }

  /// The one line that was logged at a priority; every line must speak for `file` and `function` in its colour.
  static void expect_line(int priority, const std::string& message, const std::string& file,
                          const std::string& function) {
    int found = 0;
    for (const auto& line : LogCapture::instance().lines()) {
      if (line.message != message) continue;
      ++found;
      EXPECT_EQ(line.priority, priority) << message;
      EXPECT_EQ(line.log_id, 0);
      EXPECT_EQ(line.tag, "MSG_CONSUMER");
      EXPECT_EQ(line.file, file) << message;
      EXPECT_EQ(line.function, function) << message;
      EXPECT_GT(line.line, 0);
      EXPECT_EQ(line.colour, priority == 6 ? "\033[31m" : priority == 5 ? "\033[35m" : "\033[32m") << message;
      EXPECT_EQ(line.format.rfind("%s: %s(%d) > ", 0), 0U) << line.format;
    }
    EXPECT_EQ(found, 1) << "lines that say \"" << message << "\"";
  }

 private:
  static void reset_fakes() {
    fake::allocator().reset();
    fake::store().reset();
    fake::platform().reset();
    fake::gio().reset();
    LogCapture::instance().clear();
  }
};

/// A result of the layers below and the status code that the C API makes of it.
struct StatusRow {
  int result;
  int status;
};
inline constexpr std::array<StatusRow, 9> STATUSES = {{
    {0, 0},
    {-1, -1},
    {-2, -2},
    {-3, -11},
    {-4, -4},
    {-5, -1},
    {5, -1},
    {-200, -1},
    {-1101, -9},
}};

#endif
