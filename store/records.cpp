// SPDX-License-Identifier: Apache-2.0

// The records' constructors, destructors and assignments are functions of this library, never inlined into its users:
// a device's store library brings its own, and tests replace single ones.

#include <msg-consumer-common/Address.h>
#include <msg-consumer-common/Content.h>
#include <msg-consumer-common/Conversation.h>
#include <msg-consumer-common/ListCondition.h>
#include <msg-consumer-common/Message.h>
#include <msg-consumer-common/NmsMsgMeta.h>
#include <msg-consumer-common/Thread.h>

namespace msg_consumer {

Address::Address() = default;
Address::Address(const Address& other) = default;
Address::Address(Address&& other) noexcept = default;
Address& Address::operator=(const Address& other) = default;
Address& Address::operator=(Address&& other) noexcept = default;
Address::~Address() = default;

Content::Content() = default;
Content::Content(const Content& other) = default;
Content::Content(Content&& other) noexcept = default;
Content& Content::operator=(const Content& other) = default;
Content& Content::operator=(Content&& other) noexcept = default;
Content::~Content() = default;

Conversation::Conversation() = default;
Conversation::Conversation(const Conversation& other) = default;
Conversation::Conversation(Conversation&& other) noexcept = default;
Conversation& Conversation::operator=(const Conversation& other) = default;
Conversation& Conversation::operator=(Conversation&& other) noexcept = default;
Conversation::~Conversation() = default;

ListCondition::ListCondition() = default;
ListCondition::ListCondition(const ListCondition& other) = default;
ListCondition::ListCondition(ListCondition&& other) noexcept = default;
ListCondition& ListCondition::operator=(const ListCondition& other) = default;
ListCondition& ListCondition::operator=(ListCondition&& other) noexcept = default;
ListCondition::~ListCondition() = default;

Message::Message() = default;
Message::Message(const Message& other) = default;
Message::Message(Message&& other) noexcept = default;
Message& Message::operator=(const Message& other) = default;
Message& Message::operator=(Message&& other) noexcept = default;
Message::~Message() = default;

NmsMsgMeta::NmsMsgMeta() = default;
NmsMsgMeta::NmsMsgMeta(const NmsMsgMeta& other) = default;
NmsMsgMeta::NmsMsgMeta(NmsMsgMeta&& other) noexcept = default;
NmsMsgMeta& NmsMsgMeta::operator=(const NmsMsgMeta& other) = default;
NmsMsgMeta& NmsMsgMeta::operator=(NmsMsgMeta&& other) noexcept = default;
NmsMsgMeta::~NmsMsgMeta() = default;

Thread::Thread() = default;
Thread::Thread(const Thread& other) = default;
Thread::Thread(Thread&& other) noexcept = default;
Thread& Thread::operator=(const Thread& other) = default;
Thread& Thread::operator=(Thread&& other) noexcept = default;
Thread::~Thread() = default;

}  // namespace msg_consumer
