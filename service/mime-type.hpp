// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_SERVICE_MIME_TYPE_HPP
#define MSG_CONSUMER_SERVICE_MIME_TYPE_HPP

#include <msg-consumer-common/Content.h>

#include <string_view>

namespace msg_consumer::service {

/// The MIME type that a file's name suggests, without regard to case; "application/octet-stream" for an unknown one.
std::string_view mime_type_of(std::string_view file_name);

Content::Kind kind_of(std::string_view mime_type);

}  // namespace msg_consumer::service

#endif
