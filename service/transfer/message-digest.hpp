// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_SERVICE_TRANSFER_MESSAGE_DIGEST_HPP
#define MSG_CONSUMER_SERVICE_TRANSFER_MESSAGE_DIGEST_HPP

#include <msg-consumer-common/Message.h>

#include <glib.h>

#include <string>
#include <string_view>
#include <vector>

#include <msg-consumer-platform/releaser.hpp>

namespace msg_consumer::service::transfer {

/// SHA-256, piece by piece.
class Hash {
 public:
  Hash() : _checksum(g_checksum_new(G_CHECKSUM_SHA256)) {}
  void add(std::string_view bytes) {
    g_checksum_update(_checksum.get(), reinterpret_cast<const guchar*>(bytes.data()),
                      static_cast<gssize>(bytes.size()));
  }
  std::string digest();

 private:
  Owned<GChecksum, g_checksum_free> _checksum;
};

/// What makes two messages the same: time, type, direction, correspondents, texts and parts. What may change while a
/// message is kept does not count: ids, whether it was read, locked or delivered. `chat_id` is the thread's;
/// `file_digests` belong to the parts in their order, empty for one without a file.
std::string digest_of(const Message& message, std::string_view chat_id, const std::vector<std::string>& file_digests);

}  // namespace msg_consumer::service::transfer

#endif
