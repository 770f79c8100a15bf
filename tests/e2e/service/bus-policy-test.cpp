// SPDX-License-Identifier: Apache-2.0
#include <fcntl.h>
#include <grp.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <sstream>

#include "service-on-bus.hpp"
#include "service/inbox.hpp"

// The service as it is installed: its own user, the folders, and the bus's policy. There are two ways to a message, the
// bus and the files, and each user must find both open or both closed.

namespace msg_consumer::service {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::Not;

constexpr gid_t READERS = 54330;
constexpr int CANNOT_CONFINE = 77;
constexpr const char* DENIED = "org.freedesktop.DBus.Error.AccessDenied";
constexpr const char* DELAY = "consumer_preference_int_delay_noti_event";

// Numbers alone: the machine knows none of these users.
struct User {
  const char* name;
  uid_t id;
  gid_t group;
  bool is_reader;  ///< a member of the group, or root
  bool is_service;
  bool is_writer;  ///< may write the files of the store
};

void PrintTo(const User& user, std::ostream* out) { *out << user.name; }

constexpr User SERVICE{"its_own_user", 54320, READERS, true, true, true};
constexpr User MEMBER{"a_member_of_the_group", 54321, 54331, true, false, false};
constexpr User OUTSIDER{"an_outsider", 54322, 54332, false, false, false};
constexpr User ROOT{"root", 0, 0, true, false, true};

// What Debian's system bus allows before a service's own policy is read.
constexpr const char* SYSTEM_BUS_POLICY = R"(<policy context="default">
    <allow user="*"/>
    <deny own="*"/>
    <deny send_type="method_call"/>
    <allow send_type="signal"/>
    <allow send_requested_reply="true" send_type="method_return"/>
    <allow send_requested_reply="true" send_type="error"/>
    <allow receive_type="method_call"/>
    <allow receive_type="method_return"/>
    <allow receive_type="error"/>
    <allow receive_type="signal"/>
    <allow send_destination="org.freedesktop.DBus" send_interface="org.freedesktop.DBus"/>
  </policy>
  <include>)" BUS_POLICY "</include>";

bool become(const User& user) {
  const std::vector<gid_t> groups(user.is_reader && user.id != 0 ? 1 : 0, READERS);
  return user.id == 0 ||
         (setgroups(groups.size(), groups.data()) == 0 && setgid(user.group) == 0 && setuid(user.id) == 0);
}

/// Runs `body` in a process of the user's, and returns what it answers.
class Errand {
 public:
  Errand(const User& user, const std::function<std::string()>& body)
      : _process([&user, &body] {
          if (!become(user)) {
            return 1;
          }
          std::string answer;
          try {
            answer = body();
          } catch (const std::exception& error) {
            answer = error.what();
          }
          return write(STDOUT_FILENO, answer.data(), answer.size()) < 0 ? 1 : 0;
        }) {}

  std::string answer() {
    EXPECT_EQ(_process.wait(), 0) << _process.standard_error();
    return _process.standard_output();
  }
  bool has_said(const std::string& word) {
    return test::wait_until([&] { return _process.standard_output().starts_with(word); });
  }

 private:
  test::Process _process;
};

std::string as(const User& user, const std::function<std::string()>& body) { return Errand(user, body).answer(); }

std::string text_of(const Reply& reply) {
  if (!reply.value) {
    return reply.error;
  }
  const Owned<char, g_free> text(g_variant_print(reply.value.get(), FALSE));
  return text.get();
}

class InstalledService : public testing::Test {
 protected:
  void SetUp() override {
    if (geteuid() != 0) {
      GTEST_SKIP() << "only root can become somebody else";
    }
    if (!fs::exists(NSS_WRAPPER)) {
      GTEST_SKIP() << "the bus cannot be told of users: libnss-wrapper is not installed";
    }
    fs::permissions(root.path(), fs::perms(0755));
    make_folders();
    name_users();
    bus.emplace(SYSTEM_BUS_POLICY, test::Process::Environment{{"LD_PRELOAD", NSS_WRAPPER},
                                                              {"NSS_WRAPPER_PASSWD", root.file("passwd")},
                                                              {"NSS_WRAPPER_GROUP", root.file("group")}});
  }
  void TearDown() override { db::deinit_db(); }

