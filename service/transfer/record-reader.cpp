// SPDX-License-Identifier: Apache-2.0
#include "record-reader.hpp"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <nlohmann/json.hpp>
#include <optional>
#include <utility>

#include "../attachments.hpp"
#include "../content-files.hpp"
#include "base64.hpp"
#include "schema/address.hpp"
#include "words.hpp"

namespace msg_consumer::service::transfer {
namespace {

using Json = nlohmann::json;

// More would keep the service, and every reader of the store, busy for long.
constexpr std::size_t MAX_ADDRESSES = 2000;
constexpr std::size_t MAX_PARTS = 1000;
constexpr std::size_t MAX_METADATA = 1000;

/// The members of an object, each of which is taken once; those that are missing have the default of their type.
class Members {
 public:
  Members(const Json& object, std::string path) : _object(object), _path(std::move(path)) {
    if (!object.is_object()) {
      throw BrokenRecord("an object is wanted", _path);
    }
  }

  [[noreturn]] void fail(const std::string& what, const char* name) const { throw BrokenRecord(what, path_of(name)); }

  void need(const char* name) const {
    if (!_object.contains(name)) {
      fail("the member is missing", name);
    }
  }

  std::string text(const char* name) {
    const Json* value = take(name);
    if (value == nullptr) {
      return {};
    }
    const auto* text = value->get_ptr<const std::string*>();
    if (text == nullptr || text->find('\0') != std::string::npos) {
      fail("a text without U+0000 is wanted", name);
    }
    return *text;
  }

  bool flag(const char* name, bool otherwise = false) {
    const Json* value = take(name);
    if (value != nullptr && !value->is_boolean()) {
      fail("true or false is wanted", name);
    }
    return value != nullptr ? value->get<bool>() : otherwise;
  }

  std::int64_t long_integer(const char* name) {
    const Json* value = take(name);
    if (value == nullptr) {
      return 0;
    }
    const bool fits = value->is_number_unsigned()
                          ? value->get<std::uint64_t>() <= std::uint64_t{std::numeric_limits<std::int64_t>::max()}
                          : value->is_number_integer();
    if (!fits) {
      fail("a whole number of 64 bits is wanted", name);
    }
    return value->get<std::int64_t>();
  }

  std::uint64_t unsigned_integer(const char* name) {
    const Json* value = take(name);
    if (value != nullptr && !value->is_number_unsigned()) {
      fail("a whole number of 64 bits without a sign is wanted", name);
    }
    return value != nullptr ? value->get<std::uint64_t>() : 0;
  }

  int integer(const char* name) {
    const std::int64_t value = long_integer(name);
    if (value < std::numeric_limits<int>::min() || value > std::numeric_limits<int>::max()) {
      fail("a whole number of 32 bits is wanted", name);
    }
    return static_cast<int>(value);
  }

  /// An id, a count or a size: not negative.
  int natural(const char* name) {
    const int value = integer(name);
    if (value < 0) {
      fail("a number from 0 on is wanted", name);
    }
    return value;
  }

  int word(const char* name, const Words& words, int otherwise = 0) {
    const Json* value = take(name);
    if (value == nullptr) {
      return otherwise;
    }
    const auto* text = value->get_ptr<const std::string*>();
    const std::optional<int> number = text != nullptr ? words.number(*text) : std::nullopt;
    if (!number) {
      fail("another word is wanted", name);
    }
    return *number;
  }

  std::optional<std::int64_t> size_or_null(const char* name) {
    const auto found = _object.find(name);
    if (found == _object.end() || found->is_null()) {
      take(name);
      return std::nullopt;
    }
    const std::int64_t value = long_integer(name);
    if (value < 0) {
      fail("a number from 0 on, or null, is wanted", name);
    }
    return value;
  }

  /// Calls `read` with the members of each object in an array.
  template <typename Read>
  void each(const char* name, std::size_t limit, Read&& read) {
    const Json* value = take(name);
    if (value == nullptr) {
      return;
    }
    if (!value->is_array() || value->size() > limit) {
      fail("an array of at most " + std::to_string(limit) + " objects is wanted", name);
    }
    for (std::size_t index = 0; index < value->size(); ++index) {
      Members members((*value)[index], path_of(name) + "[" + std::to_string(index) + "]");
      read(members);
      members.end();
    }
  }

