// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_TESTS_UNIT_STORE_PUBLIC_RECORDS_HPP
#define MSG_CONSUMER_TESTS_UNIT_STORE_PUBLIC_RECORDS_HPP

// Public records made from the store's, so that what was decoded can be encoded again.

#include <msg-consumer-common/Message.h>
#include <msg-consumer/msg-consumer-record.h>

#include <vector>

namespace msg_consumer::test {

/// A public record's texts are not const; who reads the record does not write them.
inline char* borrowed(const std::string& text) { return const_cast<char*>(text.c_str()); }

/// The texts stay those of `meta`.
inline msg_nms_msg_meta_data_t public_record(const NmsMsgMeta& meta) {
  return {.msg_id = meta.msgId,
          .meta_str1 = borrowed(meta.metaStr1),
          .meta_str2 = borrowed(meta.metaStr2),
          .meta_str3 = borrowed(meta.metaStr3),
          .meta_str4 = borrowed(meta.metaStr4),
          .meta_int1 = meta.metaInt1,
          .meta_int2 = meta.metaInt2,
          .meta_int64_1 = meta.metaInt64_1,
          .meta_int64_2 = meta.metaInt64_2,
          .meta_flag1 = meta.metaFlag1,
          .meta_flag2 = meta.metaFlag2,
          .meta_flag3 = meta.metaFlag3};
}

inline msg_address_item_t public_record(const Address& address) {
  return {.num_1 = address.num_a,
          .num_2 = address.num_b,
          .num_3 = address.num_c,
          .flag_4 = address.flag_e,
          .address = borrowed(address.address)};
}

inline msg_content_item_t public_record(const Content& content) {
  return {.content_id = content.id,
          .num_2 = content.num_b,
          .kind = content.kind,
          .flag_4 = content.flag_c,
          .flag_5 = content.flag_d,
          .status = content.status,
          .text_7 = borrowed(content.str_g),
          .text_8 = borrowed(content.str_h),
          .text_9 = borrowed(content.str_i),
          .text_10 = borrowed(content.str_e),
          .text_11 = borrowed(content.str_j),
          .text_12 = borrowed(content.str_l),
          .reserved_13 = 0,
          .nms_content_meta = nullptr};
}

/// A list of public records, in memory of its own.
template <typename Public>
class PublicList {
 public:
  template <typename Store>
  explicit PublicList(const std::vector<Store>& records) : _records(records.size()), _nodes(records.size()) {
    for (std::size_t i = 0; i < records.size(); ++i) {
      _records[i] = public_record(records[i]);
      _nodes[i] = {&_records[i], i + 1 < records.size() ? &_nodes[i + 1] : nullptr};
    }
  }

  GSList* head() { return _nodes.empty() ? nullptr : _nodes.data(); }

 private:
  std::vector<Public> _records;
  std::vector<GSList> _nodes;
};

/// A message's public record. The texts stay those of the message.
class PublicMessage {
 public:
  explicit PublicMessage(const Message& message)
      : _addresses(message.addresses), _contents(message.contents), _meta(public_record(message.nms_meta)) {
    record.msg_id = message.id;
    record.num_2 = message.num_c;
    record.text_3 = borrowed(message.str_d);
    record.num_4 = message.num_b;
    record.num_5 = message.num_e;
    record.num_6 = message.num_f;
    record.network_status = message.networkStatus;
    record.flag_8 = message.flag_j;
    record.time_sec = static_cast<int>(message.time_ms / 1000);
    record.num_10 = message.num_m;
    record.num_11 = message.num_h;
    record.num_12 = message.num_q;
    record.flag_13 = message.flag_r;
    record.num_14 = message.num_n;
    record.flag_15 = message.flag_l;
    record.flag_16 = message.flag_k;
    record.text_17 = borrowed(message.str_o);
    record.text_18 = borrowed(message.str_p);
    record.text_19 = borrowed(message.str_s);
    record.address_list = _addresses.head();
    record.content_list = _contents.head();
    record.nms_meta = &_meta;
  }
  PublicMessage(const PublicMessage&) = delete;
  PublicMessage& operator=(const PublicMessage&) = delete;
  ~PublicMessage() = default;

  msg_message_item_t record = {};

 private:
  PublicList<msg_address_item_t> _addresses;
  PublicList<msg_content_item_t> _contents;
  msg_nms_msg_meta_data_t _meta;
};

}  // namespace msg_consumer::test

#endif
