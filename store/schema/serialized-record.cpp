// SPDX-License-Identifier: Apache-2.0
#include "schema/serialized-record.hpp"

#include <algorithm>
#include <concepts>
#include <cstdint>
#include <limits>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "schema/text.hpp"

namespace msg_consumer::schema {
namespace {

using Json = nlohmann::json;

/// Thrown and caught in this file only: the record can't be encoded, the text can't be decoded.
struct Refused {};

struct Range {
  std::int64_t first = std::numeric_limits<int>::min();
  std::int64_t last = std::numeric_limits<int>::max();
};

constexpr Range ANY;
constexpr Range FLAG{0, 1};
constexpr Range NOT_NEGATIVE{0, std::numeric_limits<int>::max()};
constexpr Range ANY_64{std::numeric_limits<std::int64_t>::min(), std::numeric_limits<std::int64_t>::max()};

/// A member of the public record that has no place in the store's.
struct Unmapped {};

// The tables: name, member of the public record, member of the store's record, valid values. Both directions are
// made from them. What is an object or a list of its own is not in them.

template <typename Visitor>
void visit_address(Visitor& visit) {
  using P = msg_address_item_t;
  visit("num_1", &P::num_1, &Address::num_a, ANY);
  visit("num_2", &P::num_2, &Address::num_b, Range{1, 3});
  visit("num_3", &P::num_3, &Address::num_c, Range{0, 3});
  visit("flag_4", &P::flag_4, &Address::flag_e, FLAG);
  visit("address", &P::address, &Address::address);
}

template <typename Visitor>
void visit_nms_content_meta(Visitor& visit) {
  using P = msg_nms_content_meta_t;
  visit("num_1", &P::num_1, Unmapped(), ANY);
  visit("num_2", &P::num_2, Unmapped(), ANY);
  visit("text_3", &P::text_3, Unmapped());
  visit("text_4", &P::text_4, Unmapped());
  visit("text_5", &P::text_5, Unmapped());
  visit("num_6", &P::num_6, Unmapped(), ANY);
}

template <typename Visitor>
void visit_content(Visitor& visit) {
  using P = msg_content_item_t;
  visit("content_id", &P::content_id, &Content::id, ANY);
  visit("num_2", &P::num_2, &Content::num_b, ANY);
  visit("kind", &P::kind, &Content::kind, Range{Content::KIND_TEXT, Content::KIND_OTHER});
  visit("flag_4", &P::flag_4, &Content::flag_c, FLAG);
  visit("flag_5", &P::flag_5, &Content::flag_d, FLAG);
  visit("status", &P::status, &Content::status, Range{Content::STATUS_NONE, Content::STATUS_FAILED});
  visit("text_7", &P::text_7, &Content::str_g);
  visit("text_8", &P::text_8, &Content::str_h);
  visit("text_9", &P::text_9, &Content::str_i);
  visit("text_10", &P::text_10, &Content::str_e);
  visit("text_11", &P::text_11, &Content::str_j);
  visit("text_12", &P::text_12, &Content::str_l);
  visit("reserved_13", &P::reserved_13, Unmapped(), Range{0, 0});
}

template <typename Visitor>
void visit_nms_meta(Visitor& visit) {
  using P = msg_nms_msg_meta_data_t;
  visit("msg_id", &P::msg_id, &NmsMsgMeta::msgId, ANY);
  visit("meta_str1", &P::meta_str1, &NmsMsgMeta::metaStr1);
  visit("meta_str2", &P::meta_str2, &NmsMsgMeta::metaStr2);
  visit("meta_str3", &P::meta_str3, &NmsMsgMeta::metaStr3);
  visit("meta_str4", &P::meta_str4, &NmsMsgMeta::metaStr4);
  visit("meta_int1", &P::meta_int1, &NmsMsgMeta::metaInt1, Range{0, 3});
  visit("meta_int2", &P::meta_int2, &NmsMsgMeta::metaInt2, Range{0, 4});
  visit("meta_int64_1", &P::meta_int64_1, &NmsMsgMeta::metaInt64_1, ANY_64);
  visit("meta_int64_2", &P::meta_int64_2, &NmsMsgMeta::metaInt64_2, ANY_64);
  visit("meta_flag1", &P::meta_flag1, &NmsMsgMeta::metaFlag1);
  visit("meta_flag2", &P::meta_flag2, &NmsMsgMeta::metaFlag2);
  visit("meta_flag3", &P::meta_flag3, &NmsMsgMeta::metaFlag3);
}

template <typename Visitor>
void visit_message(Visitor& visit) {
  using P = msg_message_item_t;
  visit("msg_id", &P::msg_id, &Message::id, ANY);
  visit("num_2", &P::num_2, &Message::num_c, Range{1, 3});
  visit("text_3", &P::text_3, &Message::str_d);
  visit("num_4", &P::num_4, &Message::num_b, ANY);
  visit("num_5", &P::num_5, &Message::num_e, Range{1, 3});
  visit("num_6", &P::num_6, &Message::num_f, Range{0, 5});
  visit("network_status", &P::network_status, &Message::networkStatus, ANY);
  visit("flag_8", &P::flag_8, &Message::flag_j, FLAG);
  visit("time_sec", &P::time_sec, &Message::time_ms, ANY);
  visit("num_10", &P::num_10, &Message::num_m, Range{0, 2});
  visit("num_11", &P::num_11, &Message::num_h, ANY);
  visit("num_12", &P::num_12, &Message::num_q, NOT_NEGATIVE);
  visit("flag_13", &P::flag_13, &Message::flag_r, FLAG);
  visit("num_14", &P::num_14, &Message::num_n, Range{0, 4});
  visit("flag_15", &P::flag_15, &Message::flag_l, FLAG);
  visit("flag_16", &P::flag_16, &Message::flag_k, FLAG);
  visit("text_17", &P::text_17, &Message::str_o);
  visit("text_18", &P::text_18, &Message::str_p);
  visit("text_19", &P::text_19, &Message::str_s);
}

// Encoding: straight into the text. A tree of JSON values would allocate even when it is destroyed, and so end the
// process when memory runs out.

template <std::integral Number>
void encode(std::string& out, Number value) {
  if constexpr (std::is_same_v<Number, bool>) {
    out += value ? "true" : "false";
  } else {
    out += std::to_string(value);
  }
}

void encode(std::string& out, const char* text) { out += text != nullptr ? Json(text).dump() : "null"; }

void encode(std::string& out, const msg_address_item_t& address);
void encode(std::string& out, const msg_nms_content_meta_t& meta);
void encode(std::string& out, const msg_nms_msg_meta_data_t& meta);
void encode(std::string& out, const msg_content_item_t& content);

template <typename Public>
void encode_optional(std::string& out, const Public* record) {
  if (record != nullptr) {
    encode(out, *record);
  } else {
    out += "null";
  }
}

template <typename Public>
void encode_list(std::string& out, const GSList* list) {
  out += '[';
  for (const GSList* node = list; node != nullptr; node = node->next) {
    // An element for which memory ran out: the message is not whole.
    if (node->data == nullptr) throw Refused();
    if (node != list) out += ',';
    encode(out, *static_cast<const Public*>(node->data));
  }
  out += ']';
}

/// Writes a public record as an object.
template <typename Public>
class Encoder {
 public:
  Encoder(std::string& out, const Public& record) : _out(out), _record(record) { _out += '{'; }

