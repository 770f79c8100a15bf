// SPDX-License-Identifier: Apache-2.0
#include "msgctl/record-reader.hpp"

#include <algorithm>
#include <ctime>
#include <limits>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <utility>
#include <vector>

#include "msgctl/failure.hpp"
#include "msgctl/record-words.hpp"

namespace msgctl {
namespace {

using Json = nlohmann::json;

// What is wrong with the JSON.
class Complaint : public std::runtime_error {
 public:
  using runtime_error::runtime_error;
};

// The members of one object by their names. It remembers which were asked for: another one is a spelling mistake.
class Members {
 public:
  Members(const Json& object, std::string path) : _object(object), _path(std::move(path)) {
    if (!object.is_object()) throw Complaint((_path.empty() ? "it" : "'" + _path + "'") + " is not an object");
  }

  // The member, NULL when it is missing or null.
  const Json* find(const char* name) {
    _known.emplace_back(name);
    const auto member = _object.find(name);
    return member == _object.end() || member->is_null() ? nullptr : &*member;
  }

  bool flag(const char* name) {
    const Json* value = find(name);
    if (value != nullptr && !value->is_boolean()) complain(name, "is neither true nor false");
    return value != nullptr && value->get<bool>();
  }

  int number(const char* name) {
    const Json* value = find(name);
    if (value == nullptr) return 0;
    // Where it does not fit, a member is not what it looks like in 64 bits either: that is checked first.
    const bool fits = value->is_number_integer() &&
                      std::in_range<int>(value->is_number_unsigned() ? saturated(value->get<std::uint64_t>())
                                                                     : value->get<std::int64_t>());
    if (!fits) complain(name, "is not a whole number of 32 bits");
    return value->get<int>();
  }

  std::string text(const char* name) {
    const Json* value = find(name);
    if (value == nullptr) return {};
    if (!value->is_string()) complain(name, "is not a text");
    auto text = value->get<std::string>();
    if (text.find('\0') != std::string::npos) complain(name, "contains a NUL");
    return text;
  }

  int word(const char* name, const Vocabulary& vocabulary) {
    const std::string word = text(name);
    if (word.empty()) return vocabulary.first();
    const std::optional<int> number = vocabulary.number(word);
    if (!number) complain(name, "has no meaning: '" + word + "'");
    return *number;
  }

  // In milliseconds, none when it is missing.
  std::optional<std::int64_t> time(const char* name) {
    const std::string date = text(name);
    if (date.empty()) return std::nullopt;
    const std::optional<std::int64_t> milliseconds = milliseconds_of(date);
    if (!milliseconds) complain(name, "is not a time such as 2026-03-01T08:30:00Z");
    return milliseconds;
  }

  int time_in_seconds(const char* name) {
    const std::int64_t seconds = time(name).value_or(std::int64_t{std::time(nullptr)} * 1000) / 1000;
    if (!std::in_range<int>(seconds)) complain(name, "does not fit into 32 bits of seconds");
    return static_cast<int>(seconds);
  }

  // Calls `read` with each object of a list and its path.
  template <typename Read>
  void each(const char* name, Read read) {
    const Json* list = find(name);
    if (list == nullptr) return;
    if (!list->is_array()) complain(name, "is not a list");
    for (std::size_t i = 0; i < list->size(); ++i) {
      read(Members((*list)[i], path_of(name) + "[" + std::to_string(i) + "]"));
    }
  }

  [[nodiscard]] std::string path_of(const std::string& name) const { return _path.empty() ? name : _path + "." + name; }

  // To be called when everything has been asked for.
  void end() const {
    for (const auto& [name, value] : _object.items()) {
      if (std::find(_known.begin(), _known.end(), name) == _known.end()) complain(name, "is not known");
    }
  }

 private:
  static std::int64_t saturated(std::uint64_t value) {
    return static_cast<std::int64_t>(std::min<std::uint64_t>(value, std::numeric_limits<std::int64_t>::max()));
  }

  [[noreturn]] void complain(const std::string& name, const std::string& what) const {
    throw Complaint("the member '" + path_of(name) + "' " + what);
  }