  template <typename Read>
  void object(const char* name, Read&& read) {
    if (const Json* value = take(name)) {
      Members members(*value, path_of(name));
      read(members);
      members.end();
    }
  }

  /// What is not known is not passed over: it would be lost.
  void end() const {
    if (_taken != _object.size()) {
      throw BrokenRecord("a member has a name that is not known", _path);
    }
  }

 private:
  const Json* take(const char* name) {
    const auto found = _object.find(name);
    if (found == _object.end()) {
      return nullptr;
    }
    ++_taken;
    return &*found;
  }

  std::string path_of(const char* name) const { return _path.empty() ? name : _path + "." + name; }

  const Json& _object;
  std::string _path;
  std::size_t _taken = 0;
};

Counts counts_of(Members& members) {
  Counts counts;
  counts.threads = members.long_integer("threads");
  counts.messages = members.long_integer("messages");
  counts.metadata = members.long_integer("metadata");
  return counts;
}

Record store_of(Members& members) {
  members.need("version");
  if (members.integer("version") != FORMAT_VERSION) {
    members.fail("this version of the format is not known", "version");
  }
  StoreHeader header{.counts = counts_of(members), .last_ids = {}};
  members.object("last_ids", [&](Members& ids) {
    header.last_ids.thread = ids.long_integer("thread");
    header.last_ids.participant = ids.long_integer("participant");
    header.last_ids.message = ids.long_integer("message");
    header.last_ids.part = ids.long_integer("part");
    header.last_ids.address = ids.long_integer("address");
  });
  return header;
}

Address participant_of(Members& members) {
  Address address;
  address.num_a = members.natural("id");
  address.address = members.text("address");
  address.num_b = members.word("kind", ADDRESS_KIND, schema::address_kind(address.address));
  address.flag_e = members.flag("own") ? 1 : 0;
  return address;
}

Record thread_of(Members& members) {
  ThreadRecord thread;
  members.need("id");
  thread.id = members.natural("id");
  if (thread.id == 0) {
    members.fail("a number from 1 on is wanted", "id");
  }
  thread.is_group = members.flag("group");
  thread.chat_id = members.text("group_chat_id");
  thread.title = members.text("title");
  members.each("participants", MAX_ADDRESSES,
               [&](Members& participant) { thread.participants.push_back(participant_of(participant)); });
  return thread;
}

NmsMsgMeta metadata_of(Members& members) {
  NmsMsgMeta meta;
  meta.metaStr1 = members.text("object_id");
  meta.metaStr2 = members.text("correlation_id");
  meta.metaStr3 = members.text("folder");
  meta.metaStr4 = members.text("resource_url");
  meta.metaInt64_1 = members.long_integer("modified_ms");
  meta.metaInt64_2 = members.long_integer("notified_ms");
  meta.metaInt1 = members.word("sync", SYNC_STATE);
  meta.metaInt2 = members.word("download", DOWNLOAD_STATE);
  meta.metaFlag1 = members.flag("seen");
  meta.metaFlag2 = members.flag("deleted");
  meta.metaFlag3 = members.flag("correlated");
  return meta;
}

Content part_of(Members& members, std::int64_t& file_size) {
  Content part;
  part.id = members.natural("id");
  part.kind = members.word("kind", PART_KIND, Content::KIND_OTHER);
  part.str_e = members.text("mime_type");
  part.flag_c = members.flag("body") ? 1 : 0;
  part.flag_d = members.flag("on_device") ? 1 : 0;
  part.status = static_cast<Content::Status>(members.word("transfer", PART_TRANSFER));
  part.str_h = members.text("file_name");
  part.str_j = members.text("part_id");
  part.str_l = members.text("text");
  file_size = members.size_or_null("file_size").value_or(MessageRecord::NO_FILE);
  return part;
}

void check_files(const Members& members, const MessageRecord& record) {
  std::size_t files = 0;
  std::int64_t total = 0;
  for (const std::int64_t size : record.file_sizes) {
    if (size == MessageRecord::NO_FILE) {
      continue;
    }
    total = size > ContentFiles::MAX_TOTAL_SIZE ? size : total + size;
    if (++files > MAX_FILES || total > ContentFiles::MAX_TOTAL_SIZE) {
      members.fail("the files are more, or larger together, than a message may have", "parts");
    }
  }
}

Record message_of(Members& members) {
  MessageRecord record;
  Message& message = record.stored.message;
  for (const char* name : {"type", "direction", "time_ms"}) {
    members.need(name);
  }
  message.id = members.natural("id");
  message.num_b = members.natural("thread");
  message.num_c = members.word("type", MESSAGE_TYPE);
  message.num_e = members.word("direction", MESSAGE_DIRECTION);
  message.num_f = members.word("delivery", MESSAGE_DELIVERY);
  message.time_ms = members.long_integer("time_ms");
  message.str_p = members.text("sender");
  record.stored.sender_name = members.text("sender_name");
  message.str_o = members.text("subject");
  message.str_d = members.text("text");
  message.subType = members.word("sub_type", SUB_TYPE);
  message.flag_j = members.flag("read") ? 1 : 0;
  message.flag_k = members.flag("locked") ? 1 : 0;
  message.flag_l = members.flag("blocked") ? 1 : 0;
  message.num_h = members.integer("sim");
  message.num_q = members.integer("size");
  message.networkStatus = members.integer("network_status");
  message.num_m = members.word("delivery_report", DELIVERY_REPORT);
  message.num_n = members.word("retrieval", MMS_RETRIEVAL);
  message.flag_r = members.flag("exported") ? 1 : 0;
  message.str_s = members.text("phone_id");
  members.each("addresses", MAX_ADDRESSES, [&](Members& address) {
    const int role = address.word("role", ADDRESS_ROLE);
    message.addresses.push_back(participant_of(address));
    message.addresses.back().num_c = role;
  });
  members.each("parts", MAX_PARTS, [&](Members& part) {
    std::int64_t file_size = MessageRecord::NO_FILE;
    message.contents.push_back(part_of(part, file_size));
    record.file_sizes.push_back(file_size);
  });
  members.each("metadata", MAX_METADATA, [&](Members& meta) { record.metadata.push_back(metadata_of(meta)); });
  check_files(members, record);
  return record;
}

Record data_of(Members& members) {
  members.need("base64");
  std::optional<std::string> bytes = decode_base64(members.text("base64"));
  if (!bytes || bytes->empty()) {
    members.fail("this is not base64", "base64");
  }
  return DataRecord{.bytes = *std::move(bytes)};
}

Record lone_metadata_of(Members& members) {
  NmsMsgMeta meta = metadata_of(members);
  meta.msgId = members.integer("message");
  return meta;
}

Record subscription_of(Members& members) {
  members.need("index");
  SubscriptionRecord subscription;
  subscription.index = members.unsigned_integer("index");
  subscription.token = members.text("token");
  return subscription;
}

Record end_of(Members& members) {
  for (const char* name : {"threads", "messages", "metadata"}) {
    members.need(name);
  }
  return EndRecord{.counts = counts_of(members)};
}

struct Kind {
  std::string_view name;
  Record (*read)(Members& members);
};

constexpr std::array<Kind, 7> KINDS = {{{"store", store_of},
                                        {"thread", thread_of},
                                        {"message", message_of},
                                        {"data", data_of},
                                        {"metadata", lone_metadata_of},
                                        {"subscription", subscription_of},
                                        {"end", end_of}}};

Json parse(std::string_view line) {
  try {
    return Json::parse(line);
  } catch (const Json::parse_error& error) {
    throw BrokenRecord("this is not JSON", {}, error.byte);
  } catch (const Json::out_of_range&) {
    throw BrokenRecord("a number is too large");
  }
}

}  // namespace

Record read_record(std::string_view line) {
  const Json object = parse(line);
  Members members(object, {});
  members.need("kind");
  const std::string name = members.text("kind");
  const auto* const kind =
      std::find_if(KINDS.begin(), KINDS.end(), [&](const Kind& candidate) { return candidate.name == name; });
  if (kind == KINDS.end()) {
    members.fail("this kind of line is not known", "kind");
  }
  Record record = kind->read(members);
  members.end();
  return record;
}

}  // namespace msg_consumer::service::transfer
