// SPDX-License-Identifier: Apache-2.0
#include "msgctl/backup/backup-message.hpp"

#include <glib.h>

#include <algorithm>
#include <charconv>
#include <nlohmann/json.hpp>
#include <set>

#include "msgctl/json-text.hpp"
#include "msgctl/record-words.hpp"

namespace msgctl {
namespace {

using Json = nlohmann::ordered_json;

// Stands for the device's own address in the address list of a message that it sent.
constexpr std::string_view own_address = "insert-address-token";
constexpr std::string_view unknown_contact = "(Unknown)";

// Numbers below are seconds: as milliseconds they would lie before 1973.
constexpr std::int64_t least_milliseconds = 100'000'000'000;

enum Box { box_inbox = 1, box_sent = 2, box_draft = 3, box_outbox = 4, box_failed = 5, box_queued = 6 };
enum AddressType { type_bcc = 129, type_cc = 130, type_from = 137, type_to = 151 };
constexpr std::int64_t notification_type = 130;

// Of an SMS that was sent.
constexpr std::int64_t status_complete = 0;
constexpr std::int64_t status_failed = 64;

std::vector<std::string> split(const std::string& addresses) {
  std::vector<std::string> result;
  for (std::size_t begin = 0; begin <= addresses.size();) {
    const std::size_t end = std::min(addresses.find('~', begin), addresses.size());
    const std::string address = addresses.substr(begin, end - begin);
    if (address != own_address && !comparable_address(address).empty()) result.push_back(address);
    begin = end + 1;
  }
  return result;
}

std::vector<std::string> distinct(const std::vector<std::string>& addresses) {
  std::vector<std::string> result;
  std::set<std::string> seen;
  for (const std::string& address : addresses) {
    if (seen.insert(comparable_address(address)).second) result.push_back(address);
  }
  return result;
}

int box_of(const BackupMessage& message) {
  return static_cast<int>(message.attributes.number(message.is_mms ? "msg_box" : "type").value_or(0));
}

const char* direction_of(int box) {
  if (box == box_inbox) return "incoming";
  return box == box_draft ? "draft" : "outgoing";
}

std::string delivery_of(const BackupMessage& message, int box) {
  if (box == box_outbox || box == box_queued) return "queued";
  if (box == box_failed) return "failed";
  if (box != box_sent) return "none";
  const std::optional<std::int64_t> status = message.is_mms ? std::nullopt : message.attributes.number("status");
  if (status == status_complete) return "delivered";
  return status == status_failed ? "failed" : "sent";
}

std::optional<std::int64_t> time_of(const BackupMessage& message) {
  const std::optional<std::int64_t> date = message.attributes.number("date");
  if (!date || *date <= 0) return std::nullopt;
  return *date < least_milliseconds ? *date * 1000 : *date;
}

std::string sender_of(const BackupMessage& message, const std::vector<std::string>& participants) {
  for (const Attributes& address : message.addresses) {
    if (address.number("type") == type_from && address.text("address") != own_address) return address.text("address");
  }
  return participants.empty() ? "" : participants.front();
}

const char* role_of(std::int64_t type) {
  switch (type) {
    case type_from:
      return "from";
    case type_to:
      return "to";
    case type_cc:
    case type_bcc:
      return "cc";
    default:
      return "any";
  }
}

const char* kind_of_address(const std::string& address) {
  return address.find('@') != std::string::npos ? "email" : "phone";
}

Json address_object(const std::string& address, const char* role, bool own) {
  return {{"kind", kind_of_address(address)}, {"role", role}, {"own", own}, {"address", address}};
}

// Who is named as a receiver and takes no part in the thread is the device itself.
Json addresses_of(const BackupMessage& message, const std::vector<std::string>& participants, bool incoming) {
  Json result = Json::array();
  std::set<std::string> others;
  for (const std::string& participant : participants) others.insert(comparable_address(participant));
  for (const Attributes& entry : message.addresses) {
    const std::string address = entry.text("address");
    if (address.empty() || address == own_address) continue;
    const bool own = !others.contains(comparable_address(address));
    result.push_back(address_object(address, role_of(entry.number("type").value_or(0)), own));
  }
  if (!result.empty()) return result;
  for (const std::string& participant : participants) {
    result.push_back(address_object(participant, incoming ? "from" : "to", false));
  }
  return result;
}

const char* kind_of_part(const std::string& mime_type) {
  for (const char* kind : {"text", "image", "video", "audio"}) {
    if (mime_type.starts_with(std::string(kind) + "/")) return kind;
  }
  return "other";
}

std::string first_of(const Attributes& attributes, std::initializer_list<const char*> names) {
  for (const char* name : names) {
    if (std::string text = attributes.text(name); !text.empty()) return text;
  }
  return {};
}

std::string without_brackets(std::string id) {
  if (id.size() >= 2 && id.front() == '<' && id.back() == '>') return id.substr(1, id.size() - 2);
  return id;
}

// Adds the parts to the object; false when one holds what is not base64.
bool add_parts(const BackupMessage& message, Json& object, std::vector<std::string>& files) {
  std::string body;
  std::size_t total = 0;
  Json parts = Json::array();
  for (const BackupPart& part : message.parts) {
    const std::string mime_type = part.attributes.text("ct");
    const std::string text = part.attributes.text("text");
    const bool has_file = !part.data.empty();
    const std::optional<std::size_t> size = has_file ? base64_size(part.data) : text.size();
    if (!size) return false;
    const bool is_body = mime_type == "text/plain" && !has_file && !text.empty();
    if (is_body) body += (body.empty() ? "" : "\n") + text;
    Json entry = {{"kind", kind_of_part(mime_type)},
                  {"mime_type", mime_type},
                  {"body", is_body},
                  {"on_device", true},
                  {"transfer", has_file ? "done" : "none"},
                  {"file_name", first_of(part.attributes, {"name", "fn", "cl"})},
                  {"part_id", without_brackets(part.attributes.text("cid"))},
                  {"text", text}};
    if (has_file) {
      entry["file_size"] = *size;
      files.push_back(part.data);
    }
    total += *size;
    parts.push_back(std::move(entry));
  }
  object["text"] = body;
  object["size"] = total;
  object["parts"] = std::move(parts);
  return true;
}

void add_mms(const BackupMessage& message, Json& object) {
  object["subject"] = message.attributes.text("sub");
  if (message.attributes.number("m_type") == notification_type) {
    object["sub_type"] = "notification";
    object["retrieval"] = "needed";
  }
}

}  // namespace

std::string Attributes::text(const std::string& name) const {
  const auto found = _values.find(name);
  return found != _values.end() && found->second != "null" ? found->second : std::string();
}

std::optional<std::int64_t> Attributes::number(const std::string& name) const {
  const std::string value = text(name);
  std::int64_t number = 0;
  const auto [end, error] = std::from_chars(value.data(), value.data() + value.size(), number);
  return error == std::errc() && end == value.data() + value.size() ? std::optional(number) : std::nullopt;
}

std::string comparable_address(std::string_view address) {
  const bool is_email = address.find('@') != std::string_view::npos;
  std::string result;
  for (const char byte : address) {
    const bool is_decoration =
        g_ascii_isspace(byte) || (!is_email && std::string_view("-.()[]{}").find(byte) != std::string_view::npos);
    if (!is_decoration) result += is_email ? g_ascii_tolower(byte) : byte;
  }
  return result;
}

std::vector<std::string> participants_of(const BackupMessage& message) {
  std::vector<std::string> participants = split(message.attributes.text("address"));
  const bool incoming = box_of(message) == box_inbox;
  for (const Attributes& entry : message.addresses) {
    if (!participants.empty()) break;
    const bool is_sender = entry.number("type") == type_from;
    if (is_sender == incoming) participants = split(entry.text("address"));
  }
  return distinct(participants);
}

std::optional<std::size_t> base64_size(std::string_view text) {
  const std::size_t padding = text.ends_with("==") ? 2 : text.ends_with('=') ? 1 : 0;
  const std::string_view digits = text.substr(0, text.size() - padding);
  const auto is_digit = [](char c) { return g_ascii_isalnum(c) || c == '+' || c == '/'; };
  if (text.size() % 4 != 0 || !std::all_of(digits.begin(), digits.end(), is_digit)) return std::nullopt;
  return text.size() / 4 * 3 - padding;
}

std::optional<ConvertedMessage> converted(const BackupMessage& message, int thread_id, std::string& reason) {
  const int box = box_of(message);
  const std::optional<std::int64_t> time = time_of(message);
  ConvertedMessage result;
  result.participants = participants_of(message);
  reason = box < box_inbox || box > box_queued ? "type" : !time ? "date" : result.participants.empty() ? "address" : "";
  if (!reason.empty()) return std::nullopt;

  const bool incoming = box == box_inbox;
  const std::string state = delivery_of(message, box);
  Json object = {{"kind", "message"},
                 {"thread", thread_id},
                 {"type", message.is_mms ? "mms" : "sms"},
                 {"direction", direction_of(box)},
                 {"delivery", state},
                 {"time_ms", *time},
                 {"text", message.attributes.text("body")},
                 {"subject", message.attributes.text("subject")},
                 {"read", !incoming || message.attributes.flag("read")},
                 {"locked", message.attributes.flag("locked")},
                 {"sim", std::max<std::int64_t>(
                             0, std::min<std::int64_t>(message.attributes.number("sub_id").value_or(0), G_MAXINT32))},
                 {"delivery_report", state == "delivered" ? "received" : "none"},
                 {"addresses", addresses_of(message, result.participants, incoming)}};
  if (incoming) {
    object["sender"] = sender_of(message, result.participants);
    const std::string contact = message.attributes.text("contact_name");
    object["sender_name"] = contact == unknown_contact || result.participants.size() > 1 ? "" : contact;
  }
  if (message.is_mms) {
    add_mms(message, object);
    if (!add_parts(message, object, result.files)) {
      reason = "data";
      return std::nullopt;
    }
  }
  result.json = json_text(object);
  return result;
}

}  // namespace msgctl