  const Json& _object;
  std::string _path;
  std::vector<std::string> _known;
};

char* copy(const std::string& text) { return g_strdup(text.c_str()); }

// A record that hangs on a list from the beginning has an owner whatever happens while it is read.
template <typename Record>
Record& append_to(GSList*& list) {
  auto* record = static_cast<Record*>(g_malloc0(sizeof(Record)));
  list = g_slist_append(list, record);
  return *record;
}

void read(Members members, msg_address_item_t& address) {
  address.num_1 = members.number("address_id");
  address.num_2 = members.word("kind", address_kind);
  address.num_3 = members.word("role", address_role);
  address.flag_4 = members.flag("own") ? 1 : 0;
  address.address = copy(members.text("address"));
  members.end();
}

void read(Members members, msg_content_item_t& content) {
  content.content_id = members.number("content_id");
  content.kind = members.word("kind", content_kind);
  content.text_10 = copy(members.text("mime_type"));
  content.flag_4 = members.flag("body") ? 1 : 0;
  content.flag_5 = members.flag("on_device") ? 1 : 0;
  content.status = members.word("transfer", transfer);
  content.text_7 = copy(members.text("file_path"));
  content.text_8 = copy(members.text("file_name"));
  content.text_9 = copy(members.text("thumbnail_path"));
  content.text_11 = copy(members.text("part_id"));
  content.text_12 = copy(members.text("text"));
  members.end();
}

void read(Members members, msg_nms_msg_meta_data_t& meta) {
  meta.msg_id = members.number("message_id");
  meta.meta_str1 = copy(members.text("object_id"));
  meta.meta_str2 = copy(members.text("correlation_id"));
  meta.meta_str3 = copy(members.text("folder"));
  meta.meta_str4 = copy(members.text("resource_url"));
  meta.meta_int1 = members.word("sync", sync_state);
  meta.meta_int2 = members.word("download", download_state);
  meta.meta_int64_1 = members.time("modified").value_or(0);
  meta.meta_int64_2 = members.time("notified").value_or(0);
  meta.meta_flag1 = members.flag("seen");
  meta.meta_flag2 = members.flag("deleted");
  meta.meta_flag3 = members.flag("correlated");
  members.end();
}

void read_belongings(Members& members, msg_message_item_t& message) {
  members.each("addresses",
               [&](Members item) { read(std::move(item), append_to<msg_address_item_t>(message.address_list)); });
  members.each("parts",
               [&](Members item) { read(std::move(item), append_to<msg_content_item_t>(message.content_list)); });
  if (const Json* meta = members.find("network_store"); meta != nullptr) {
    message.nms_meta = zero_filled<Metadata>().release();
    read(Members(*meta, members.path_of("network_store")), *message.nms_meta);
  }
}

void read(Members members, msg_message_item_t& message) {
  message.msg_id = members.number("message_id");
  message.num_4 = members.number("thread_id");
  message.num_2 = members.word("type", message_type);
  message.num_5 = members.word("direction", direction);
  message.num_6 = members.word("delivery", delivery);
  message.time_sec = members.time_in_seconds("time");
  message.text_18 = copy(members.text("sender"));
  message.text_17 = copy(members.text("subject"));
  message.text_3 = copy(members.text("body"));
  message.flag_8 = members.flag("read") ? 1 : 0;
  message.flag_16 = members.flag("locked") ? 1 : 0;
  message.flag_15 = members.flag("blocked") ? 1 : 0;
  message.num_11 = members.number("sim");
  message.num_12 = members.number("size");
  message.network_status = members.number("network_status");
  message.num_10 = members.word("delivery_report", delivery_report);
  message.num_14 = members.word("retrieval", retrieval);
  message.flag_13 = members.flag("exported") ? 1 : 0;
  const std::string phone_id = members.text("phone_id");
  message.text_19 = phone_id.empty() ? nullptr : copy(phone_id);
  read_belongings(members, message);
  members.end();
}

// The kind of the document that may stand around a record, and the command that prints one.
struct Form {
  const char* kind;
  const char* printed_by;
};

// The parser's words without its own name for the error.
std::string words_of(const Json::parse_error& error) {
  const std::string words = error.what();
  const std::size_t end = words.find("] ");
  return end == std::string::npos ? words : words.substr(end + 2);
}

// The record inside the document, or what there is when there is no document around it.
const Json& record_in(const Json& document, const Form& form) {
  if (!document.is_object() || !document.contains("item")) return document;
  Members members(document, "");
  if (members.number("version") != 1) throw Complaint("it is not of version 1");
  if (members.text("kind") != form.kind)
    throw Complaint("it is not a document of kind '" + std::string(form.kind) + "'");
  const Json& item = document.at("item");
  static_cast<void>(members.find("item"));
  members.end();
  return item;
}

template <typename Owner>
Owner read_document(const std::string& json, const Form& form) {
  try {
    const Json document = Json::parse(json);
    auto record = zero_filled<Owner>();
    read(Members(record_in(document, form), ""), *record);
    return record;
  } catch (const Json::parse_error& error) {
    throw Failure(ExitCode::Refused, "this is not JSON: " + words_of(error));
  } catch (const Complaint& complaint) {
    throw Failure(ExitCode::Refused, std::string("the JSON cannot be used: ") + complaint.what(),
                  std::string("'") + form.printed_by + "' prints the form that is expected.");
  }
}

}  // namespace

MessageItem read_message(const std::string& json) {
  return read_document<MessageItem>(json, {"message", "msgctl show ID --json"});
}

Metadata read_metadata(const std::string& json) {
  return read_document<Metadata>(json, {"nms-meta", "msgctl nms meta show --message ID --json"});
}

}  // namespace msgctl
