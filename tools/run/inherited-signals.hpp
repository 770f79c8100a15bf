// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_RUN_INHERITED_SIGNALS_HPP
#define MSG_CONSUMER_RUN_INHERITED_SIGNALS_HPP

#include <csignal>
#include <vector>

namespace msg_consumer_run {

/// How this process found its signals, so that the command gets them the same way.
class InheritedSignals {
 public:
  /// Looks, before anything is changed.
  InheritedSignals();

  /// For a child that is about to become the command.
  void restore() const;

  /// For a child that is about to become a helper of this tool's own.
  static void reset();

  /// Whether whoever started this tool wants it not to hear the signal, as nohup does.
  [[nodiscard]] bool is_ignored(int signal) const;

 private:
  sigset_t _mask{};
  std::vector<int> _ignored;
};

}  // namespace msg_consumer_run

#endif
