// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_TESTS_TRANSFER_TEST_HPP
#define MSG_CONSUMER_TESTS_TRANSFER_TEST_HPP

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "service/attachments.hpp"
#include "service/record-values.hpp"
#include "service/transfer/exporter.hpp"
#include "service/transfer/importer.hpp"
#include "support/temp-dir.hpp"

namespace msg_consumer::service::transfer {

using Json = nlohmann::json;

/// Keeps what is announced.
class Announcements final : public Announcer {
 public:
  void announce(const Announcement& announcement) noexcept override { all.push_back(announcement.body); }
  std::vector<std::string> all;
};

/// A store of its own, filled and looked at by hand.
struct TestStore {
  test::TempDir folder;
  std::string path = folder.file("messages.db");
  StoreWriter store{path};
  ContentFiles files{{.database = path, .files = folder.file("files")}};
  Announcements announcements;
  int steps = 0;  // of the last import

  int add(Message message, const std::vector<std::string>& participants = {"+15550100"}) {
    StoredMessage stored{.message = std::move(message), .sender_name = "Ada"};
    store.transact([&] {
      if (stored.message.num_b == 0) stored.message.num_b = store.threads().find_or_make(participants).id;
      store.messages().insert(stored);
    });
    return stored.message.id;
  }

  int add_with_file(Message message, const std::string& name, const std::string& bytes) {
    test::write_file(folder.path() / name, bytes);
    return add_with_copy(std::move(message), folder.file(name));
  }

  int add_with_copy(Message message, const std::string& file) {
    IncomingFiles incoming = files.copy_in({file}, ContentFiles::MAX_TOTAL_SIZE);
    StoredMessage stored{.message = std::move(message), .sender_name = ""};
    store.transact([&] {
      stored.message.num_b = store.threads().find_or_make({"+15550100"}).id;
      files.place(incoming, store.messages().next_id(), 1);
      append_file_parts(stored.message, incoming);
      store.messages().insert(stored);
    });
    incoming.keep();
    return stored.message.id;
  }

  std::string exported(std::string* summary = nullptr) {
    Exporter exporter(path, files);
    std::string text;
    std::string piece;
    while (!exporter.finished()) {
      piece.clear();
      exporter.produce(piece, 64 * 1024);
      text += piece;
    }
    if (summary != nullptr) *summary = exporter.summary();
    return text;
  }

  /// Imports in pieces of a size that divides nothing.
  Json import(const std::string& text, std::size_t piece = 4093) {
    Importer importer(store, files, announcements);
    std::size_t position = 0;
    for (steps = 0; !importer.finished(); ++steps) {
      if (importer.hungry()) {
        if (position == text.size()) {
          importer.end_input();
        } else {
          importer.feed(std::string_view(text).substr(position, piece));
          position = std::min(position + piece, text.size());
        }
      }
      importer.work();
    }
    return Json::parse(importer.summary());
  }

  std::int64_t ask(std::string_view sql) {
    schema::Statement statement(store.database(), sql);
    return statement.step() ? statement.integer(0) : -1;
  }
};

inline Message sms(const std::string& text, std::int64_t time_ms = 1'700'000'000'123) {
  Message message;
  message.num_c = TYPE_SMS;
  message.num_e = DIRECTION_INCOMING;
  message.str_d = text;
  message.str_p = "+15550100";
  message.time_ms = time_ms;
  Address& sender = message.addresses.emplace_back();
  sender.num_b = 1;
  sender.num_c = ROLE_FROM;
  sender.address = "+15550100";
  return message;
}

inline std::vector<std::string> lines_of(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

inline std::string joined(const std::vector<std::string>& lines) {
  std::string text;
  for (const std::string& line : lines) text += line + "\n";
  return text;
}

}  // namespace msg_consumer::service::transfer

#endif
