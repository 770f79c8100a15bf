// SPDX-License-Identifier: Apache-2.0

// The records' layouts are the interface between libraries that are built and replaced apart: they must not change by
// accident. Every size and offset is written out, for the three layouts that occur: 64 bits; 32 bits as on ARM, where
// a 64-bit integer is aligned to 8 bytes; and 32 bits as on i386, where it is aligned to 4.

#include <cstddef>
#include <cstdint>

#include <msg-consumer-common/Address.h>
#include <msg-consumer-common/Content.h>
#include <msg-consumer-common/Conversation.h>
#include <msg-consumer-common/ListCondition.h>
#include <msg-consumer-common/Message.h>
#include <msg-consumer-common/NmsMsgMeta.h>
#include <msg-consumer-common/Thread.h>
#include <msg-consumer/msg-consumer-record.h>

namespace msg_consumer {
namespace {

struct Alignment {
  char first;
  std::int64_t second;
};

constexpr std::size_t of_this_target(std::size_t on_64_bits, std::size_t on_arm, std::size_t on_i386) {
  if (sizeof(void*) == 8) return on_64_bits;
  return offsetof(Alignment, second) == 8 ? on_arm : on_i386;
}

}  // namespace

// Each table: the record's size, then its members in order, each with the offsets on 64 bits, ARM and i386.
#define SIZE(record, ...) static_assert(sizeof(record) == of_this_target(__VA_ARGS__))
#define OFFSET(record, member, ...) static_assert(offsetof(record, member) == of_this_target(__VA_ARGS__))

// The public records.

SIZE(msg_list_handle_t, 8, 4, 4);
OFFSET(msg_list_handle_t, list, 0, 0, 0);

SIZE(msg_address_item_t, 24, 20, 20);
OFFSET(msg_address_item_t, num_1, 0, 0, 0);
OFFSET(msg_address_item_t, num_2, 4, 4, 4);
OFFSET(msg_address_item_t, num_3, 8, 8, 8);
OFFSET(msg_address_item_t, flag_4, 12, 12, 12);
OFFSET(msg_address_item_t, address, 16, 16, 16);

SIZE(msg_nms_content_meta_t, 40, 24, 24);
OFFSET(msg_nms_content_meta_t, num_1, 0, 0, 0);
OFFSET(msg_nms_content_meta_t, num_2, 4, 4, 4);
OFFSET(msg_nms_content_meta_t, text_3, 8, 8, 8);
OFFSET(msg_nms_content_meta_t, text_4, 16, 12, 12);
OFFSET(msg_nms_content_meta_t, text_5, 24, 16, 16);
OFFSET(msg_nms_content_meta_t, num_6, 32, 20, 20);

SIZE(msg_content_item_t, 88, 56, 56);
OFFSET(msg_content_item_t, content_id, 0, 0, 0);
OFFSET(msg_content_item_t, num_2, 4, 4, 4);
OFFSET(msg_content_item_t, kind, 8, 8, 8);
OFFSET(msg_content_item_t, flag_4, 12, 12, 12);
OFFSET(msg_content_item_t, flag_5, 16, 16, 16);
OFFSET(msg_content_item_t, status, 20, 20, 20);
OFFSET(msg_content_item_t, text_7, 24, 24, 24);
OFFSET(msg_content_item_t, text_8, 32, 28, 28);
OFFSET(msg_content_item_t, text_9, 40, 32, 32);
OFFSET(msg_content_item_t, text_10, 48, 36, 36);
OFFSET(msg_content_item_t, text_11, 56, 40, 40);
OFFSET(msg_content_item_t, text_12, 64, 44, 44);
OFFSET(msg_content_item_t, reserved_13, 72, 48, 48);
OFFSET(msg_content_item_t, nms_content_meta, 80, 52, 52);

SIZE(msg_nms_msg_meta_data_t, 72, 56, 48);
OFFSET(msg_nms_msg_meta_data_t, msg_id, 0, 0, 0);
OFFSET(msg_nms_msg_meta_data_t, meta_str1, 8, 4, 4);
OFFSET(msg_nms_msg_meta_data_t, meta_str2, 16, 8, 8);
OFFSET(msg_nms_msg_meta_data_t, meta_str3, 24, 12, 12);
OFFSET(msg_nms_msg_meta_data_t, meta_str4, 32, 16, 16);
OFFSET(msg_nms_msg_meta_data_t, meta_int1, 40, 20, 20);
OFFSET(msg_nms_msg_meta_data_t, meta_int2, 44, 24, 24);
OFFSET(msg_nms_msg_meta_data_t, meta_int64_1, 48, 32, 28);
OFFSET(msg_nms_msg_meta_data_t, meta_int64_2, 56, 40, 36);
OFFSET(msg_nms_msg_meta_data_t, meta_flag1, 64, 48, 44);
OFFSET(msg_nms_msg_meta_data_t, meta_flag2, 65, 49, 45);
OFFSET(msg_nms_msg_meta_data_t, meta_flag3, 66, 50, 46);

SIZE(msg_nms_mssi_info_t, 16, 16, 12);
OFFSET(msg_nms_mssi_info_t, noti_index, 0, 0, 0);
OFFSET(msg_nms_mssi_info_t, restart_token, 8, 8, 8);

SIZE(msg_message_item_t, 112, 84, 84);
OFFSET(msg_message_item_t, msg_id, 0, 0, 0);
OFFSET(msg_message_item_t, num_2, 4, 4, 4);
OFFSET(msg_message_item_t, text_3, 8, 8, 8);
OFFSET(msg_message_item_t, num_4, 16, 12, 12);
OFFSET(msg_message_item_t, num_5, 20, 16, 16);
OFFSET(msg_message_item_t, num_6, 24, 20, 20);
OFFSET(msg_message_item_t, network_status, 28, 24, 24);
OFFSET(msg_message_item_t, flag_8, 32, 28, 28);
OFFSET(msg_message_item_t, time_sec, 36, 32, 32);
OFFSET(msg_message_item_t, num_10, 40, 36, 36);
OFFSET(msg_message_item_t, num_11, 44, 40, 40);
OFFSET(msg_message_item_t, num_12, 48, 44, 44);
OFFSET(msg_message_item_t, flag_13, 52, 48, 48);
OFFSET(msg_message_item_t, num_14, 56, 52, 52);
OFFSET(msg_message_item_t, flag_15, 60, 56, 56);
OFFSET(msg_message_item_t, flag_16, 61, 57, 57);
OFFSET(msg_message_item_t, text_17, 64, 60, 60);
OFFSET(msg_message_item_t, text_18, 72, 64, 64);
OFFSET(msg_message_item_t, text_19, 80, 68, 68);
OFFSET(msg_message_item_t, address_list, 88, 72, 72);
OFFSET(msg_message_item_t, content_list, 96, 76, 76);
OFFSET(msg_message_item_t, nms_meta, 104, 80, 80);

SIZE(msg_thread_view_t, 80, 60, 60);
OFFSET(msg_thread_view_t, thread_id, 0, 0, 0);
OFFSET(msg_thread_view_t, text_2, 8, 4, 4);
OFFSET(msg_thread_view_t, text_3, 16, 8, 8);
OFFSET(msg_thread_view_t, text_4, 24, 12, 12);
OFFSET(msg_thread_view_t, time_sec, 32, 16, 16);
OFFSET(msg_thread_view_t, num_6, 36, 20, 20);
OFFSET(msg_thread_view_t, num_7, 40, 24, 24);
OFFSET(msg_thread_view_t, flag_8, 44, 28, 28);
OFFSET(msg_thread_view_t, num_9, 48, 32, 32);
OFFSET(msg_thread_view_t, num_10, 52, 36, 36);
OFFSET(msg_thread_view_t, num_11, 56, 40, 40);
OFFSET(msg_thread_view_t, num_12, 60, 44, 44);
OFFSET(msg_thread_view_t, num_13, 64, 48, 48);
OFFSET(msg_thread_view_t, flag_14, 68, 52, 52);
OFFSET(msg_thread_view_t, flag_15, 69, 53, 53);
OFFSET(msg_thread_view_t, num_16, 72, 56, 56);

SIZE(msg_conversation_view_t, 112, 80, 80);
OFFSET(msg_conversation_view_t, msg_id, 0, 0, 0);
OFFSET(msg_conversation_view_t, num_2, 4, 4, 4);
OFFSET(msg_conversation_view_t, text_3, 8, 8, 8);
OFFSET(msg_conversation_view_t, num_4, 16, 12, 12);
OFFSET(msg_conversation_view_t, num_5, 20, 16, 16);
OFFSET(msg_conversation_view_t, num_6, 24, 20, 20);
OFFSET(msg_conversation_view_t, num_7, 28, 24, 24);
OFFSET(msg_conversation_view_t, time_sec, 32, 28, 28);
OFFSET(msg_conversation_view_t, flag_9, 36, 32, 32);
OFFSET(msg_conversation_view_t, num_10, 40, 36, 36);
OFFSET(msg_conversation_view_t, text_11, 48, 40, 40);
OFFSET(msg_conversation_view_t, text_12, 56, 44, 44);
OFFSET(msg_conversation_view_t, num_13, 64, 48, 48);
OFFSET(msg_conversation_view_t, num_14, 68, 52, 52);
OFFSET(msg_conversation_view_t, flag_15, 72, 56, 56);
OFFSET(msg_conversation_view_t, text_16, 80, 60, 60);
OFFSET(msg_conversation_view_t, text_17, 88, 64, 64);
OFFSET(msg_conversation_view_t, num_18, 96, 68, 68);
OFFSET(msg_conversation_view_t, flag_19, 100, 72, 72);
OFFSET(msg_conversation_view_t, flag_20, 101, 73, 73);
OFFSET(msg_conversation_view_t, content_list, 104, 76, 76);

SIZE(msg_list_condition_t, 32, 20, 20);
OFFSET(msg_list_condition_t, num_1, 0, 0, 0);
OFFSET(msg_list_condition_t, num_2, 4, 4, 4);
OFFSET(msg_list_condition_t, thread_id, 8, 8, 8);
OFFSET(msg_list_condition_t, keyword, 16, 12, 12);
OFFSET(msg_list_condition_t, flag_5, 24, 16, 16);
OFFSET(msg_list_condition_t, flag_6, 25, 17, 17);

// The store's records, with the strings and vectors of libstdc++.
#ifdef __GLIBCXX__

SIZE(Address, 56, 40, 40);
OFFSET(Address, num_a, 0, 0, 0);
OFFSET(Address, num_b, 4, 4, 4);
OFFSET(Address, num_c, 8, 8, 8);
OFFSET(Address, address, 16, 12, 12);
OFFSET(Address, flag_e, 48, 36, 36);

SIZE(Content, 216, 164, 164);
OFFSET(Content, id, 0, 0, 0);
OFFSET(Content, num_b, 4, 4, 4);
OFFSET(Content, flag_c, 8, 8, 8);
OFFSET(Content, flag_d, 9, 9, 9);
OFFSET(Content, str_e, 16, 12, 12);
OFFSET(Content, kind, 48, 36, 36);
OFFSET(Content, status, 52, 40, 40);
OFFSET(Content, str_g, 56, 44, 44);
OFFSET(Content, str_h, 88, 68, 68);
OFFSET(Content, str_i, 120, 92, 92);
OFFSET(Content, str_j, 152, 116, 116);
OFFSET(Content, str_l, 184, 140, 140);

SIZE(Conversation, 248, 192, 188);
OFFSET(Conversation, id, 0, 0, 0);
OFFSET(Conversation, num_b, 4, 4, 4);
OFFSET(Conversation, num_c, 8, 8, 8);
OFFSET(Conversation, str_d, 16, 12, 12);
OFFSET(Conversation, num_e, 48, 36, 36);
OFFSET(Conversation, num_f, 52, 40, 40);
OFFSET(Conversation, num_g, 56, 44, 44);
OFFSET(Conversation, num_h, 60, 48, 48);
OFFSET(Conversation, time_ms, 64, 56, 52);
OFFSET(Conversation, flag_j, 72, 64, 60);
OFFSET(Conversation, flag_k, 73, 65, 61);
OFFSET(Conversation, flag_l, 74, 66, 62);
OFFSET(Conversation, num_m, 76, 68, 64);
OFFSET(Conversation, num_n, 80, 72, 68);
OFFSET(Conversation, flag_o, 84, 76, 72);
OFFSET(Conversation, num_p, 88, 80, 76);
OFFSET(Conversation, str_q, 96, 84, 80);
OFFSET(Conversation, str_r, 128, 108, 104);
OFFSET(Conversation, str_s, 160, 132, 128);
OFFSET(Conversation, str_t, 192, 156, 152);
OFFSET(Conversation, contents, 224, 180, 176);

SIZE(ListCondition, 80, 56, 56);
OFFSET(ListCondition, flag_x, 0, 0, 0);
OFFSET(ListCondition, flag_y, 4, 4, 4);
OFFSET(ListCondition, num_type, 8, 8, 8);
OFFSET(ListCondition, num_a, 12, 12, 12);
OFFSET(ListCondition, num_b, 16, 16, 16);
OFFSET(ListCondition, keyword, 24, 20, 20);
OFFSET(ListCondition, thread_ids, 56, 44, 44);

SIZE(Message, 416, 320, 308);
OFFSET(Message, id, 0, 0, 0);
OFFSET(Message, num_b, 4, 4, 4);
OFFSET(Message, num_c, 8, 8, 8);
OFFSET(Message, str_d, 16, 12, 12);
OFFSET(Message, subType, 48, 36, 36);
OFFSET(Message, num_e, 52, 40, 40);
OFFSET(Message, num_f, 56, 44, 44);
OFFSET(Message, networkStatus, 60, 48, 48);
OFFSET(Message, num_h, 64, 52, 52);
OFFSET(Message, time_ms, 72, 56, 56);
OFFSET(Message, flag_j, 80, 64, 64);
OFFSET(Message, flag_k, 81, 65, 65);
OFFSET(Message, flag_l, 82, 66, 66);
OFFSET(Message, num_m, 84, 68, 68);
OFFSET(Message, num_n, 88, 72, 72);
OFFSET(Message, str_o, 96, 76, 76);
OFFSET(Message, str_p, 128, 100, 100);
OFFSET(Message, num_q, 160, 124, 124);
OFFSET(Message, flag_r, 164, 128, 128);
OFFSET(Message, str_s, 168, 132, 132);
OFFSET(Message, addresses, 200, 156, 156);
OFFSET(Message, contents, 224, 168, 168);
OFFSET(Message, nms_meta, 248, 184, 180);

SIZE(NmsMsgMeta, 168, 136, 128);
OFFSET(NmsMsgMeta, msgId, 0, 0, 0);
OFFSET(NmsMsgMeta, metaStr1, 8, 4, 4);
OFFSET(NmsMsgMeta, metaStr2, 40, 28, 28);
OFFSET(NmsMsgMeta, metaStr3, 72, 52, 52);
OFFSET(NmsMsgMeta, metaStr4, 104, 76, 76);
OFFSET(NmsMsgMeta, metaInt64_1, 136, 104, 100);
OFFSET(NmsMsgMeta, metaInt64_2, 144, 112, 108);
OFFSET(NmsMsgMeta, metaInt1, 152, 120, 116);
OFFSET(NmsMsgMeta, metaInt2, 156, 124, 120);
OFFSET(NmsMsgMeta, metaFlag1, 160, 128, 124);
OFFSET(NmsMsgMeta, metaFlag2, 161, 129, 125);
OFFSET(NmsMsgMeta, metaFlag3, 162, 130, 126);

SIZE(Thread, 152, 120, 120);
OFFSET(Thread, id, 0, 0, 0);
OFFSET(Thread, num_b, 4, 4, 4);
OFFSET(Thread, num_c, 8, 8, 8);
OFFSET(Thread, num_d, 12, 12, 12);
OFFSET(Thread, flag_e, 16, 16, 16);
OFFSET(Thread, flag_f, 17, 17, 17);
OFFSET(Thread, num_g, 20, 20, 20);
OFFSET(Thread, num_h, 24, 24, 24);
OFFSET(Thread, num_i, 28, 28, 28);
OFFSET(Thread, time_ms, 32, 32, 32);
OFFSET(Thread, num_k, 40, 40, 40);
OFFSET(Thread, str_m, 48, 44, 44);
OFFSET(Thread, str_n, 80, 68, 68);
OFFSET(Thread, str_o, 112, 92, 92);
OFFSET(Thread, flag_p, 144, 116, 116);

#endif

}  // namespace msg_consumer
