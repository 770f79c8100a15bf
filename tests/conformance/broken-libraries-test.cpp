// SPDX-License-Identifier: Apache-2.0

// The kit must find what is wrong with a library, and nothing else. One thing is wrong with each of these.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "kit-run.hpp"
#include "support/private-bus.hpp"
#include "support/temp-dir.hpp"

namespace msg_consumer::test {
namespace {

struct Broken {
  const char* name;                  ///< of the library's file
  std::vector<std::string> failing;  ///< the sentences that must fail
  const char* remark = "";           ///< what must be said about one of them
};

void PrintTo(const Broken& broken, std::ostream* out) { *out << broken.name; }

std::string test_name(const testing::TestParamInfo<Broken>& info) {
  std::string name = info.param.name;
  for (char& c : name) {
    c = c == '-' ? '_' : c;
  }
  return name;
}

void expect_found(const KitRun& run, const Broken& broken) {
  EXPECT_EQ(run.status, 1) << run.errors;
  EXPECT_THAT(run.failing, testing::UnorderedElementsAreArray(broken.failing)) << run.output;
  EXPECT_THAT(run.skipped, testing::IsEmpty());
  EXPECT_THAT(run.output, testing::HasSubstr(broken.remark));
}

class BrokenStore : public testing::TestWithParam<Broken> {};

TEST_P(BrokenStore, FailsWhereItIsBrokenAndNowhereElse) {
  auto arguments = store_arguments(std::string(BROKEN_FOLDER) + "/broken-store/" + GetParam().name + ".so");
  // Only a library that hangs needs so long.
  arguments.insert(arguments.end(), {"--time-limit", "10"});
  expect_found(run_kit(arguments), GetParam());
}

const Broken STORES[] = {
    {"another-name", {"symbols: the library has the name that programs are linked with"}, "libanother.so.1"},
    {"function-missing",
     {"symbols: every function that the headers declare is there", "sync: a required download is told",
      "sync: no required download is told", "sync: without a place for the answer the question is refused"},
     "msg_consumer::db::db_has_download_required_message(bool*)"},
    {"catalogue-by-place",
     {"catalogue: each command has its method's name", "catalogue: the lists of names and formats agree with it"},
     R"(command 5: expected "set_active_thread_id", saw "show_on_device")"},
    {"catalogue-with-a-wrong-format",
     {"catalogue: each command has its arguments' format", "catalogue: the lists of names and formats agree with it"},
     R"text(command 7: expected "(sisssi)", saw "(sisss)")text"},
    {"thread-with-a-participant",
     {"records: a thread is made as its header says"},
     "a new record.num_k: expected 0, saw 1"},
    {"record-beyond-its-end", {"records: a list condition keeps to its size"}, "beyond the record's"},
    {"copy-without-text",
     {"records: a content is copied with all its members", "records: a message is copied with all its members",
      "records: a conversation is copied with all its members"},
     "the copy.str_l"},
    {"move-that-copies", {"records: a thread is moved without a copy"}, "a move copied texts or lists"},
    {"text-not-on-the-heap",
     {"serialisers: a message becomes a text on the heap, always the same",
      "serialisers: another message becomes another text",
      "serialisers: a message without lists and optional texts is serialised"}},
    {"text-cleared-on-failure",
     {"serialisers: what is no metadata is refused, and nothing is written"},
     "has something written to the output"},
    {"length-with-the-nul", {"serialisers: metadata becomes a text on the heap, always the same"}, "the length"},
    {"threads-oldest-first",
     {"threads: all threads come newest first, of two as new the one with the higher id"},
     "the threads' ids: expected [8,3,2,1,9], saw [9,1,2,3,8]"},
    {"list-replaced", {"threads: threads are appended to what the list holds"}},
    {"no-threads-is-success",
     {"threads: a store without threads has no record"},
     "the status of db_get_threads: expected -1101, saw 0"},
    {"failure-clears-record", {"threads: an unknown thread is not found, and the record is left alone"}},
    {"no-participants-is-no-thread", {"addresses: a thread without participants is found"}},
    {"numbers-as-they-are-written", {"addresses: punctuation of numbers and case of e-mail addresses do not matter"}},
    {"thread-id-written-on-failure",
     {"addresses: other participants, more or fewer, find nothing", "addresses: what is no participant is refused"}},
    {"old-participants-kept", {"messages: nothing is left over of what the record held before"}},
    {"conversation-ties-by-higher-id",
     {"conversations: a thread's messages come oldest first, of two as old the one with the lower id",
      "conversations: messages are appended to what the list holds"},
     "expected [10,12,13,11], saw [10,13,12,11]"},
    {"no-conversations-is-success", {"conversations: a thread without messages, like an unknown one, has no record"}},
    {"incoming-part-under-way", {"transfers: no attachment, an incoming message and an unknown one have no record"}},
    {"page-begins-one-late",
     {"lists: a list begins at its offset and ends at its limit", "lists: each slice is a part of the whole list",
      "search: a keyword goes together with the other conditions"}},
    {"negative-page-accepted", {"lists: a negative offset or limit is refused"}},
    {"unread-ignored",
     {"lists: unread messages alone are listed", "lists: messages of one type alone are listed",
      "search: a keyword goes together with the other conditions"}},
    {"limit-lost-with-keyword",
     {"lists: each slice is a part of the whole list", "search: a keyword goes together with the other conditions"}},
    {"keyword-with-its-case", {"search: case does not matter, in any script"}},
    {"keyword-as-it-is-composed", {"search: it does not matter how a character is composed"}},
    {"short-keyword-not-found",
     {"search: keywords of one and two characters are found", "search: every character stands for itself"}},
    {"keyword-as-pattern", {"search: every character stands for itself"}},
    {"keyword-of-any-bytes", {"search: a keyword that is not UTF-8 is refused"}, "expected -3, saw -1101"},
    {"prefix-anywhere", {"correlation: a correlation id's start finds what is not correlated yet"}},
    {"deleted-always-listed",
     {"sync: a required and a failed sync are listed, in the order in which they were added",
      "sync: lists are appended to"}},
    {"crash-without-output", {"sync: without a place for the answer the question is refused"}, "it crashed by SIGSEGV"},
    {"index-of-32-bits", {"subscription: index and token are read"}, "expected 18446744073709551615, saw 4294967295"},
    {"init-only-once", {"life cycle: init_db may be repeated"}},
    {"deinit-for-good",
     {"life cycle: queries go on after deinit_db", "life cycle: deinit_db may come first",
      "life cycle: deinit_db lets running queries finish",
      "life cycle: a child reads after fork, and so does its parent",
      "life cycle: a child reads that was forked while other threads were reading"}},
    {"file-left-open",
     {"life cycle: one deinit_db closes all that was opened", "life cycle: what a thread opened is closed at its end"},
     "how many files are open"},
    {"lock-kept-after-failure", {"addresses: an unknown thread has no record"}, "it did not end in time"},
    {"one-thread-only",
     {"life cycle: several threads read at the same time", "life cycle: deinit_db lets running queries finish",
      "life cycle: a child reads that was forked while other threads were reading"}},
    {"one-process-only",
     {"life cycle: a child reads after fork, and so does its parent",
      "life cycle: a child reads that was forked while other threads were reading"}},
    {"failure-kept", {"capabilities: a capability that cannot be read is not there, and is tried again"}},
    {"capability-that-changes", {"capabilities: a capability does not change during the process's life"}},
};

INSTANTIATE_TEST_SUITE_P(Stores, BrokenStore, testing::ValuesIn(STORES), test_name);

/// A platform with an application that may be launched, and is slow to start.
class Platform : public testing::Test {
 protected:
  Platform() { _bus.add_activatable_service("org.example.Slow", "/bin/sh -c 'touch " + _mark + "; exec sleep 5'"); }

