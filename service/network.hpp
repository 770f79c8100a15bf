// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_SERVICE_NETWORK_HPP
#define MSG_CONSUMER_SERVICE_NETWORK_HPP

namespace msg_consumer::service {

/// Carries messages out of the device and in again; it changes the store and announces it as things happen.
class Network {
 public:
  Network() = default;
  Network(const Network&) = delete;
  Network& operator=(const Network&) = delete;
  virtual ~Network() = default;

  /// There are queued messages in the store.
  virtual void send_queued() noexcept = 0;
  /// Fetches the content of a multimedia message that was only notified so far.
  virtual void retrieve(int message_id) = 0;
  /// Takes that back: the command that wanted it was not carried out.
  virtual void give_up(int /*message_id*/) noexcept {}
  /// Whether that message is being fetched by this instance.
  virtual bool is_retrieving(int message_id) const = 0;
};

}  // namespace msg_consumer::service

#endif
