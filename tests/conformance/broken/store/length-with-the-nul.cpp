// SPDX-License-Identifier: Apache-2.0
#include <msg-consumer-common/msg-serialize.h>

#include "original.hpp"

int msg_serialize_nms_msg_meta(const msg_nms_msg_meta_data_t* meta, char** out) {
  const int length = msg_consumer::test::original(&msg_serialize_nms_msg_meta)(meta, out);
  return length > 0 ? length + 1 : length;
}