  KitRun check(const std::string& library) {
    auto arguments = platform_arguments(library);
    arguments.insert(arguments.end(), {"--application", "org.example.Slow", "--started", _mark});
    return run_kit(arguments);
  }

 private:
  TempDir _folder;
  std::string _mark = _folder.file("started");
  PrivateBus _bus;
};

class BrokenPlatform : public Platform, public testing::WithParamInterface<Broken> {};

TEST_P(BrokenPlatform, FailsWhereItIsBrokenAndNowhereElse) {
  expect_found(check(std::string(BROKEN_FOLDER) + "/broken-platform/" + GetParam().name + ".so"), GetParam());
}

const Broken PLATFORMS[] = {
    {"function-missing",
     {"symbols: every function that the headers declare is there",
      "preferences: a written number is read again, whatever it is",
      "preferences: a number is written that is the default", "preferences: a change keeps the other keys",
      "preferences: an unknown key is refused, and the output is left alone",
      "preferences: a key of another type is refused, and the output is left alone",
      "preferences: a call without key or output is refused",
      "preferences: preferences that cannot be read are no defaults",
      "preferences: another process's change is seen at the next call, and the other way round",
      "preferences: no process sees half a change", "preferences: two processes that write lose no change"},
     "undefined symbol: preference_set_int"},
    {"line-without-tag", {"log: a line without a tag or a format is refused"}},
    {"any-priority", {"log: a line of another priority is refused"}},
    {"errno-lost", {"log: errno is kept"}},
    {"lines-cut-short", {"log: lines of several threads do not mix"}},
    {"lines-in-pieces", {"log: no argument makes a line of its own"}},
    {"sending-denied-by-default", {"preferences: a key that nothing is stored for has its default"}},
    {"numbers-of-16-bits",
     {"preferences: a written number is read again, whatever it is", "preferences: no process sees half a change"}},
    {"other-keys-lost",
     {"preferences: a change keeps the other keys", "preferences: two processes that write lose no change"}},
    {"change-in-two-steps", {"preferences: no process sees half a change"}},
    {"value-kept", {"preferences: another process's change is seen at the next call, and the other way round"}},
    {"unknown-key-is-zero", {"preferences: an unknown key is refused, and the output is left alone"}},
    {"unreadable-is-default", {"preferences: preferences that cannot be read are no defaults"}},
    {"output-cleared-on-failure",
     {"preferences: an unknown key is refused, and the output is left alone",
      "preferences: a key of another type is refused, and the output is left alone",
      "preferences: a call without key or output is refused", "preferences: a stored value of a wrong type is refused",
      "preferences: preferences that cannot be read are no defaults"}},
    {"crash-without-request",
     {"applications: a call without request, name or output is refused"},
     "it crashed by SIGSEGV"},
    {"launch-of-nobody", {"applications: a launch request for nobody is refused"}},
    {"one-name-for-all",
     {"applications: an empty name is refused", "applications: a launch request starts the application"}},
    {"launch-that-waits",
     {"applications: a launch request starts the application",
      "applications: a launch request does not wait for the application",
      "applications: a launch request for an unknown application does no harm"},
     "the request took"},
};

INSTANTIATE_TEST_SUITE_P(Platforms, BrokenPlatform, testing::ValuesIn(PLATFORMS), test_name);

void expect_all_hold(const KitRun& run) {
  EXPECT_EQ(run.status, 0) << run.errors;
  EXPECT_THAT(run.failing, testing::IsEmpty()) << run.output;
  EXPECT_THAT(run.skipped, testing::IsEmpty()) << run.output;
  EXPECT_GT(run.holding.size(), 30U);
}

TEST(OurStore, PassesWhole) { expect_all_hold(run_kit(store_arguments(STORE_PATH))); }

TEST_F(Platform, OursPassesWhole) { expect_all_hold(check(PLATFORM_PATH)); }

// A broken library that no row names would show nothing.
TEST(BrokenLibraries, AllHaveARow) {
  const auto count = [](const char* folder) {
    const std::filesystem::directory_iterator files(std::string(BROKEN_FOLDER) + folder);
    return static_cast<std::size_t>(std::distance(begin(files), end(files)));
  };
  EXPECT_EQ(count("/broken-store"), std::size(STORES));
  EXPECT_EQ(count("/broken-platform"), std::size(PLATFORMS));
}

}  // namespace
}  // namespace msg_consumer::test
