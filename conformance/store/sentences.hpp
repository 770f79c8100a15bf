// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_CONFORMANCE_STORE_SENTENCES_HPP
#define MSG_CONSUMER_CONFORMANCE_STORE_SENTENCES_HPP

#include "frame/sentence.hpp"

namespace msg_consumer::conformance {

Sentences catalogue_sentences();
Sentences record_sentences();
Sentences thread_sentences();
Sentences message_sentences();
Sentences list_sentences();
Sentences metadata_sentences();
Sentences life_cycle_sentences();
Sentences capability_sentences();
Sentences serialiser_sentences();

}  // namespace msg_consumer::conformance

#endif
