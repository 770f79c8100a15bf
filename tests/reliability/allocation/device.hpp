// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_TESTS_ALLOCATION_DEVICE_HPP
#define MSG_CONSUMER_TESTS_ALLOCATION_DEVICE_HPP

#include <msg-consumer-common/Message.h>

#include <cstddef>
#include <string>

#include "bus/fake-service.hpp"
#include "support/environment.hpp"
#include "support/private-bus.hpp"
#include "support/temp-dir.hpp"
#include "unit/store/test-store.hpp"

namespace msg_consumer::test {

/// What an application finds: preferences, a store with a little of everything, a bus, and a service on it that takes
/// every command. All texts are too long to be kept without memory of their own.
class Device {
 public:
  Device();

  /// The preferences as they are when all is well.
  void write_preferences(const std::string& more = "") const;

  /// What the store holds, byte for byte.
  [[nodiscard]] std::size_t checksum() const;

  /// How many commands have reached the service.
  [[nodiscard]] std::size_t commands() const { return service.calls().size(); }

  TempDir folder;
  std::string preferences = folder.file("preferences.ini");
  EnvironmentVariable preferences_location{"MSG_CONSUMER_PREFERENCES", preferences};
  EnvironmentVariable silence{"MSG_CONSUMER_LOG_LEVEL", "7"};
  TestStore store;
  PrivateBus bus;
  FakeService service{bus.address()};
  int thread = 0;
  int message = 0;

  static constexpr const char* PARTICIPANT = "a participant with a long name@example.org";
  static constexpr const char* OBJECT = "an object of the network store, the first";
  static constexpr int NEW_ID = 4711;
};

}  // namespace msg_consumer::test

#endif
