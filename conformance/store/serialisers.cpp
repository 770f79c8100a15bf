// SPDX-License-Identifier: Apache-2.0
#include <malloc.h>
#include <msg-consumer-common/msg-serialize.h>

#include <cstdlib>
#include <cstring>
#include <msg-consumer-platform/releaser.hpp>

#include "store/sentences.hpp"

namespace msg_consumer::conformance {
namespace {

using Text = Owned<char, std::free>;

/// The texts of public records are not const.
char* text_of(std::string& text) { return text.data(); }

/// A message whose members all have a value, with the records and texts that it points to.
struct SampleMessage {
  std::string body = "the body";
  std::string subject = "the subject";
  std::string sender = "+491701234567";
  std::string phone_id = "phone-17";
  std::string recipient = "bob@example.org";
  std::string mime_type = "text/plain";
  std::string object_id = "object";
  std::string nothing;
  msg_address_item_t address = {.num_1 = 1, .num_2 = 2, .num_3 = 2, .flag_4 = 0, .address = text_of(recipient)};
  msg_content_item_t content = {.content_id = 3,
                                .num_2 = 4,
                                .kind = 1,
                                .flag_4 = 1,
                                .flag_5 = 1,
                                .status = 3,
                                .text_7 = text_of(nothing),
                                .text_8 = text_of(nothing),
                                .text_9 = text_of(nothing),
                                .text_10 = text_of(mime_type),
                                .text_11 = text_of(nothing),
                                .text_12 = text_of(body),
                                .reserved_13 = 0,
                                .nms_content_meta = nullptr};
  msg_nms_msg_meta_data_t meta = {.msg_id = 4,
                                  .meta_str1 = text_of(object_id),
                                  .meta_str2 = text_of(nothing),
                                  .meta_str3 = text_of(nothing),
                                  .meta_str4 = text_of(nothing),
                                  .meta_int1 = 1,
                                  .meta_int2 = 1,
                                  .meta_int64_1 = 5,
                                  .meta_int64_2 = 6,
                                  .meta_flag1 = true,
                                  .meta_flag2 = false,
                                  .meta_flag3 = true};
  GSList addresses = {&address, nullptr};
  GSList contents = {&content, nullptr};
  msg_message_item_t record = {.msg_id = 4,
                               .num_2 = 2,
                               .text_3 = text_of(body),
                               .num_4 = 5,
                               .num_5 = 1,
                               .num_6 = 0,
                               .network_status = 0,
                               .flag_8 = 1,
                               .time_sec = 1'700'000'000,
                               .num_10 = 0,
                               .num_11 = 1,
                               .num_12 = 8,
                               .flag_13 = 0,
                               .num_14 = 0,
                               .flag_15 = 0,
                               .flag_16 = 0,
                               .text_17 = text_of(subject),
                               .text_18 = text_of(sender),
                               .text_19 = text_of(phone_id),
                               .address_list = &addresses,
                               .content_list = &contents,
                               .nms_meta = &meta};
};

/// Serialises a record, and holds what is said of every text that comes out. Empty when it failed.
template <typename Record, typename Serialise>
std::string serialised(Findings& findings, const Record& record, Serialise serialise) {
  char* raw = nullptr;
  const int length = serialise(&record, &raw);
  const Text text(raw);
  if (!findings.expect(length > 0 && text, "the record was not serialised: " + std::to_string(length))) return "";
  findings.equal("the length", std::strlen(text.get()), length);
  // A text that is no block of the heap ends the process here, and not in the application.
  findings.expect(malloc_usable_size(text.get()) > static_cast<std::size_t>(length), "the NUL is beyond the block");
  return text.get();
}

/// Holds that a record is not serialised and that nothing is written.
template <typename Record, typename Serialise>
void expect_refused(Findings& findings, const std::string& what, const Record* record, Serialise serialise) {
  char untouched = 0;
  char* out = &untouched;
  const int length = serialise(record, &out);
  findings.expect(length <= 0, what + " is serialised: " + std::to_string(length));
  findings.expect(out == &untouched, what + " has something written to the output");
}

void serialise_message(Findings& findings) {
  const SampleMessage sample;
  const std::string text = serialised(findings, sample.record, msg_serialize_message);
  findings.equal("the same message's text, again", text, serialised(findings, sample.record, msg_serialize_message));
}

void tell_messages_apart(Findings& findings) {
  SampleMessage sample;
  const std::string text = serialised(findings, sample.record, msg_serialize_message);
  const auto expect_another = [&](const std::string& what) {
    findings.expect(serialised(findings, sample.record, msg_serialize_message) != text, what + " is not in the text");
  };
  sample.body[0] = 'T';
  expect_another("the body");
  sample.body[0] = 't';
  sample.record.num_5 = 2;
  expect_another("the direction");
  sample.record.num_5 = 1;
  sample.recipient[0] = 'B';
  expect_another("the address");
  sample.recipient[0] = 'b';
  sample.content.status = 2;
  expect_another("a part's state");
  sample.content.status = 3;
  sample.meta.meta_int64_2 = 7;
  expect_another("the metadata");
}

void serialise_sparse_message(Findings& findings) {
  SampleMessage sample;
  sample.record.text_17 = nullptr;
  sample.record.text_19 = nullptr;
  sample.record.address_list = nullptr;
  sample.record.content_list = nullptr;
  sample.record.nms_meta = nullptr;
  serialised(findings, sample.record, msg_serialize_message);
}

void refuse_messages(Findings& findings) {
  SampleMessage sample;
  expect_refused<msg_message_item_t>(findings, "no message", nullptr, msg_serialize_message);
  findings.expect(msg_serialize_message(&sample.record, nullptr) <= 0, "a message without an output is serialised");
  sample.body[0] = '\xFF';
  expect_refused(findings, "a text that is not UTF-8", &sample.record, msg_serialize_message);
  sample.body.assign(std::size_t{4} * 1024 * 1024, 'x');
  sample.record.text_3 = text_of(sample.body);
  expect_refused(findings, "a message of more than 4 MiB", &sample.record, msg_serialize_message);
}

void refuse_missing_elements(Findings& findings) {
  SampleMessage sample;
  sample.addresses.data = nullptr;
  expect_refused(findings, "a list with a missing address", &sample.record, msg_serialize_message);
  sample.addresses.data = &sample.address;
  sample.contents.data = nullptr;
  expect_refused(findings, "a list with a missing part", &sample.record, msg_serialize_message);
}

void serialise_meta(Findings& findings) {
  SampleMessage sample;
  const std::string text = serialised(findings, sample.meta, msg_serialize_nms_msg_meta);
  findings.equal("the same record's text, again", text, serialised(findings, sample.meta, msg_serialize_nms_msg_meta));
  sample.meta.meta_flag2 = true;
  findings.expect(serialised(findings, sample.meta, msg_serialize_nms_msg_meta) != text, "a flag is not in the text");
}

void refuse_meta(Findings& findings) {
  SampleMessage sample;
  expect_refused<msg_nms_msg_meta_data_t>(findings, "no record", nullptr, msg_serialize_nms_msg_meta);
  findings.expect(msg_serialize_nms_msg_meta(&sample.meta, nullptr) <= 0, "a record without an output is serialised");
  sample.object_id[0] = '\xFF';
  expect_refused(findings, "a text that is not UTF-8", &sample.meta, msg_serialize_nms_msg_meta);
}

}  // namespace

Sentences serialiser_sentences() {
  return {
      {"serialisers", "a message becomes a text on the heap, always the same", "", serialise_message},
      {"serialisers", "another message becomes another text", "", tell_messages_apart},
      {"serialisers", "a message without lists and optional texts is serialised", "", serialise_sparse_message},
      {"serialisers", "what is no message is refused, and nothing is written", "", refuse_messages},
      {"serialisers", "a list with a missing element is refused, and nothing is written", "", refuse_missing_elements},
      {"serialisers", "metadata becomes a text on the heap, always the same", "", serialise_meta},
      {"serialisers", "what is no metadata is refused, and nothing is written", "", refuse_meta},
  };
}

}  // namespace msg_consumer::conformance