  void name(const char* name) {
    if (_out.back() != '{') _out += ',';
    _out.append("\"").append(name).append("\":");
  }

  template <typename Member, typename... Rest>
  void operator()(const char* member_name, Member member, const Rest&...) {
    name(member_name);
    encode(_out, _record.*member);
  }

  void finish() { _out += '}'; }

 private:
  std::string& _out;
  const Public& _record;
};

void encode(std::string& out, const msg_address_item_t& address) {
  Encoder object(out, address);
  visit_address(object);
  object.finish();
}

void encode(std::string& out, const msg_nms_content_meta_t& meta) {
  Encoder object(out, meta);
  visit_nms_content_meta(object);
  object.finish();
}

void encode(std::string& out, const msg_nms_msg_meta_data_t& meta) {
  Encoder object(out, meta);
  visit_nms_meta(object);
  object.finish();
}

void encode(std::string& out, const msg_content_item_t& content) {
  Encoder object(out, content);
  visit_content(object);
  object.name("nms_content_meta");
  encode_optional(out, content.nms_content_meta);
  object.finish();
}

void encode(std::string& out, const msg_message_item_t& message) {
  Encoder object(out, message);
  visit_message(object);
  object.name("address_list");
  encode_list<msg_address_item_t>(out, message.address_list);
  object.name("content_list");
  encode_list<msg_content_item_t>(out, message.content_list);
  object.name("nms_meta");
  encode_optional(out, message.nms_meta);
  object.finish();
}

// Decoding: into values of our own, for the same reason.

/// A JSON value, whose destruction needs no memory.
struct Value {
  enum class Kind { NOTHING, BOOLEAN, INTEGER, OTHER_NUMBER, TEXT, LIST, OBJECT };

