// SPDX-License-Identifier: Apache-2.0
#include "client-test.hpp"
#include "request-test.hpp"

#include <msg-consumer/ipc/CRequestSync.h>

using namespace msg_consumer;

namespace {

IRequestSync& requests() {
  static CRequestSync instance;
  return instance;
}

INSTANTIATE_TEST_SUITE_P(Device, Request,
                         testing::Values(RequestRow{"ShowOnDevice",
                                                    [] { return requests().showOnDevice(5); },
                                                    "CRequestSync.cpp",
                                                    "showOnDevice",
                                                    "show_on_device",
                                                    "(5,)",
                                                    {"msgId:(5)"}},
                                         RequestRow{"ShowANegativeIdOnDevice",
                                                    [] { return requests().showOnDevice(-5); },
                                                    "CRequestSync.cpp",
                                                    "showOnDevice",
                                                    "show_on_device",
                                                    "(-5,)",
                                                    {"msgId:(-5)"}},
                                         RequestRow{"BecomeDefault",
                                                    [] { return requests().reqChangeDefaultSmsApplication(true); },
                                                    "CRequestSync.cpp",
                                                    "reqChangeDefaultSmsApplication",
                                                    "send_change_sms_application_request",
                                                    "(true,)",
                                                    {"status: (1)"}},
                                         RequestRow{"StopBeingDefault",
                                                    [] { return requests().reqChangeDefaultSmsApplication(false); },
                                                    "CRequestSync.cpp",
                                                    "reqChangeDefaultSmsApplication",
                                                    "send_change_sms_application_request",
                                                    "(false,)",
                                                    {"status: (0)"}}),
                         [](const auto& row) { return row.param.name; });

}  // namespace
