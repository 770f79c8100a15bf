// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_SERVICE_EMULATOR_EMULATED_NETWORK_HPP
#define MSG_CONSUMER_SERVICE_EMULATOR_EMULATED_NETWORK_HPP

#include <list>
#include <map>
#include <set>
#include <vector>

#include "content-files.hpp"
#include "far-side.hpp"
#include "step.hpp"

namespace msg_consumer::service::emulator {

/// A far side that does as it is told.
class EmulatedNetwork final : public FarSide {
 public:
  void use(const ContentFiles& files) { _files = &files; }

  /// `queued` are the messages that wait now.
  void set(const NetworkMode& mode, const std::vector<int>& queued);
  /// What a message that was only notified will hold once it is retrieved.
  void keep(int message_id, const Receive& content) { _contents.insert_or_assign(message_id, content); }
  void reset();
  Json state() const;

  void beat_begins() override;
  void beat_is_committed() noexcept override;
  bool holds(int message_id) override;
  bool fails(int message_id) override;
  bool reports() override { return _reports; }
  bool complete(Message& message) override;

 private:
  /// What a beat has done that is not committed yet.
  struct Pending {
    int failed = 0;
    std::vector<int> completed;
    std::list<IncomingFiles> placed;
  };

  const ContentFiles* _files = nullptr;
  Sends _sends = Sends::DELIVER;
  int _failures_left = 0;
  std::set<int> _released;
  bool _reports = true;
  bool _retrievals_succeed = true;
  std::map<int, Receive> _contents;
  Pending _pending;
};

}  // namespace msg_consumer::service::emulator

#endif