  // The bus serves nobody whom it cannot look up.
  void name_users() const {
    std::ostringstream users;
    users << "root:x:0:0::/:/bin/sh\nmsg-consumer:x:" << SERVICE.id << ':' << READERS << "::/:/bin/sh\n";
    for (const User& user : {MEMBER, OUTSIDER}) {
      users << user.name << ":x:" << user.id << ':' << user.group << "::/:/bin/sh\n";
    }
    test::write_file(root.path() / "passwd", users.str());
    std::ostringstream groups;
    groups << "root:x:0:\nmsg-consumer:x:" << READERS << ':' << MEMBER.name << '\n';
    test::write_file(root.path() / "group", groups.str());
  }

  // As the file says that the packages bring, but below the test's own folder.
  void make_folders() const {
    std::ifstream rules(TMPFILES_RULES);
    int folders = 0;
    for (std::string line; std::getline(rules, line);) {
      std::istringstream words(line);
      std::string kind;
      std::string path;
      std::string mode;
      std::string user;
      std::string group;
      if (words >> kind >> path >> mode >> user >> group; kind == "d") {
        const std::string folder = root.path().string() + path;
        fs::create_directories(folder);
        ASSERT_EQ(chown(folder.c_str(), user == "root" ? 0 : SERVICE.id, group == "root" ? 0 : READERS), 0);
        ASSERT_EQ(chmod(folder.c_str(), static_cast<mode_t>(std::stoul(mode, nullptr, 8))), 0);
        ++folders;
      }
    }
    ASSERT_EQ(folders, 3);
  }

  // What lies in the build folder may be out of the others' reach.
  std::string reachable(const std::string& program) const {
    const fs::path copy = root.path() / "bin" / fs::path(program).filename();
    fs::create_directories(copy.parent_path());
    fs::copy_file(program, copy, fs::copy_options::skip_existing);
    return copy;
  }

  std::unique_ptr<test::Process> start_as(const User& user, std::vector<std::string> command) const {
    for (const char* library : {CLIENT_LIBRARY, COMMON_LIBRARY, PLATFORM_LIBRARY}) {
      reachable(library);
    }
    command[0] = reachable(command[0]);
    std::vector<std::string> all{
        "setpriv",         "--reuid",       std::to_string(user.id), "--regid", std::to_string(user.group),
        "--inh-caps=-all", "--no-new-privs"};
    const std::vector<std::string> groups = user.is_reader && user.id != 0
                                                ? std::vector<std::string>{"--groups", std::to_string(READERS)}
                                                : std::vector<std::string>{"--clear-groups"};
    all.insert(all.end(), groups.begin(), groups.end());
    for (const char* word : {"sh", "-c", R"(umask 0007; exec "$0" "$@")"}) {
      all.emplace_back(word);
    }
    all.insert(all.end(), command.begin(), command.end());
    return std::make_unique<test::Process>(all, test::Process::Environment{{"LD_LIBRARY_PATH", root.file("bin")}});
  }

  static bool is_ready() {
    int value = 0;
    return preference_get_int("consumer_preference_int_consumer_status", &value) == 0 && value == 1;
  }

  void start_service() {
    service = start_as(SERVICE, {SERVICE_PROGRAM});
    ASSERT_TRUE(test::wait_until(is_ready)) << service->standard_error();
  }

  /// Has a member send a picture, which becomes message `id`, and returns the place where the store keeps it.
  std::string sent_picture(int id = 1) {
    hand_over("picture.png");
    EXPECT_EQ(as(MEMBER, [&] { return text_of(send_picture(exchange + "/picture.png")); }),
              "(" + std::to_string(id) + ", 0)");
    Message message;
    EXPECT_EQ(db::db_get_message(id, message), db::DB_OK);
    for (const Content& part : message.contents) {
      if (!part.str_g.empty()) {
        return part.str_g;
      }
    }
    return {};
  }

