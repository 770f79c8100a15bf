// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_EVENT_TYPE_H
#define MSG_CONSUMER_EVENT_TYPE_H

namespace msg_consumer {

/// The kinds of events as the classes number them: one higher than `msg_consumer_event_type_e` of the C API.
enum EventType {
  EVENT_STORAGE_CHANGED = 1,          ///< messages or threads were added, changed or deleted
  EVENT_CONTENT_CHANGED = 2,          ///< the parts (files) of a message changed
  EVENT_GROUPCHAT_STATE_CHANGED = 3,  ///< a group chat's participants or name changed
  EVENT_STORE_MESSAGE_RESULT = 4,     ///< the phone answered a request to store a message
};

}  // namespace msg_consumer

#endif
