// SPDX-License-Identifier: Apache-2.0
#include "message-digest.hpp"

#include <array>
#include <set>

#include "schema/address.hpp"

namespace msg_consumer::service::transfer {
namespace {

constexpr std::size_t DIGEST_SIZE = 32;

// Behind its length, so that no two lists of texts look the same.
void add_text(std::string& out, std::string_view text) {
  out.append(std::to_string(text.size())).append(":").append(text);
}

// The sender may stand among the addresses or not.
std::set<std::string> correspondents_of(const Message& message) {
  std::set<std::string> result;
  const auto add = [&](const std::string& address) {
    if (std::string normalised = schema::normalise_address(address); !normalised.empty()) {
      result.insert(std::move(normalised));
    }
  };
  add(message.str_p);
  for (const Address& address : message.addresses) {
    if (address.flag_e == 0) {
      add(address.address);
    }
  }
  return result;
}

}  // namespace

std::string Hash::digest() {
  std::array<guint8, DIGEST_SIZE> bytes{};
  gsize size = bytes.size();
  g_checksum_get_digest(_checksum.get(), bytes.data(), &size);
  return {reinterpret_cast<const char*>(bytes.data()), size};
}

std::string digest_of(const Message& message, std::string_view chat_id, const std::vector<std::string>& file_digests) {
  std::string text;
  for (const std::int64_t number : {message.time_ms, std::int64_t{message.num_c}, std::int64_t{message.num_e}}) {
    add_text(text, std::to_string(number));
  }
  add_text(text, chat_id);
  add_text(text, message.str_d);
  add_text(text, message.str_o);
  for (const std::string& address : correspondents_of(message)) {
    add_text(text, address);
  }
  text += '/';
  for (std::size_t index = 0; index < message.contents.size(); ++index) {
    const Content& part = message.contents[index];
    add_text(text, part.str_e);
    add_text(text, part.str_l);
    add_text(text, index < file_digests.size() ? file_digests[index] : std::string());
  }
  Hash hash;
  hash.add(text);
  return hash.digest();
}

}  // namespace msg_consumer::service::transfer
