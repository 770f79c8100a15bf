// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_TESTS_WHOLE_SERVICE_ON_DISK_HPP
#define MSG_CONSUMER_TESTS_WHOLE_SERVICE_ON_DISK_HPP

#include <cstdint>
#include <filesystem>
#include <set>
#include <string>
#include <string_view>

#include "service/commands.hpp"

namespace msg_consumer::test {

/// The service without its bus, on the database and the attachments in one folder. Takes the steps of a start that
/// concern the disk, and throws as a start does.
class ServiceOnDisk {
 public:
  explicit ServiceOnDisk(const std::filesystem::path& folder);

  static std::string database_in(const std::filesystem::path& folder) { return folder / "messages.db"; }

  service::Commands& commands() { return _commands; }
  service::StoreWriter& store() { return _store; }
  service::ContentFiles& files() { return _files; }
  /// Where a part's file is, also when the folder was moved after the part was stored.
  std::filesystem::path file_of(const Content& part) const;

  service::Creation send(std::string_view recipients, std::string_view text);
  /// With the files at these paths, separated by ';'.
  service::Creation send_with_files(std::string_view recipients, std::string_view text, std::string_view paths);
  service::Creation draft(std::string_view recipients, std::string_view text, std::string_view paths);
  /// Returns the id.
  int receive(std::string_view sender, std::string_view text);
  /// An incoming message, or a notification of one, as an application hands it in.
  service::Outcome add_record(std::string_view text, bool is_notification);
  service::Outcome add_meta(int message_id, std::string_view object_id, std::string_view folder = "");
  service::Outcome update_meta(std::string_view object_id, std::string_view folder);

  /// Makes a little of everything. `sources` is where it may put the files that it attaches.
  void fill(const std::filesystem::path& sources);

 private:
  class SteppingClock final : public service::Clock {
   public:
    std::int64_t now_ms() const override { return _now += 1000; }

   private:
    mutable std::int64_t _now = 1'700'000'000'000;
  };

  class NoNetwork final : public service::Network {
   public:
    void send_queued() noexcept override {}
    void retrieve(int /*message_id*/) override {}
    bool is_retrieving(int /*message_id*/) const override { return false; }
  };

  service::Submission with_files(std::string_view recipients, std::string_view text, std::string_view paths) const;

  std::filesystem::path _folder;
  SteppingClock _clock;
  NoNetwork _network;
  service::Phone _phone;
  service::StoreWriter _store;
  service::ContentFiles _files;
  service::Inbox _inbox;
  service::Commands _commands;
};

}  // namespace msg_consumer::test

#endif
