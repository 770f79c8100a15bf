// SPDX-License-Identifier: Apache-2.0
#include <msg-consumer-platform/app-control.h>

#include <array>
#include <chrono>
#include <filesystem>
#include <msg-consumer-platform/releaser.hpp>
#include <optional>
#include <string>
#include <thread>

#include "platform/sentences.hpp"

namespace msg_consumer::conformance {
namespace {

using Clock = std::chrono::steady_clock;

// An application that starts slowly must not keep its caller: far less than such a start, far more than a message.
constexpr std::chrono::seconds AT_ONCE{2};
constexpr std::chrono::seconds START_PATIENCE{10};

using Request = Owned<app_control_s, app_control_destroy>;

Request make_request(Findings& findings) {
  app_control_h request = nullptr;
  findings.equal("the status of app_control_create", 0, app_control_create(&request));
  findings.expect(request != nullptr, "app_control_create makes nothing");
  return Request(request);
}

void expect_negative(Findings& findings, const std::string& what, int status) {
  findings.expect(status < 0, what + " gives " + std::to_string(status) + " and not a negative status");
}

void make_and_release(Findings& findings) {
  for (int i = 0; i < 1000; ++i) {
    app_control_h request = nullptr;
    findings.equal("the status of app_control_create", 0, app_control_create(&request));
    if (!findings.expect(request != nullptr, "app_control_create makes nothing")) return;
    findings.equal("the status of app_control_destroy", 0, app_control_destroy(request));
  }
}

void keep_requests_apart(Findings& findings) {
  const Request first = make_request(findings);
  const Request second = make_request(findings);
  findings.expect(first != second, "two requests are one");
}

void name_application(Findings& findings) {
  const Request request = make_request(findings);
  for (const char* id : {"com.example.application", "com.example.other", "com.velmora.message.consumer"}) {
    findings.equal(std::string("the status of app_control_set_app_id(") + id + ")", 0,
                   app_control_set_app_id(request.get(), id));
  }
}

void refuse_null(Findings& findings) {
  const Request request = make_request(findings);
  expect_negative(findings, "app_control_create without an output", app_control_create(nullptr));
  expect_negative(findings, "app_control_set_app_id without a request", app_control_set_app_id(nullptr, "a.b"));
  expect_negative(findings, "app_control_set_app_id without a name", app_control_set_app_id(request.get(), nullptr));
  expect_negative(findings, "app_control_send_launch_request without a request",
                  app_control_send_launch_request(nullptr, nullptr, nullptr));
  expect_negative(findings, "app_control_destroy without a request", app_control_destroy(nullptr));
}

void refuse_nobody(Findings& findings) {
  const Request request = make_request(findings);
  expect_negative(findings, "a launch request for nobody",
                  app_control_send_launch_request(request.get(), nullptr, nullptr));
}

void refuse_empty_name(Findings& findings) {
  const Request request = make_request(findings);
  const int named = app_control_set_app_id(request.get(), "");
  const int sent = app_control_send_launch_request(request.get(), nullptr, nullptr);
  findings.expect(named < 0 || sent < 0, "an empty name is taken, and launched");
}

/// The application that may be launched; none, and the sentence is skipped, when there is none.
std::optional<std::string> application(Findings& findings) {
  auto id = findings.option("application");
  if (!id) findings.skip("--application names none that may be launched");
  return id;
}

/// Sends a launch request and returns its status; holds that it does not wait.
int launch(Findings& findings, const Request& request) {
  const auto begin = Clock::now();
  const int status = app_control_send_launch_request(request.get(), nullptr, nullptr);
  const auto needed = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - begin);
  findings.expect(needed < AT_ONCE, "the request took " + std::to_string(needed.count()) + " ms");
  return status;
}

void start_application(Findings& findings) {
  const auto id = application(findings);
  if (!id) return;
  const auto mark = findings.option("started");
  if (!mark) return findings.skip("--started names no file that the application makes");
  std::filesystem::remove(*mark);
  const Request request = make_request(findings);
  std::string name = *id;
  findings.equal("the status of app_control_set_app_id", 0, app_control_set_app_id(request.get(), name.c_str()));
  // The request has a copy of its own.
  name.assign(name.size(), 'x');
  findings.equal("the status of the launch request", 0, launch(findings, request));
  const auto deadline = Clock::now() + START_PATIENCE;
  while (!std::filesystem::exists(*mark) && Clock::now() < deadline) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  findings.expect(std::filesystem::exists(*mark), "the application did not start");
}

void wait_for_nobody(Findings& findings) {
  const auto id = application(findings);
  if (!id) return;
  const Request request = make_request(findings);
  findings.equal("the status of app_control_set_app_id", 0, app_control_set_app_id(request.get(), id->c_str()));
  findings.equal("the status of the launch request", 0, launch(findings, request));
}

// Whether it is refused or nothing happens is the platform's business.
void survive_unknown_application(Findings& findings) {
  if (!application(findings)) return;
  const Request request = make_request(findings);
  if (app_control_set_app_id(request.get(), "com.example.no.such.application") == 0) launch(findings, request);
}

}  // namespace

Sentences app_control_sentences() {
  return {
      {"applications", "a request is made and released", DEFAULTS, make_and_release},
      {"applications", "each request is one of its own", DEFAULTS, keep_requests_apart},
      {"applications", "a request names its application, and may name another", DEFAULTS, name_application},
      {"applications", "a call without request, name or output is refused", DEFAULTS, refuse_null},
      {"applications", "a launch request for nobody is refused", DEFAULTS, refuse_nobody},
      {"applications", "an empty name is refused", DEFAULTS, refuse_empty_name},
      {"applications", "a launch request starts the application", DEFAULTS, start_application},
      {"applications", "a launch request does not wait for the application", DEFAULTS, wait_for_nobody},
      {"applications", "a launch request for an unknown application does no harm", DEFAULTS,
       survive_unknown_application},
  };
}

}  // namespace msg_consumer::conformance
