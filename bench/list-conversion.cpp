// SPDX-License-Identifier: Apache-2.0
#include <benchmark/benchmark.h>
#include <msg-consumer-common/db.h>
#include <msg-consumer/msg-consumer-client.h>

#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

// What it costs to turn store records into public records: the store's query is replaced by one that hands over records
// made beforehand, so that nothing but the conversion is measured. Time per element must not grow with the list.

namespace {

std::vector<msg_consumer::Message> prepared;

std::vector<msg_consumer::Message> make_messages(std::size_t count) {
  msg_consumer::Message message;
  message.str_d = "A message of the usual length, with a few words in it.";
  message.str_p = "+491701234567";
  message.addresses.resize(2);
  message.addresses[0].address = "+491701234567";
  message.addresses[1].address = "someone@example.org";
  message.contents.resize(1);
  message.contents[0].str_h = "picture.jpg";
  std::vector<msg_consumer::Message> messages(count, message);
  return messages;
}

void convert_message_list(benchmark::State& state) {
  const auto count = static_cast<std::size_t>(state.range(0));
  for ([[maybe_unused]] auto _ : state) {
    state.PauseTiming();
    prepared = make_messages(count);
    // NOLINTNEXTLINE(cppcoreguidelines-no-malloc,cppcoreguidelines-owning-memory): as an application makes one
    auto* list = static_cast<msg_list_handle_t*>(std::calloc(1, sizeof(msg_list_handle_t)));
    msg_list_condition_t condition = {};
    state.ResumeTiming();
    if (msg_consumer_get_message_list(list, &condition) != MSG_CONSUMER_ERROR_NONE) std::abort();
    state.PauseTiming();
    msg_consumer_free_message_list(&list);
    state.ResumeTiming();
  }
  state.counters["per_element"] = benchmark::Counter(
      static_cast<double>(count), benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

BENCHMARK(convert_message_list)->Arg(1'000)->Arg(10'000)->Arg(100'000)->Arg(1'000'000)->Unit(benchmark::kMillisecond);

}  // namespace

namespace msg_consumer::db {

// In the store library's place.
int db_get_message_list(const ListCondition& /*condition*/, std::vector<Message>& list) {
  list = std::move(prepared);
  return DB_OK;
}

}  // namespace msg_consumer::db

BENCHMARK_MAIN();
