// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_SERVICE_EMULATOR_EMULATED_PHONE_HPP
#define MSG_CONSUMER_SERVICE_EMULATOR_EMULATED_PHONE_HPP

#include "phone.hpp"
#include "step.hpp"

namespace msg_consumer::service::emulator {

/// A phone that does as it is told.
class EmulatedPhone final : public Phone {
 public:
  void set(const PhoneMode& mode) { _mode = mode; }
  void reset() { _mode = ACCEPTING; }

  Answer store(const Message& message) override {
    if (_mode.answer == Answer::ACCEPTED) {
      return Phone::store(message);
    }
    return {.kind = _mode.answer, .status = _mode.status};
  }

  Json state() const {
    switch (_mode.answer) {
      case Answer::REFUSED:
        return {{"answers", "refuse"}, {"status", _mode.status}};
      case Answer::NONE:
        return {{"answers", "silent"}};
      default:
        return {{"answers", "accept"}};
    }
  }

 private:
  static constexpr PhoneMode ACCEPTING = {.answer = Answer::ACCEPTED, .status = 0};

  PhoneMode _mode = ACCEPTING;
};

}  // namespace msg_consumer::service::emulator

#endif
