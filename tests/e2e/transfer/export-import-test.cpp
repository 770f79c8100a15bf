// SPDX-License-Identifier: Apache-2.0
#include <csignal>

#include "transfer-on-bus.hpp"

namespace msg_consumer::test {
namespace {

using testing::HasSubstr;

// A second bus with an empty store; the environment is the first one's again once it is gone.
class OtherDevice {
 public:
  OtherDevice() { _bus.add_activatable_service("com.velmora.message.consumer", SERVICE_PATH); }
  ~OtherDevice() {
    const Shared<GDBusConnection> bus(connect(), g_object_unref);
    const std::unique_ptr<GVariant, decltype(&g_variant_unref)> reply(
        g_dbus_connection_call_sync(bus.get(), "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                                    "GetConnectionUnixProcessID", g_variant_new("(s)", "com.velmora.message.consumer"),
                                    nullptr, G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr),
        g_variant_unref);
    guint32 process = 0;
    if (reply) g_variant_get(reply.get(), "(u)", &process);
    if (process != 0) end_process(static_cast<int>(process), SIGTERM);
  }
  OtherDevice(const OtherDevice&) = delete;
  OtherDevice& operator=(const OtherDevice&) = delete;

 private:
  GDBusConnection* connect() const {
    return g_dbus_connection_new_for_address_sync(
        _bus.address().c_str(),
        static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                          G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
        nullptr, nullptr, nullptr);
  }

