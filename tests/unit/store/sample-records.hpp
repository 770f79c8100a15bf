// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_TESTS_UNIT_STORE_SAMPLE_RECORDS_HPP
#define MSG_CONSUMER_TESTS_UNIT_STORE_SAMPLE_RECORDS_HPP

#include <msg-consumer-common/Conversation.h>
#include <msg-consumer-common/ListCondition.h>
#include <msg-consumer-common/Message.h>
#include <msg-consumer-common/Thread.h>

namespace msg_consumer::test {

/// A record whose members all have values of their own, unlike a default-constructed one's.
template <typename Record>
Record sample();

template <>
inline Address sample<Address>() {
  Address address;
  address.num_a = 101;
  address.num_b = 2;
  address.num_c = 3;
  address.address = "somebody with a long name@example.org";
  address.flag_e = 1;
  return address;
}

template <>
inline Content sample<Content>() {
  Content content;
  content.id = 201;
  content.num_b = 202;
  content.flag_c = 1;
  content.flag_d = 1;
  content.str_e = "image/png";
  content.kind = Content::KIND_IMAGE;
  content.status = Content::STATUS_FAILED;
  content.str_g = "/files/9/1-picture.png";
  content.str_h = "picture.png";
  content.str_i = "/files/9/1-thumbnail.png";
  content.str_j = "<part-1>";
  content.str_l = "text of the part";
  return content;
}

template <>
inline NmsMsgMeta sample<NmsMsgMeta>() {
  NmsMsgMeta meta;
  meta.msgId = 301;
  meta.metaStr1 = "object";
  meta.metaStr2 = "correlation";
  meta.metaStr3 = "/folder";
  meta.metaStr4 = "https://store.example.org/object";
  meta.metaInt64_1 = INT64_C(1) << 40;
  meta.metaInt64_2 = -(INT64_C(1) << 41);
  meta.metaInt1 = 2;
  meta.metaInt2 = 4;
  meta.metaFlag1 = true;
  meta.metaFlag2 = true;
  meta.metaFlag3 = true;
  return meta;
}

template <>
inline Message sample<Message>() {
  Message message;
  message.id = 401;
  message.num_b = 402;
  message.num_c = 2;
  message.str_d = "body of the message";
  message.subType = 1;
  message.num_e = 2;
  message.num_f = 5;
  message.networkStatus = -403;
  message.num_h = 4;
  message.time_ms = 1'700'000'000'123;
  message.flag_j = 1;
  message.flag_k = 1;
  message.flag_l = 1;
  message.num_m = 2;
  message.num_n = 3;
  message.str_o = "subject";
  message.str_p = "+491701234567";
  message.num_q = 123'456;
  message.flag_r = 1;
  message.str_s = "phone-17";
  message.addresses = {sample<Address>(), Address(), sample<Address>()};
  message.contents = {sample<Content>(), sample<Content>()};
  message.nms_meta = sample<NmsMsgMeta>();
  return message;
}

template <>
inline Conversation sample<Conversation>() {
  Conversation conversation;
  conversation.id = 501;
  conversation.num_b = 502;
  conversation.num_c = 3;
  conversation.str_d = "body in the thread";
  conversation.num_e = 1;
  conversation.num_f = 4;
  conversation.num_g = 2;
  conversation.num_h = 1;
  conversation.time_ms = -5;
  conversation.flag_j = 1;
  conversation.flag_k = 1;
  conversation.flag_l = 1;
  conversation.num_m = 2;
  conversation.num_n = 3;
  conversation.flag_o = 1;
  conversation.num_p = 503;
  conversation.str_q = "phone-18";
  conversation.str_r = "+491701234568";
  conversation.str_s = "subject";
  conversation.str_t = "A Sender";
  conversation.contents = {sample<Content>()};
  return conversation;
}

template <>
inline Thread sample<Thread>() {
  Thread thread;
  thread.id = 601;
  thread.num_b = 602;
  thread.num_c = 1;
  thread.num_d = 2;
  thread.flag_e = 1;
  thread.flag_f = 1;
  thread.num_g = 603;
  thread.num_h = 604;
  thread.num_i = 5;
  thread.time_ms = INT64_C(1) << 42;
  thread.num_k = 605;
  thread.str_m = "title";
  thread.str_n = "last text";
  thread.str_o = "group-chat id";
  thread.flag_p = 1;
  return thread;
}

template <>
inline ListCondition sample<ListCondition>() {
  ListCondition condition;
  condition.flag_x = 0;
  condition.flag_y = 1;
  condition.num_type = 2;
  condition.num_a = 3;
  condition.num_b = 4;
  condition.keyword = "keyword that is not short";
  condition.thread_ids = {5, 6};
  return condition;
}

}  // namespace msg_consumer::test

#endif
