// SPDX-License-Identifier: Apache-2.0
#include <msg-consumer-common/ipc-commands.h>

#include <algorithm>
#include <map>

#include "service-on-bus.hpp"

namespace msg_consumer::service {
namespace {

using Node = Owned<GDBusNodeInfo, g_dbus_node_info_unref>;

class Contract : public ServiceOnBus {
 protected:
  /// What each member takes and gives, argument by argument.
  using Members = std::map<std::string, std::string>;

  static Node parse(const std::string& xml) {
    Node node(g_dbus_node_info_new_for_xml(xml.c_str(), nullptr));
    EXPECT_TRUE(node) << xml;
    return node;
  }
  static std::string text_of(GDBusArgInfo** arguments) {
    std::string text;
    for (GDBusArgInfo** argument = arguments; argument != nullptr && *argument != nullptr; ++argument) {
      text += std::string((*argument)->signature) + " " + (*argument)->name + ", ";
    }
    return text;
  }
  static std::string signature_of(GDBusArgInfo** arguments) {
    std::string text = "(";
    for (GDBusArgInfo** argument = arguments; argument != nullptr && *argument != nullptr; ++argument) {
      text += (*argument)->signature;
    }
    return text + ")";
  }
  static GDBusInterfaceInfo* interface_of(const Node& node) {
    GDBusInterfaceInfo* info = g_dbus_node_info_lookup_interface(node.get(), INTERFACE_NAME);
    EXPECT_NE(info, nullptr);
    return info;
  }
  static Members members_of(const Node& node) {
    Members members;
    const GDBusInterfaceInfo* info = interface_of(node);
    for (GDBusMethodInfo** method = info->methods; *method != nullptr; ++method) {
      members[std::string("method ") + (*method)->name] =
          text_of((*method)->in_args) + "-> " + text_of((*method)->out_args);
    }
    for (GDBusSignalInfo** signal = info->signals; *signal != nullptr; ++signal) {
      members[std::string("signal ") + (*signal)->name] = text_of((*signal)->args);
    }
    return members;
  }

  Node published = parse(test::read_file(INTERFACE_XML));
};

TEST_F(Contract, TheRunningServiceOffersWhatIsPublished) {
  Client client(bus.address());
  const Reply reply =
      client.call_on(BUS_NAME, OBJECT_PATH, "org.freedesktop.DBus.Introspectable", "Introspect", nullptr);
  ASSERT_EQ(reply.error, "");
  const char* xml = nullptr;
  g_variant_get(reply.value.get(), "(&s)", &xml);
  EXPECT_EQ(members_of(parse(xml)), members_of(published));
}

TEST_F(Contract, HasEveryCommandOfTheCatalogueAndNoOther) {
  const GDBusInterfaceInfo* info = interface_of(published);
  for (std::size_t index = 0; index < IPC_COMMAND_NAMES.size(); ++index) {
    const std::string name(IPC_COMMAND_NAMES.at(index));
    GDBusMethodInfo* method = g_dbus_interface_info_lookup_method(interface_of(published), name.c_str());
    ASSERT_NE(method, nullptr) << name;
    EXPECT_EQ(signature_of(method->in_args), IPC_COMMAND_FORMATS.at(index)) << name;
    const bool makes_a_message = name == "add_message" || name == "send_message" || name == "nms_send_message";
    EXPECT_EQ(signature_of(method->out_args), makes_a_message ? "(ii)" : "(i)") << name;
  }
  std::size_t methods = 0;
  while (info->methods[methods] != nullptr) {
    ++methods;
  }
  EXPECT_EQ(methods, IPC_COMMAND_NAMES.size());
}

TEST_F(Contract, HasFourSignalsWithOneTextEach) {
  for (const char* name : {"storage_changed", "content_changed", "groupchat_state_changed", "store_message_result"}) {
    GDBusSignalInfo* signal = g_dbus_interface_info_lookup_signal(interface_of(published), name);
    ASSERT_NE(signal, nullptr) << name;
    EXPECT_EQ(signature_of(signal->args), "(s)") << name;
  }
}

}  // namespace
}  // namespace msg_consumer::service