  TempDir _folder;
  EnvironmentVariable _database{"MSG_CONSUMER_DB", _folder.file("messages.db")};
  EnvironmentVariable _preferences{"MSG_CONSUMER_PREFERENCES", _folder.file("preferences.ini")};
  EnvironmentVariable _files{"MSG_CONSUMER_FILES", _folder.file("files")};
  PrivateBus _bus;
};

class ExportAndImport : public TransferOnBus {
 protected:
  std::string _file = _folder.file("store.jsonl");
};

TEST_F(ExportAndImport, MoveAStoreToAnotherDevice) {
  send("+15550100", "hi");
  const std::string picture = _folder.file("cat.png");
  write_file(picture, std::string(300'000, 'c'));
  ASSERT_EQ(msgctl({"mms", "--to", "+15550101", "--file", picture, "look"}).status, 0);
  ASSERT_TRUE(
      wait_until([&] { return message(2).at("delivery") == "delivered" && message(1).at("delivery") == "delivered"; }));
  const Outcome exported = msgctl({"export", _file, "--json"});
  ASSERT_EQ(exported.status, 0) << exported.err;
  EXPECT_EQ(exported.json().at("item").at("messages"), 2);
  EXPECT_EQ(std::filesystem::status(_file).permissions(),
            std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);

  const OtherDevice other;
  const Outcome imported = msgctl({"import", _file, "--json"});
  ASSERT_EQ(imported.status, 0) << imported.err;
  EXPECT_EQ(imported.json().at("item").at("messages").at("added"), 2);
  EXPECT_EQ(message(1).at("body"), "hi");
  const std::string again = _folder.file("again.jsonl");
  ASSERT_EQ(msgctl({"export", again}).status, 0);
  EXPECT_EQ(read_file(again), read_file(_file));
  const std::string copy = _folder.file("copy.png");
  ASSERT_EQ(msgctl({"content", "get", "2", copy}).status, 0);
  EXPECT_EQ(read_file(copy), read_file(picture));
}

TEST_F(ExportAndImport, NothingIsOverwritten) {
  send("+15550100", "hi");
  write_file(_file, "mine");
  const Outcome run = msgctl({"export", _file});
  EXPECT_EQ(run.status, 5);
  EXPECT_THAT(run.err, HasSubstr("exists already"));
  EXPECT_EQ(read_file(_file), "mine");
}

TEST_F(ExportAndImport, GoThroughPipesOfTheShell) {
  send("+15550100", "hi");
  const Outcome run =
      shell("\"$MSGCTL\" export | cat > '" + _file + "' && cat '" + _file + "' | \"$MSGCTL\" import - --json");
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(run.json().at("item").at("messages").at("present"), 1);
}

TEST_F(ExportAndImport, EachLineIsAsTheSchemaSays) {
  send("+15550100", "hi");
  ASSERT_EQ(msgctl({"export", _file}).status, 0);
  Process check(
      {"python3", "-c",
       "import json, sys, jsonschema\n"
       "check = jsonschema.Draft202012Validator(json.load(open(sys.argv[1])))\n"
       "for line in open(sys.argv[2]): check.validate(json.loads(line))\n"
       "assert not check.is_valid({'kind': 'message', 'type': 'sms', 'direction': 'sideways', 'time_ms': 5})\n",
       EXPORT_SCHEMA, _file});
  EXPECT_EQ(check.wait(), 0) << check.standard_error();
}

TEST_F(ExportAndImport, ABrokenFileIsToldByLineAndMember) {
  write_file(_file, "{\"kind\":\"store\",\"version\":1}\n{\"kind\":\"thread\",\"id\":\"one\"}\n");
  const Outcome run = msgctl({"import", _file});
  EXPECT_EQ(run.status, 5);
  EXPECT_THAT(run.err, HasSubstr("broken at line 2, member 'id'"));
}

TEST_F(ExportAndImport, AnotherFileIsRefused) {
  write_file(_file, "hello");
  EXPECT_EQ(msgctl({"import", _file}).status, 5);
  EXPECT_EQ(msgctl({"import", _folder.file("missing")}).status, 5);
}

TEST_F(ExportAndImport, AnXmlBackupIsTakenOnce) {
  write_file(_file,
             "<?xml version='1.0' encoding='UTF-8'?>\n<smses count='1'><sms address='+15550100' type='1' "
             "date='1600000000000' body='Hi &#55357;&#56832;' read='0'/></smses>");
  EXPECT_EQ(msgctl({"import", _file, "--json"}).json().at("item").at("messages").at("added"), 1);
  EXPECT_EQ(msgctl({"import", _file, "--json"}).json().at("item").at("messages").at("present"), 1);
  EXPECT_EQ(message(1).at("body"), "Hi \U0001F600");
  EXPECT_EQ(message(1).at("read"), false);
}

TEST_F(ExportAndImport, ABrokenBackupKeepsWhatCameBefore) {
  write_file(_file, "<smses>\n<sms address='+15550100' type='1' date='1600000000000' body='x'/>\n<sms ad");
  const Outcome run = msgctl({"import", _file, "--json"});
  EXPECT_EQ(run.status, 5);
  EXPECT_THAT(run.json_error().at("message"), HasSubstr("line 3"));
  EXPECT_EQ(run.json().at("item").at("messages").at("added"), 1);
  EXPECT_EQ(messages(), 1);
}

TEST_F(ExportAndImport, AServiceThatDiesIsFollowedByAnImportOfTheRest) {
  constexpr int count = 6000;
  const std::string file = file_of(count);
  ASSERT_EQ(msgctl({"status"}).status, 0);
  Process import({MSGCTL_PATH, "import", file});
  ASSERT_TRUE(wait_until([&] { return messages() > 0; }));
  const std::optional<int> service = service_process();
  ASSERT_TRUE(service);
  end_process(*service, SIGKILL);
  EXPECT_EQ(import.wait(), 4) << import.standard_error();
  const std::int64_t before = messages();
  EXPECT_LT(before, count);
  const Outcome rest = msgctl({"import", file, "--json"});
  ASSERT_EQ(rest.status, 0) << rest.err;
  EXPECT_EQ(rest.json().at("item").at("messages").at("present"), before);
  EXPECT_EQ(messages(), count);
}

}  // namespace
}  // namespace msg_consumer::test
