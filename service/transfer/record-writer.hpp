// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_SERVICE_TRANSFER_RECORD_WRITER_HPP
#define MSG_CONSUMER_SERVICE_TRANSFER_RECORD_WRITER_HPP

#include <string>

#include "records.hpp"

namespace msg_consumer::service::transfer {

/// A record as one line of JSON.
struct Line {
  std::string text;         ///< ends with a newline
  bool was_mended = false;  ///< a text was not UTF-8, and what was wrong in it is replaced
};

Line line_of(const StoreHeader& header);
Line line_of(const ThreadRecord& thread);
Line line_of(const MessageRecord& message);
Line line_of(const DataRecord& data);
Line line_of(const NmsMsgMeta& metadata);
Line line_of(const SubscriptionRecord& subscription);
Line line_of(const EndRecord& end);

}  // namespace msg_consumer::service::transfer

#endif
