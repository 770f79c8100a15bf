// SPDX-License-Identifier: Apache-2.0
#ifndef MSGCTL_SERVICE_BUS_HPP
#define MSGCTL_SERVICE_BUS_HPP

#include <gio/gio.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "msgctl/owned.hpp"

namespace msgctl {

/// A change that the service has kept.
struct KeptChange {
  std::int64_t revision;
  std::string signal;
  std::string text;
};

/// A part of the service's journal; both revisions are 0 where nothing is kept.
struct KeptChanges {
  std::vector<KeptChange> changes;
  std::int64_t oldest = 0;
  std::int64_t newest = 0;
};

struct DeviceRequest {
  std::int64_t id;
  std::string request;
  int argument;
  std::int64_t time_ms;
};

/// What the service answers outside of the library: its journal, and export and import.
class ServiceBus {
 public:
  /// Connects to the system bus. Throws a Failure.
  ServiceBus();

  [[nodiscard]] GDBusConnection* connection() const { return _bus.get(); }

  /// The changes after a revision, as many as one answer holds. Nothing where the service keeps no journal; throws a
  /// Failure where it does not answer.
  std::optional<KeptChanges> changes_after(std::int64_t revision, std::uint32_t limit) const;

  /// What was asked of the paired device, as far as it is kept; nothing where the service keeps no journal.
  std::optional<std::vector<DeviceRequest>> device_requests() const;

  enum class Transfer { Export, Import };

  /// Has the service export to, or import from, one end of a socket, and meanwhile calls `work` with the other end.
  /// Returns the service's summary. What `work` throws is thrown, unless the service has an error to tell.
  std::string transfer(Transfer direction, const std::function<void(int socket)>& work) const;

 private:
  Owned<GDBusConnection, g_object_unref> _bus;
};

}  // namespace msgctl

#endif
