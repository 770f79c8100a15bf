// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <msg-consumer-platform/app-control.h>
#include <sys/stat.h>

#include <cstddef>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <msg-consumer-platform/releaser.hpp>
#include <new>
#include <string>

#include "support/environment.hpp"
#include "support/private-bus.hpp"
#include "support/temp-dir.hpp"
#include "support/wait-until.hpp"

namespace {
bool memory_is_short = false;  // NOLINT(cppcoreguidelines-avoid-non-const-global-variables)
}

// Takes the allocation of the platform library over. Its memory is released as any other.
// NOLINTNEXTLINE(misc-new-delete-overloads)
void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
  return memory_is_short ? nullptr : ::operator new(size);
}

namespace msg_consumer::test {
namespace {

namespace fs = std::filesystem;

constexpr const char* application = "org.example.Application";

using Request = Owned<app_control_s, app_control_destroy>;

Request new_request() {
  app_control_h handle = nullptr;
  EXPECT_EQ(app_control_create(&handle), APP_CONTROL_OK);
  return Request(handle);
}

Request request_for(const char* app_id) {
  Request request = new_request();
  EXPECT_EQ(app_control_set_app_id(request.get(), app_id), APP_CONTROL_OK);
  return request;
}

int launch(const Request& request) { return app_control_send_launch_request(request.get(), nullptr, nullptr); }

TEST(AppControl, ANullArgumentIsRefused) {
  const Request request = new_request();
  EXPECT_EQ(app_control_create(nullptr), APP_CONTROL_INVALID_ARGUMENT);
  EXPECT_EQ(app_control_set_app_id(nullptr, application), APP_CONTROL_INVALID_ARGUMENT);
  EXPECT_EQ(app_control_set_app_id(request.get(), nullptr), APP_CONTROL_INVALID_ARGUMENT);
  EXPECT_EQ(app_control_send_launch_request(nullptr, nullptr, nullptr), APP_CONTROL_INVALID_ARGUMENT);
  EXPECT_EQ(app_control_destroy(nullptr), APP_CONTROL_INVALID_ARGUMENT);
}

TEST(AppControl, RequestsAreIndependent) {
  const Request first = new_request();
  const Request second = request_for(application);
  EXPECT_NE(first.get(), second.get());
  EXPECT_EQ(launch(first), APP_CONTROL_NO_APP_ID);
}

TEST(AppControl, ShortMemoryIsAnErrorAndLeavesTheHandle) {
  app_control_h handle = nullptr;
  memory_is_short = true;
  const int status = app_control_create(&handle);
  memory_is_short = false;
  EXPECT_EQ(status, APP_CONTROL_OUT_OF_MEMORY);
  EXPECT_EQ(handle, nullptr);
}

TEST(AppControl, ARequestWithoutAnApplicationIsRefused) {
  const Request request = new_request();
  EXPECT_EQ(launch(request), APP_CONTROL_NO_APP_ID);
}

TEST(AppControl, AnIdThatIsNoWellKnownBusNameIsRefused) {
  for (const char* app_id :
       {"", "application", "org..example", "org.example.", ":1.5", "org.exa mple.App", "\xff.\xff"}) {
    const Request request = new_request();
    EXPECT_EQ(app_control_set_app_id(request.get(), app_id), APP_CONTROL_INVALID_APP_ID) << app_id;
    EXPECT_EQ(launch(request), APP_CONTROL_NO_APP_ID) << app_id;
  }
}

TEST(AppControl, ACallbackOrItsDataIsRefused) {
  const Request request = request_for(application);
  int data = 0;
  EXPECT_EQ(app_control_send_launch_request(
                request.get(), [](int, void*) {}, nullptr),
            APP_CONTROL_REPLY_NOT_SUPPORTED);
  EXPECT_EQ(app_control_send_launch_request(request.get(), nullptr, &data), APP_CONTROL_REPLY_NOT_SUPPORTED);
}

TEST(AppControl, ABusThatIsNotThereIsAnError) {
  const TempDir folder;
  const Request request = request_for(application);
  for (const std::string& address : {"unix:path=" + folder.file("nobody"), std::string("nonsense")}) {
    const EnvironmentVariable bus("DBUS_SYSTEM_BUS_ADDRESS", address);
    EXPECT_EQ(launch(request), APP_CONTROL_NO_BUS) << address;
  }
}

class Launch : public testing::Test {
 protected:
  // Makes `name` an application that, once it is launched, runs `commands`.
  void given_application(const char* name, const std::string& commands) {
    const std::string script = _folder.file(name);
    write_file(script, "#!/bin/sh\n" + commands + "\n");
    chmod(script.c_str(), 0700);
    _bus.add_activatable_service(name, script);
  }

