// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_SERVICE_TRANSFER_TRANSFER_HPP
#define MSG_CONSUMER_SERVICE_TRANSFER_TRANSFER_HPP

#include <systemd/sd-bus.h>
#include <systemd/sd-event.h>

#include <chrono>
#include <functional>
#include <string>

#include <msg-consumer-platform/releaser.hpp>

#include "exporter.hpp"
#include "importer.hpp"
#include "stream.hpp"

namespace msg_consumer::service::transfer {

/// A call that is answered when all bytes have gone through its stream. It runs on the bus's event loop, behind
/// everything else that there is to do.
class Transfer {
 public:
  Transfer(const Transfer&) = delete;
  Transfer& operator=(const Transfer&) = delete;
  virtual ~Transfer() = default;

  bool is_over() const { return _is_over; }
  /// What is called once it is over and may be destroyed, which closes the stream.
  void on_end(std::function<void()> call) { _on_end = std::move(call); }

 protected:
  /// Throws `std::invalid_argument` and `std::system_error`.
  Transfer(sd_bus_message* call, int descriptor, Stream::Direction direction, std::chrono::milliseconds patience);

  enum class Need { STREAM, WORK };
  /// Does a slice, and says what the next one needs. Throws.
  virtual Need proceed() = 0;
  /// The other end has done nothing for too long.
  virtual void time_out() = 0;

  const Stream& stream() const { return _stream; }
  /// The other end has done something.
  void note_progress();
  void answer(const std::string& summary);
  void fail(const char* name, const char* message);

 private:
  static int on_ready(sd_event_source* source, int descriptor, std::uint32_t events, void* self) noexcept;
  static int on_work(sd_event_source* source, void* self) noexcept;
  static int on_time(sd_event_source* source, std::uint64_t time, void* self) noexcept;
  static int on_caller_gone(sd_bus_message* signal, void* self, sd_bus_error* error) noexcept;
  void slice() noexcept;
  void wait_for(Need need);
  void end() noexcept;

  Stream _stream;
  std::chrono::milliseconds _patience;
  Owned<sd_bus_message, sd_bus_message_unref> _call;
  Owned<sd_event_source, sd_event_source_disable_unref> _ready;
  Owned<sd_event_source, sd_event_source_disable_unref> _work;
  Owned<sd_event_source, sd_event_source_disable_unref> _timer;
  Owned<sd_bus_slot, sd_bus_slot_unref> _departure;
  std::function<void()> _on_end;
  bool _is_over = false;
};

class ExportTransfer final : public Transfer {
 public:
  ExportTransfer(sd_bus_message* call, int descriptor, const std::string& database_path, const ContentFiles& files,
                 std::chrono::milliseconds patience);

 private:
  Need proceed() override;
  void time_out() override;

  Exporter _exporter;
  std::string _out;
  std::size_t _written = 0;
};

class ImportTransfer final : public Transfer {
 public:
  ImportTransfer(sd_bus_message* call, int descriptor, StoreWriter& store, const ContentFiles& files,
                 Announcer& announcer, std::chrono::milliseconds patience);

 private:
  Need proceed() override;
  void time_out() override;

  Importer _importer;
};

}  // namespace msg_consumer::service::transfer

#endif