  void hand_over(const std::string& name) const {
    test::write_file(exchange + "/" + name, "picture");
    ASSERT_EQ(chmod((exchange + "/" + name).c_str(), 0644), 0);
  }

  Reply send_picture(const std::string& path) const {
    Client client(bus->address());
    return client.call("send_message", g_variant_new("(sisssi)", "mms", 0, "+4917", "look", path.c_str(), 1));
  }
  Reply fetch_picture(const std::string& path, int id = 1) const {
    Client client(bus->address());
    return client.call("get_content_file", g_variant_new("(is)", id, path.c_str()));
  }

  test::TempDir root;
  std::string messages = root.file("var/lib/msg-consumer");
  std::string exchange = root.file("var/lib/msg-consumer-exchange");
  test::EnvironmentVariable database{"MSG_CONSUMER_DB", messages + "/messages.db"};
  test::EnvironmentVariable files{"MSG_CONSUMER_FILES", messages + "/files"};
  test::EnvironmentVariable preferences{"MSG_CONSUMER_PREFERENCES",
                                        root.file("var/lib/msg-consumer-preferences/preferences.ini")};
  test::EnvironmentVariable handed_over{"MSG_CONSUMER_EXCHANGE", exchange};
  std::optional<test::PrivateBus> bus;
  std::unique_ptr<test::Process> service;
};

class PackagedService : public InstalledService, public testing::WithParamInterface<User> {};

TEST_P(PackagedService, gives_its_name_to_its_own_user_alone) {
  const std::string owned = as(GetParam(), [&] {
    Client client(bus->address());
    return text_of(client.ask_bus("RequestName", g_variant_new("(su)", BUS_NAME, 0)));
  });
  EXPECT_EQ(owned, GetParam().is_service ? "(1,)" : DENIED);
}

TEST_P(PackagedService, is_called_by_readers_alone) {
  start_service();
  const std::string sent = as(GetParam(), [&] {
    Client client(bus->address());
    return text_of(client.call("send_message", g_variant_new("(sisssi)", "sms", 0, "+4917", "hello", "", 1)));
  });
  EXPECT_EQ(sent, GetParam().is_reader ? "(1, 0)" : DENIED);

  const std::string pinged = as(GetParam(), [&] {
    Client client(bus->address());
    const Reply owner = client.ask_bus("GetNameOwner", g_variant_new("(s)", BUS_NAME));
    const char* unique_name = "";
    g_variant_get(owner.value.get(), "(&s)", &unique_name);
    return text_of(client.call_on(unique_name, "/", "org.freedesktop.DBus.Peer", "Ping", nullptr));
  });
  EXPECT_EQ(pinged, GetParam().is_reader ? "()" : DENIED) << "by its other name, and of another interface";
}

GDBusMessage* count_messages(GDBusConnection* /*connection*/, GDBusMessage* message, gboolean incoming, void* count) {
  if (incoming != FALSE && g_strcmp0(g_dbus_message_get_interface(message), INTERFACE_NAME) == 0) {
    ++*static_cast<std::atomic<int>*>(count);
  }
  return message;
}

// The bus hands a signal to everybody at once: when the sender has heard it, it is on its way to the others, and the
// bus's next answer comes after it.
TEST_P(PackagedService, is_heard_by_readers_alone) {
  start_service();
  const std::string sent = root.file("sent");
  Errand listener(GetParam(), [&] {
    Client client(bus->address());
    std::atomic<int> count = 0;
    g_dbus_connection_add_filter(client.connection(), count_messages, &count, nullptr);
    for (const char* rule : {"type='signal'", "eavesdrop='true'"}) {
      client.ask_bus("AddMatch", g_variant_new("(s)", rule));
    }
    static_cast<void>(write(STDOUT_FILENO, "listening ", 10));
    test::wait_until([&] { return fs::exists(sent); });
    client.ask_bus("GetId", nullptr);
    return std::string(count > 0 ? "heard" : "heard nothing");
  });
  ASSERT_TRUE(listener.has_said("listening"));
  EXPECT_EQ(as(MEMBER,
               [&] {
                 Client client(bus->address());
                 client.send("+4917", "hello");
                 return std::string(client.heard(1) ? "heard" : "heard nothing");
               }),
            "heard");
  test::write_file(sent, "");
  EXPECT_EQ(listener.answer(), GetParam().is_reader ? "listening heard" : "listening heard nothing");
}

