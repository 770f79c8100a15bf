// SPDX-License-Identifier: Apache-2.0
#include "schema/row-codec.hpp"

#include <algorithm>
#include <cstdint>
#include <limits>

// A packed row: the format's version, then the members in a fixed order. Integers are zigzag varints, lengths and
// counts plain ones, flags single bytes, texts stand behind their length. The addresses come last, so that a reader
// that does not want them need not read them.

namespace msg_consumer::schema {
namespace {

constexpr std::uint8_t FORMAT = 1;

// The fewest bytes that an element can take: they bound what a count may claim.
constexpr std::size_t MIN_ADDRESS_SIZE = 5;
constexpr std::size_t MIN_CONTENT_SIZE = 11;

class Packer {
 public:
  void byte(std::uint8_t value) { _bytes.push_back(static_cast<char>(value)); }

  void size(std::size_t value) {
    for (; value >= 0x80; value >>= 7U) byte(static_cast<std::uint8_t>(value | 0x80U));
    byte(static_cast<std::uint8_t>(value));
  }

  void integer(std::int32_t value) {
    const auto bits = static_cast<std::uint32_t>(value);
    size((bits << 1U) ^ (value < 0 ? ~0U : 0U));
  }

  void text(std::string_view value) {
    size(value.size());
    _bytes.append(value);
  }

  std::string take() { return std::move(_bytes); }

 private:
  std::string _bytes;
};

/// Reads what a `Packer` wrote. After the first fault every value is zero or empty, and `complete` is false.
class Unpacker {
 public:
  explicit Unpacker(std::string_view bytes) : _next(bytes.data()), _end(bytes.data() + bytes.size()) {}

  bool complete() const { return !_failed && _next == _end; }

  std::uint8_t byte() {
    if (_next == _end) return fail();
    return static_cast<std::uint8_t>(*_next++);
  }

  std::uint32_t size() {
    const std::uint8_t first = byte();
    return first < 0x80 ? first : long_size(first);
  }

  std::int32_t integer() {
    const std::uint32_t bits = size();
    return static_cast<std::int32_t>((bits >> 1U) ^ (0U - (bits & 1U)));
  }

  void text(std::string& value) {
    const std::string_view bytes = view();
    value.assign(bytes.data(), bytes.size());
  }

  void skip_text() { static_cast<void>(view()); }

  /// The number of elements that follow, none of them smaller than `min_size`.
  std::size_t count(std::size_t min_size) {
    const std::size_t value = size();
    return value <= remaining() / min_size ? value : fail();
  }

 private:
  std::size_t remaining() const { return static_cast<std::size_t>(_end - _next); }

  std::uint8_t fail() {
    _failed = true;
    _next = _end;
    return 0;
  }

  std::string_view view() {
    const std::size_t length = size();
    if (length > remaining()) {
      fail();
      return {};
    }
    const std::string_view result(_next, length);
    _next += length;
    return result;
  }

  // Only the shortest form of a number that fits 32 bits is one that a packer wrote.
  std::uint32_t long_size(std::uint8_t first) {
    std::uint64_t value = first & 0x7FU;
    for (unsigned shift = 7; shift < 35; shift += 7) {
      const std::uint8_t next = byte();
      value |= static_cast<std::uint64_t>(next & 0x7FU) << shift;
      if (next < 0x80) {
        const bool valid = next != 0 && value <= std::numeric_limits<std::uint32_t>::max();
        return valid ? static_cast<std::uint32_t>(value) : fail();
      }
    }
    return fail();
  }

