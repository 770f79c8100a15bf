// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_SERVICE_EMULATOR_MESSAGE_CONTENT_HPP
#define MSG_CONSUMER_SERVICE_EMULATOR_MESSAGE_CONTENT_HPP

#include <msg-consumer-common/Message.h>

#include <vector>

#include "content-files.hpp"
#include "step.hpp"

namespace msg_consumer::service::emulator {

/// Brings the bytes of all parts that are kept as files to the disk. Throws the refusal.
IncomingFiles stage_files(const ContentFiles& files, const std::vector<Part>& parts);

/// Gives a message its text, subject and parts, inside the transaction that stores it under `message_id`. Throws the
/// refusal.
void add_content(Message& message, const Receive& receive, const ContentFiles& files, IncomingFiles& staged,
                 int message_id);

}  // namespace msg_consumer::service::emulator

#endif