TEST_P(PackagedService, shows_its_files_to_readers_alone) {
  start_service();
  const std::string picture = sent_picture();
  ASSERT_EQ(test::read_file(picture), "picture");
  for (const std::string& path :
       {messages + "/messages.db", messages + "/messages.db-wal", messages + "/messages.db-shm", picture}) {
    const auto opens = [&path](int flags) {
      return std::string(open(path.c_str(), flags | O_CLOEXEC) >= 0 ? "opened" : "kept out");
    };
    EXPECT_EQ(as(GetParam(), [&] { return opens(O_RDONLY); }), GetParam().is_reader ? "opened" : "kept out") << path;
    EXPECT_EQ(as(GetParam(), [&] { return opens(O_WRONLY); }), GetParam().is_writer ? "opened" : "kept out") << path;
  }
  const std::string read = as(GetParam(), [] {
    Message message;
    const int status = db::db_get_message(1, message);
    return status == db::DB_OK ? message.str_d : std::to_string(status);
  });
  EXPECT_EQ(read, GetParam().is_reader ? "look" : std::to_string(db::DB_NO_ACCESS));
}

TEST_P(PackagedService, lets_readers_alone_use_the_preferences) {
  start_service();
  const std::string written = as(GetParam(), [] { return std::to_string(preference_set_int(DELAY, 7)); });
  const std::string found = as(GetParam(), [] {
    int value = -1;
    const int status = preference_get_int(DELAY, &value);
    return std::to_string(status) + " " + std::to_string(value);
  });
  if (GetParam().is_reader) {
    EXPECT_EQ(written, "0");
    EXPECT_EQ(found, "0 7");
  } else {
    EXPECT_THAT(written, HasSubstr("-"));
    EXPECT_THAT(found, HasSubstr(" -1"));
  }
  // Whoever has written them, the service goes on writing them.
  service->signal(SIGTERM);
  ASSERT_EQ(service->wait(), 0);
  int status = -1;
  EXPECT_EQ(preference_get_int("consumer_preference_int_consumer_status", &status), 0);
  EXPECT_EQ(status, 0);
}

TEST_P(PackagedService, takes_and_gives_files_through_the_exchange_folder_alone) {
  const std::string elsewhere = root.file("elsewhere");
  fs::create_directory(elsewhere);
  fs::permissions(elsewhere, fs::perms(0777));
  test::write_file(elsewhere + "/picture.png", "picture");
  start_service();
  sent_picture();

  const std::string own = exchange + "/own.png";
  const std::string made = as(GetParam(), [&own] {
    test::write_file(own, "mine");
    return std::string("made");
  });
  const auto answer = [](const char* status) { return GetParam().is_reader ? status : DENIED; };
  if (!GetParam().is_reader) {
    EXPECT_FALSE(fs::exists(own)) << made;
  }
  EXPECT_EQ(as(GetParam(), [&] { return text_of(send_picture(own)); }), answer("(2, 0)"));
  const std::string around = exchange + "/../../../elsewhere/picture.png";
  for (const std::string& path : {elsewhere + "/picture.png", around, messages + "/files/1/0-picture.png"}) {
    EXPECT_THAT(as(GetParam(), [&] { return text_of(send_picture(path)); }), HasSubstr(answer(", -27)"))) << path;
  }
  EXPECT_EQ(as(GetParam(), [&] { return text_of(fetch_picture(exchange + "/fetched.png")); }), answer("(0,)"));
  EXPECT_EQ(as(GetParam(), [&] { return text_of(fetch_picture(elsewhere + "/fetched.png")); }), answer("(-27,)"));
  EXPECT_EQ(as(GetParam(), [&] { return test::read_file(exchange + "/fetched.png"); }),
            GetParam().is_reader ? "picture" : "");
  EXPECT_EQ(test::read_file(exchange + "/picture.png"), "picture");
  EXPECT_EQ(as(GetParam(), [&] { return std::to_string(unlink((exchange + "/picture.png").c_str())); }),
            GetParam().id == 0 ? "0" : "-1")
      << "another's file";
}