  const char* _next;
  const char* _end;
  bool _failed = false;
};

void pack(Packer& out, const Content& content) {
  out.integer(content.id);
  out.byte(content.flag_c);
  out.byte(content.flag_d);
  out.integer(content.kind);
  out.integer(content.status);
  for (const auto* text : {&content.str_e, &content.str_g, &content.str_h, &content.str_i, &content.str_j}) {
    out.text(*text);
  }
  out.text(content.str_l);
}

void unpack(Unpacker& in, int message_id, Content& content) {
  content.id = in.integer();
  content.num_b = message_id;
  content.flag_c = in.byte();
  content.flag_d = in.byte();
  content.kind = in.integer();
  content.status = static_cast<Content::Status>(in.integer());
  for (auto* text : {&content.str_e, &content.str_g, &content.str_h, &content.str_i, &content.str_j}) {
    in.text(*text);
  }
  in.text(content.str_l);
}

void unpack(Unpacker& in, int message_id, std::vector<Content>& contents) {
  contents.resize(in.count(MIN_CONTENT_SIZE));
  for (auto& content : contents) unpack(in, message_id, content);
}

void pack(Packer& out, const Address& address) {
  out.integer(address.num_a);
  out.integer(address.num_b);
  out.integer(address.num_c);
  out.byte(address.flag_e);
  out.text(address.address);
}

void unpack(Unpacker& in, std::vector<Address>& addresses) {
  addresses.resize(in.count(MIN_ADDRESS_SIZE));
  for (auto& address : addresses) {
    address.num_a = in.integer();
    address.num_b = in.integer();
    address.num_c = in.integer();
    address.flag_e = in.byte();
    in.text(address.address);
  }
}

void skip_addresses(Unpacker& in) {
  for (std::size_t left = in.count(MIN_ADDRESS_SIZE); left > 0; --left) {
    in.integer();
    in.integer();
    in.integer();
    in.byte();
    in.skip_text();
  }
}

}  // namespace

std::string pack_message(const Message& message, std::string_view sender_name) {
  Packer out;
  out.byte(FORMAT);
  out.byte(message.flag_l);
  out.byte(message.flag_r);
  out.integer(message.subType);
  out.integer(message.networkStatus);
  out.integer(message.num_e);
  out.integer(message.num_h);
  out.integer(message.num_m);
  out.integer(message.num_n);
  out.integer(message.num_q);
  out.text(message.str_d);
  out.text(message.str_o);
  out.text(message.str_p);
  out.text(message.str_s);
  out.text(sender_name);
  out.size(message.contents.size());
  for (const auto& content : message.contents) pack(out, content);
  out.size(message.addresses.size());
  for (const auto& address : message.addresses) pack(out, address);
  return out.take();
}

bool unpack_message(std::string_view packed, Message& message, std::string* sender_name) {
  Unpacker in(packed);
  if (in.byte() != FORMAT) return false;
  message.flag_l = in.byte();
  message.flag_r = in.byte();
  message.subType = in.integer();
  message.networkStatus = in.integer();
  message.num_e = in.integer();
  message.num_h = in.integer();
  message.num_m = in.integer();
  message.num_n = in.integer();
  message.num_q = in.integer();
  in.text(message.str_d);
  in.text(message.str_o);
  in.text(message.str_p);
  in.text(message.str_s);
  if (sender_name != nullptr) {
    in.text(*sender_name);
  } else {
    in.skip_text();
  }
  unpack(in, message.id, message.contents);
  unpack(in, message.addresses);
  return in.complete();
}

bool unpack_conversation(std::string_view packed, Conversation& conversation) {
  Unpacker in(packed);
  if (in.byte() != FORMAT) return false;
  conversation.flag_l = in.byte();
  conversation.flag_o = in.byte();
  in.integer();  // sub-type
  in.integer();  // network status
  conversation.num_e = in.integer();
  conversation.num_g = in.integer();
  conversation.num_m = in.integer();
  conversation.num_n = in.integer();
  conversation.num_p = in.integer();
  in.text(conversation.str_d);
  in.text(conversation.str_s);
  in.text(conversation.str_r);
  in.text(conversation.str_q);
  in.text(conversation.str_t);
  if (conversation.str_t.empty()) conversation.str_t = conversation.str_r;
  unpack(in, conversation.id, conversation.contents);
  conversation.num_h = static_cast<int>(conversation.contents.size());
  skip_addresses(in);
  return in.complete();
}

}  // namespace msg_consumer::schema
