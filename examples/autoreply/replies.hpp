// SPDX-License-Identifier: Apache-2.0
#ifndef AUTOREPLY_REPLIES_HPP
#define AUTOREPLY_REPLIES_HPP

#include <msg-consumer/MessageManager.h>

#include <map>
#include <string>

namespace autoreply {

/// Answers unread messages, each of them once, whatever happens to the service in between.
///
/// The store is the only memory. A message is unread until it is known that its answer is in the store, and before an
/// answer is sent the store is asked whether it is there: a call without a reply may have been carried out.
class Replies {
 public:
  explicit Replies(std::string text) : _text(std::move(text)) {}

  /// Does whatever there is to do. To be called again after every event, and now and then without one.
  void work();

 private:
  void answer(const msg_consumer::Message& message);
  void resend_failed();
  bool is_answered(const msg_consumer::Message& message);

  std::string _text;
  msg_consumer::MessageManager _messages;
  std::map<int, int> _attempts;  ///< how often each failed answer was sent again
};

}  // namespace autoreply

#endif