TEST_P(PackagedService, serves_the_tool_of_readers_alone) {
  start_service();
  sent_picture();
  for (const std::vector<std::string>& command :
       {std::vector<std::string>{MSGCTL_PROGRAM, "messages"}, {MSGCTL_PROGRAM, "send", "--to", "+4917", "hello"}}) {
    const std::unique_ptr<test::Process> tool = start_as(GetParam(), command);
    ASSERT_TRUE(tool->wait());
    EXPECT_EQ(tool->wait() == 0, GetParam().is_reader) << command[1] << ": " << tool->standard_error();
    if (!GetParam().is_reader) {
      EXPECT_THAT(tool->standard_output(), Not(HasSubstr("look")));
    }
  }
}

/// The same, with no more rights than its unit leaves it.
class ConfinedService : public InstalledService {
 protected:
  void start_confined() {
    for (const char* library : {COMMON_LIBRARY, PLATFORM_LIBRARY}) {
      reachable(library);
    }
    service = std::make_unique<test::Process>(
        std::vector<std::string>{RUN_CONFINED, SERVICE_UNIT, std::to_string(SERVICE.id), std::to_string(SERVICE.group),
                                 messages, exchange, root.file("var/lib/msg-consumer-preferences"), "--",
                                 reachable(SERVICE_PROGRAM)},
        test::Process::Environment{{"LD_LIBRARY_PATH", root.file("bin")}});
    test::wait_until([this] { return is_ready() || !service->running(); });
  }
};

TEST_F(ConfinedService, does_all_its_work) {
  if (SANITIZED) {
    GTEST_SKIP() << "a sanitizer needs rights of its own";
  }
  for (const int turn : {1, 2}) {
    SCOPED_TRACE(turn);
    start_confined();
    if (service->wait(std::chrono::milliseconds(0)) == CANNOT_CONFINE) {
      GTEST_SKIP() << service->standard_error();
    }
    ASSERT_TRUE(is_ready()) << service->standard_error();
    EXPECT_NE(sent_picture(turn), "");
    const std::string copy = exchange + "/copy-" + std::to_string(turn);
    EXPECT_EQ(as(MEMBER, [&] { return text_of(fetch_picture(copy, turn)); }), "(0,)");
    EXPECT_EQ(as(MEMBER,
                 [&] {
                   Client client(bus->address());
                   return text_of(client.call("delete_thread", g_variant_new("(i)", turn)));
                 }),
              "(0,)");
    EXPECT_FALSE(fs::exists(messages + "/files/" + std::to_string(turn)));
    service->signal(SIGTERM);
    EXPECT_EQ(service->wait(), 0);
    EXPECT_EQ(service->standard_error(), "");
  }
}

TEST_F(ConfinedService, reaches_nothing_else) {
  if (SANITIZED) {
    GTEST_SKIP() << "a sanitizer needs rights of its own";
  }
  test::EnvironmentVariable outside("MSG_CONSUMER_FILES", root.file("elsewhere"));
  start_confined();
  ASSERT_NE(service->wait(), 0);
  if (service->wait() == CANNOT_CONFINE) {
    GTEST_SKIP() << service->standard_error();
  }
  EXPECT_THAT(service->standard_error(), HasSubstr("Read-only file system"));
}

INSTANTIATE_TEST_SUITE_P(For, PackagedService, testing::Values(SERVICE, MEMBER, OUTSIDER, ROOT),
                         [](const auto& row) { return row.param.name; });

}  // namespace
}  // namespace msg_consumer::service
