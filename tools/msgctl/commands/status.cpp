// SPDX-License-Identifier: Apache-2.0
#include <nlohmann/json.hpp>
#include <optional>
#include <utility>
#include <vector>

#include "msgctl/api.hpp"
#include "msgctl/bus.hpp"
#include "msgctl/commands/commands.hpp"
#include "msgctl/connection.hpp"
#include "msgctl/json-text.hpp"
#include "msgctl/record-words.hpp"
#include "msgctl/service-bus.hpp"
#include "msgctl/text.hpp"
#include "msgctl/version.hpp"

namespace msgctl {
namespace {

using Json = nlohmann::ordered_json;

struct StoreCounts {
  std::int64_t threads = 0;
  std::int64_t messages = 0;
  std::int64_t unread = 0;
};

struct Status {
  ServiceOnBus service;
  std::optional<StoreCounts> store;
  std::optional<std::vector<DeviceRequest>> device_requests;
  std::optional<Failure> service_failure;
  std::optional<Failure> store_failure;
};

// The threads carry the counts, so no message has to be read.
StoreCounts count_store() {
  StoreCounts counts;
  for (const msg_thread_view_t& thread : get_threads()) {
    ++counts.threads;
    counts.messages += thread.num_6;
    counts.unread += thread.num_7;
  }
  return counts;
}

// A service without a journal, or one that does not answer, leaves them unknown.
std::optional<std::vector<DeviceRequest>> find_device_requests() {
  try {
    return ServiceBus().device_requests();
  } catch (const Failure&) {
    return std::nullopt;
  }
}

Status gather() {
  Status status;
  try {
    const Connection connection;
  } catch (const Failure& failure) {
    status.service_failure = failure;
  }
  try {
    status.store = count_store();
  } catch (const Failure& failure) {
    status.store_failure = failure;
  }
  status.service = look_at_bus();
  if (status.service.running) status.device_requests = find_device_requests();
  return status;
}

// Readiness outlives a service that was killed, so being connected does not mean that it runs.
std::string service_words(const Status& status) {
  const ServiceOnBus& service = status.service;
  if (service.running) return "running, process " + std::to_string(service.process_id);
  if (!service.bus_error.empty()) return "unknown, the bus does not answer";
  return service.activatable ? "not running; the next change starts it" : "not installed";
}

std::string store_words(const Status& status) {
  if (!status.store) return "not readable";
  return std::to_string(status.store->threads) + " threads, " + std::to_string(status.store->messages) + " messages, " +
         std::to_string(status.store->unread) + " unread";
}

std::string device_words(const Status& status) {
  if (!status.device_requests) return "unknown";
  if (status.device_requests->empty()) return "no requests";
  const DeviceRequest& newest = status.device_requests->back();
  return std::to_string(status.device_requests->size()) + " requests, the newest " + printable(newest.request) + " " +
         std::to_string(newest.argument) + " at " + local_time(static_cast<int>(newest.time_ms / 1000));
}

void print_words(Context& context, const Status& status) {
  const bool connected = !status.service_failure;
  context.out.write("service:    " + service_words(status) + "\n");
  context.out.write("connection: " +
                    styled(connected ? "ready" : "none", connected ? Style::Green : Style::Red, context.screen) + "\n");
  context.out.write("store:      " + store_words(status) + "\n");
  context.out.write("device:     " + device_words(status) + "\n");
  context.out.write(std::string("msgctl:     ") + version + "\n");
}

Json object_of(const ServiceOnBus& service) {
  return {{"name", service_name},
          {"running", service.running},
          {"process_id", service.running ? Json(service.process_id) : Json(nullptr)},
          {"activatable", service.activatable}};
}

Json object_of(const std::optional<StoreCounts>& counts) {
  if (!counts) return nullptr;
  return {{"threads", counts->threads}, {"messages", counts->messages}, {"unread", counts->unread}};
}

Json object_of(const std::optional<std::vector<DeviceRequest>>& requests) {
  if (!requests) return nullptr;
  Json newest = nullptr;
  if (!requests->empty()) {
    const DeviceRequest& last = requests->back();
    newest = {{"request", last.request}, {"argument", last.argument}, {"time", utc_time_ms(last.time_ms)}};
  }
  return {{"count", requests->size()}, {"newest", std::move(newest)}};
}

void print_json(Context& context, const Status& status) {
  write_json_item(context.out, "status",
                  json_text(Json{{"connected", !status.service_failure},
                                 {"bus_reachable", status.service.bus_error.empty()},
                                 {"service", object_of(status.service)},
                                 {"store", object_of(status.store)},
                                 {"device_requests", object_of(status.device_requests)},
                                 {"msgctl_version", version}}));
}

}  // namespace

Action configure_status(CLI::App& /*app*/) {
  return [](Context& context) {
    const Status status = gather();
    context.json ? print_json(context, status) : print_words(context, status);
    if (status.service_failure) context.report(*status.service_failure);
    if (status.store_failure) context.report(*status.store_failure);
  };
}

}  // namespace msgctl