  [[nodiscard]] fs::path marker() const { return _folder.path() / "launched"; }
  [[nodiscard]] std::string mark() const { return "echo launched >>" + marker().string(); }

  TempDir _folder;
  PrivateBus _bus;
};

TEST_F(Launch, StartsTheApplicationThroughTheSystemBus) {
  given_application(application, mark());
  EXPECT_EQ(launch(request_for(application)), APP_CONTROL_OK);
  EXPECT_TRUE(wait_until([this] { return fs::exists(marker()); }));
}

TEST_F(Launch, StartsTheApplicationNamedLast) {
  given_application(application, mark());
  const Request request = request_for("org.example.Other");
  ASSERT_EQ(app_control_set_app_id(request.get(), application), APP_CONTROL_OK);
  ASSERT_EQ(app_control_set_app_id(request.get(), "no name"), APP_CONTROL_INVALID_APP_ID);
  EXPECT_EQ(launch(request), APP_CONTROL_OK);
  EXPECT_TRUE(wait_until([this] { return fs::exists(marker()); }));
}

TEST_F(Launch, DoesNotWaitForTheApplication) {
  const std::string gate = _folder.file("gate");
  ASSERT_EQ(mkfifo(gate.c_str(), 0600), 0);
  given_application(application, "timeout 60 cat " + gate + " && " + mark());
  EXPECT_EQ(launch(request_for(application)), APP_CONTROL_OK);
  EXPECT_FALSE(fs::exists(marker()));
  std::ofstream(gate) << "go on";
  EXPECT_TRUE(wait_until([this] { return fs::exists(marker()); }));
}

TEST_F(Launch, OfAnUnknownApplicationIsNotNoticed) {
  EXPECT_EQ(launch(request_for("org.example.Unknown")), APP_CONTROL_OK);
}

TEST_F(Launch, WorksAgainAfterTheBusWasRestarted) {
  given_application(application, mark());
  const Request request = request_for(application);
  ASSERT_EQ(launch(request), APP_CONTROL_OK);
  ASSERT_TRUE(wait_until([this] { return fs::exists(marker()); }));
  _bus.kill();
  EXPECT_EQ(launch(request), APP_CONTROL_NO_BUS);
  fs::remove(marker());
  _bus.start();
  EXPECT_EQ(launch(request), APP_CONTROL_OK);
  EXPECT_TRUE(wait_until([this] { return fs::exists(marker()); }));
}

TEST_F(Launch, LeavesNoConnectionOpen) {
  const auto open_descriptors = [] { return std::distance(fs::directory_iterator("/proc/self/fd"), {}); };
  const Request request = request_for("org.example.Unknown");
  ASSERT_EQ(launch(request), APP_CONTROL_OK);  // starts GDBus's own thread, which stays
  const auto before = open_descriptors();
  for (int i = 0; i < 5; ++i) {
    ASSERT_EQ(launch(request), APP_CONTROL_OK);
  }
  EXPECT_TRUE(wait_until([&] { return open_descriptors() <= before; }));
}

}  // namespace
}  // namespace msg_consumer::test
