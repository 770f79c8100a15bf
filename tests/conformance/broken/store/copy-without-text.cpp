// SPDX-License-Identifier: Apache-2.0
#include <msg-consumer-common/Content.h>

namespace msg_consumer {

Content::Content(const Content& other)
    : id(other.id),
      num_b(other.num_b),
      flag_c(other.flag_c),
      flag_d(other.flag_d),
      str_e(other.str_e),
      kind(other.kind),
      status(other.status),
      str_g(other.str_g),
      str_h(other.str_h),
      str_i(other.str_i),
      str_j(other.str_j) {}

}  // namespace msg_consumer