  Kind kind = Kind::NOTHING;
  std::int64_t integer = 0;  ///< also of a boolean
  std::string text = {};
  std::vector<Value> items = {};        ///< of a list; of an object, in the order of its names
  std::vector<std::string> names = {};  ///< of an object's members

  /// The member of that name, or null.
  const Value* find(std::string_view name) const {
    const auto found = std::find(names.begin(), names.end(), name);
    return found != names.end() ? &items[static_cast<std::size_t>(found - names.begin())] : nullptr;
  }
};

std::int64_t integer(const Value& value, Range range) {
  if (value.kind != Value::Kind::INTEGER || value.integer < range.first || value.integer > range.last) throw Refused();
  return value.integer;
}

std::string text(const Value& value) {
  if (value.kind == Value::Kind::NOTHING) return {};
  // The records' texts end at a NUL.
  if (value.kind != Value::Kind::TEXT || !is_utf8(value.text)) throw Refused();
  return value.text;
}

/// Takes the members of a JSON object, and fills a store record. Members that nobody asked for are refused.
template <typename Store>
class Decoder {
 public:
  Decoder(const Value& object, Store& record) : _object(object), _record(record) {
    if (object.kind != Value::Kind::OBJECT) throw Refused();
  }

  const Value& take(const char* name) {
    const Value* const found = _object.find(name);
    if (found == nullptr) throw Refused();
    ++_taken;
    return *found;
  }

  template <typename PublicMember, typename StoreMember>
  void operator()(const char* name, PublicMember, StoreMember member, Range range) {
    const std::int64_t number = integer(take(name), range);
    if constexpr (!std::is_same_v<StoreMember, Unmapped>) assign(_record.*member, number);
  }

  template <typename PublicMember, typename StoreMember>
  void operator()(const char* name, PublicMember, StoreMember member) {
    const Value& value = take(name);
    if constexpr (std::is_same_v<StoreMember, bool Store::*>) {
      if (value.kind != Value::Kind::BOOLEAN) throw Refused();
      _record.*member = value.integer != 0;
    } else if constexpr (std::is_same_v<StoreMember, std::string Store::*>) {
      _record.*member = text(value);
    } else {
      text(value);
    }
  }

  void finish() const {
    if (_taken != _object.items.size()) throw Refused();
  }

 private:
  template <typename T>
  void assign(T& target, std::int64_t number) {
    target = static_cast<T>(number);
  }

  const Value& _object;
  Store& _record;
  std::size_t _taken = 0;
};

void decode(const Value& object, Address& address) {
  Decoder in(object, address);
  visit_address(in);
  in.finish();
}

void decode(const Value& object, NmsMsgMeta& meta) {
  Decoder in(object, meta);
  visit_nms_meta(in);
  in.finish();
}

// The store keeps no metadata of single parts.
void check_nms_content_meta(const Value& object) {
  Unmapped nothing;
  Decoder in(object, nothing);
  visit_nms_content_meta(in);
  in.finish();
}

void decode(const Value& object, Content& content) {
  Decoder in(object, content);
  visit_content(in);
  const Value& meta = in.take("nms_content_meta");
  if (meta.kind != Value::Kind::NOTHING) check_nms_content_meta(meta);
  in.finish();
}

template <typename Store>
void decode_list(const Value& elements, std::vector<Store>& list) {
  if (elements.kind != Value::Kind::LIST) throw Refused();
  list.resize(elements.items.size());
  for (std::size_t i = 0; i < list.size(); ++i) decode(elements.items[i], list[i]);
}

void decode(const Value& object, Message& message) {
  Decoder in(object, message);
  visit_message(in);
  message.time_ms *= 1000;
  decode_list(in.take("address_list"), message.addresses);
  decode_list(in.take("content_list"), message.contents);
  const Value& meta = in.take("nms_meta");
  if (meta.kind != Value::Kind::NOTHING) decode(meta, message.nms_meta);
  in.finish();
}

/// Builds a value as the parser reads it. Refuses deep nesting, and repeated members.
class Builder {
 public:
  explicit Builder(Value& root) : _root(root) {}

