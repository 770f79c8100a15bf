// SPDX-License-Identifier: Apache-2.0
#include <map>

#include "transfer-on-bus.hpp"

namespace msg_consumer::test {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

constexpr const char* journal = "com.velmora.message.consumer.journal";

class Journal : public TransferOnBus {
 protected:
  std::string changes(std::uint64_t since, std::uint32_t limit) {
    return _caller.call(journal, "get_changes", g_variant_new("(tu)", since, limit));
  }

  Caller _caller{_bus.address()};
};

TEST_F(Journal, IsEmptyAtFirst) { EXPECT_EQ(changes(0, 10), "([], 0, 0)"); }

TEST_F(Journal, TellsWhatCameAfterARevision) {
  ASSERT_EQ(msgctl({"import", file_of(3)}).status, 0);
  ASSERT_EQ(msgctl({"read", "1", "2"}).status, 0);
  EXPECT_THAT(changes(1, 1), StartsWith("([(2, 'storage_changed', '{\"event\":\"changed\",\"revision\":2,"));
  EXPECT_THAT(changes(1, 1), testing::EndsWith("], 1, 3)"));
  EXPECT_EQ(changes(3, 10), "([], 1, 3)");
  EXPECT_EQ(changes(0, 0), "([], 1, 3)");
  EXPECT_EQ(changes(G_MAXUINT64, 10), "([], 1, 3)");
}

TEST_F(Journal, TellsWhatWasAskedOfTheDevice) {
  ASSERT_EQ(msgctl({"request-default-sms"}).status, 0);
  EXPECT_THAT(_caller.call(journal, "get_device_requests", g_variant_new("(xu)", gint64{0}, 10U)),
              HasSubstr("(1, 'send_change_sms_application_request', 1, "));
  EXPECT_EQ(_caller.call(journal, "get_device_requests", g_variant_new("(xu)", gint64{1}, 10U)), "([],)");
  EXPECT_EQ(msgctl({"status", "--json"}).json().at("item").at("device_requests").at("count"), 1);
}

// What each method takes and gives, as the XML says it.
std::map<std::string, std::string> methods_of(const std::string& xml, const char* interface) {
  std::map<std::string, std::string> methods;
  const std::unique_ptr<GDBusNodeInfo, decltype(&g_dbus_node_info_unref)> node(
      g_dbus_node_info_new_for_xml(xml.c_str(), nullptr), g_dbus_node_info_unref);
  if (!node) return methods;
  const GDBusInterfaceInfo* info = g_dbus_node_info_lookup_interface(node.get(), interface);
  if (info == nullptr) return methods;
  const auto text_of = [](GDBusArgInfo** arguments) {
    std::string text;
    for (; arguments != nullptr && *arguments != nullptr; ++arguments) {
      text += std::string((*arguments)->signature) + " " + (*arguments)->name + ", ";
    }
    return text;
  };
  for (GDBusMethodInfo** method = info->methods; *method != nullptr; ++method) {
    methods[(*method)->name] = text_of((*method)->in_args) + "-> " + text_of((*method)->out_args);
  }
  return methods;
}

TEST_F(Journal, AndTransferAreOfferedAsPublished) {
  const Shared<GDBusConnection> bus(
      g_dbus_connection_new_for_address_sync(
          _bus.address().c_str(),
          static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                            G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
          nullptr, nullptr, nullptr),
      g_object_unref);
  const std::unique_ptr<GVariant, decltype(&g_variant_unref)> reply(
      g_dbus_connection_call_sync(bus.get(), "com.velmora.message.consumer", "/com/velmora/message/consumer",
                                  "org.freedesktop.DBus.Introspectable", "Introspect", nullptr, nullptr,
                                  G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr),
      g_variant_unref);
  ASSERT_TRUE(reply);
  const char* xml = nullptr;
  g_variant_get(reply.get(), "(&s)", &xml);
  for (const std::string name : {"journal", "transfer"}) {
    const std::string interface = "com.velmora.message.consumer." + name;
    const auto published = methods_of(read_file(std::string(INTERFACES) + "/" + interface + ".xml"), interface.c_str());
    EXPECT_EQ(published.size(), 2U);
    EXPECT_EQ(methods_of(xml, interface.c_str()), published);
  }
}

}  // namespace
}  // namespace msg_consumer::test
