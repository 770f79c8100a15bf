// SPDX-License-Identifier: Apache-2.0
#include "store-check.hpp"

#include <filesystem>
#include <vector>

namespace msg_consumer::test {
namespace {

using schema::Statement;

// The index of words is left out: it is held against the words themselves.
constexpr const char* TABLES[] = {"thread",           "thread_address", "message",  "message_text",  "nms_meta",
                                  "nms_subscription", "change_log",     "sequence", "device_request"};

std::string rows_of(sqlite3* database, const std::string& table) {
  std::string columns;
  Statement names(database, "SELECT name FROM pragma_table_info('" + table + "')");
  while (names.step()) {
    columns.append(columns.empty() ? "" : " || '|' || ").append("quote(").append(names.text(0)).append(")");
  }
  Statement rows(database, "SELECT " + columns + " FROM " + table);
  std::string text = table + "\n";
  while (rows.step()) text.append(rows.text(0)).append("\n");
  return text;
}

/// The first row of a check that has none when all is well.
std::string complaint(sqlite3* database, const char* sql) {
  Statement check(database, sql);
  return check.step() ? std::string(sql) + ": " + std::string(check.text(0)) + "\n" : "";
}

std::string wrong_counts(ServiceOnDisk& service) {
  sqlite3* const database = service.store().database();
  const std::string kept = rows_of(database, "thread");
  std::vector<int> ids;
  {
    Statement threads(database, "SELECT id FROM thread WHERE message_count > 0");
    while (threads.step()) ids.push_back(static_cast<int>(threads.integer(0)));
  }
  const schema::Transaction undone(database);
  for (const int id : ids) service.store().threads().recount(id);
  const std::string counted = rows_of(database, "thread");
  return kept == counted ? "" : "the threads' counts are\n" + kept + "and should be\n" + counted;
}

std::string missing_files(ServiceOnDisk& service) {
  std::vector<int> ids;
  Statement messages(service.store().database(), "SELECT id FROM message");
  while (messages.step()) ids.push_back(static_cast<int>(messages.integer(0)));
  std::string missing;
  for (const int id : ids) {
    std::int64_t size = 0;
    const Message message = service.store().messages().get(id).message;
    for (const Content& part : message.contents) {
      std::error_code error;
      const auto file =
          part.str_g.empty() ? part.str_l.size() : std::filesystem::file_size(service.file_of(part), error);
      if (error) missing += "message " + std::to_string(id) + " lacks " + service.file_of(part).string() + "\n";
      size += error ? 0 : static_cast<std::int64_t>(file);
    }
    if (missing.empty() && size != message.num_q) missing += "message " + std::to_string(id) + " has another size\n";
  }
  return missing;
}

}  // namespace

std::string content_of(sqlite3* database) {
  std::string text;
  for (const char* table : TABLES) text += rows_of(database, table);
  return text;
}

std::string damage_of(sqlite3* database) try {
  std::string damage = complaint(database, "SELECT * FROM pragma_integrity_check WHERE integrity_check <> 'ok'");
  damage += complaint(database, "SELECT * FROM pragma_foreign_key_check");
  damage += complaint(database,
                      "SELECT id FROM message WHERE id NOT IN (SELECT message_id FROM message_text) UNION ALL "
                      "SELECT message_id FROM message_text WHERE message_id NOT IN (SELECT id FROM message)");
  const schema::Transaction undone(database);
  schema::execute(database, "INSERT INTO message_search (message_search, rank) VALUES ('integrity-check', 1)");
  return damage;
} catch (const schema::SqliteError& error) {
  return "cannot be checked: " + std::string(error.what()) + " (" + std::to_string(error.code()) + ")\n";
}

std::string damage_of(ServiceOnDisk& service) try {
  return damage_of(service.store().database()) + wrong_counts(service) + missing_files(service);
} catch (const std::exception& error) {
  return "cannot be checked: " + std::string(error.what()) + "\n";
}

}  // namespace msg_consumer::test