  // The parser's names. It goes on for as long as they return true.
  bool null() { return add({}); }
  bool boolean(bool value) { return add({.kind = Value::Kind::BOOLEAN, .integer = value ? 1 : 0}); }
  bool number_integer(std::int64_t value) { return add({.kind = Value::Kind::INTEGER, .integer = value}); }
  bool number_unsigned(std::uint64_t value) {
    if (value > static_cast<std::uint64_t>(INT64_MAX)) return add({.kind = Value::Kind::OTHER_NUMBER});
    return number_integer(static_cast<std::int64_t>(value));
  }
  bool number_float(double /*value*/, const std::string& /*text*/) { return add({.kind = Value::Kind::OTHER_NUMBER}); }
  bool string(std::string& value) { return add({.kind = Value::Kind::TEXT, .text = std::move(value)}); }
  bool start_array(std::size_t /*size*/) { return open(Value::Kind::LIST); }
  bool end_array() { return close(); }
  bool start_object(std::size_t /*size*/) { return open(Value::Kind::OBJECT); }
  bool key(std::string& name) {
    if (!_open.back().names.insert(name).second) return false;
    _open.back().value->names.push_back(std::move(name));
    return true;
  }
  bool end_object() { return close(); }
  static bool binary(const std::vector<std::uint8_t>& /*value*/) { return false; }
  static bool parse_error(std::size_t /*position*/, const std::string& /*token*/, const Json::exception& /*error*/) {
    return false;
  }

 private:
  // The message, its list of parts, a part, the part's metadata.
  static constexpr std::size_t MAX_DEPTH = 4;

  struct Open {
    Value* value;
    std::set<std::string> names;  ///< that it has so far
  };

  // Nothing is added to an open value but behind the one that was opened in it: the pointers stay valid.
  Value& place() { return _open.empty() ? _root : _open.back().value->items.emplace_back(); }

  bool add(Value&& value) {
    place() = std::move(value);
    return true;
  }

  bool open(Value::Kind kind) {
    if (_open.size() >= MAX_DEPTH) return false;
    Value& value = place();
    value.kind = kind;
    _open.push_back({.value = &value, .names = {}});
    return true;
  }

  bool close() {
    _open.pop_back();
    return true;
  }

  Value& _root;
  std::vector<Open> _open;
};

Value parse(std::string_view text) {
  Value root;
  Builder builder(root);
  if (!Json::sax_parse(text, &builder)) throw Refused();
  return root;
}

// The whole text: a record's members, and the version.

constexpr const char* VERSION_NAME = "version";

template <typename Public>
std::optional<std::string> encode_record(const Public& record) try {
  std::string text;
  encode(text, record);
  // Behind the opening brace; a record always has members.
  text.insert(1, std::string("\"") + VERSION_NAME + "\":" + std::to_string(SERIALIZED_RECORD_VERSION) + ",");
  if (text.size() > MAX_SERIALIZED_SIZE) return std::nullopt;
  return text;
} catch (const Refused&) {
  return std::nullopt;
} catch (const Json::exception&) {
  // A text that is not UTF-8.
  return std::nullopt;
}

void take_version(Value& object) {
  const Value* const found = object.find(VERSION_NAME);
  if (found == nullptr) throw Refused();
  integer(*found, Range{SERIALIZED_RECORD_VERSION, SERIALIZED_RECORD_VERSION});
  const auto index = found - object.items.data();
  object.items.erase(object.items.begin() + index);
  object.names.erase(object.names.begin() + index);
}

template <typename Store>
std::optional<Store> decode_record(std::string_view text) try {
  // The parser would take a NUL for the end.
  if (text.size() > MAX_SERIALIZED_SIZE || !is_utf8(text)) return std::nullopt;
  Value object = parse(text);
  take_version(object);
  Store record;
  decode(object, record);
  return record;
} catch (const Refused&) {
  return std::nullopt;
}

}  // namespace

std::optional<std::string> encode_message(const msg_message_item_t& message) { return encode_record(message); }

std::optional<Message> decode_message(std::string_view text) { return decode_record<Message>(text); }

std::optional<std::string> encode_nms_meta(const msg_nms_msg_meta_data_t& meta) { return encode_record(meta); }

std::optional<NmsMsgMeta> decode_nms_meta(std::string_view text) { return decode_record<NmsMsgMeta>(text); }

}  // namespace msg_consumer::schema
