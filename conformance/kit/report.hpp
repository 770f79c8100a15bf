// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_CONFORMANCE_KIT_REPORT_HPP
#define MSG_CONSUMER_CONFORMANCE_KIT_REPORT_HPP

#include <cstddef>
#include <iosfwd>
#include <string>

#include "kit/checks.hpp"

namespace msg_consumer::conformance {

/// Writes what was found, sentence by sentence: for people, or as TAP.
class Report {
 public:
  enum class Form { Text, Tap };

  Report(std::ostream& out, Form form) : _out(out), _form(form) {}

  void begin(std::size_t sentences);
  void add(const ListedSentence& sentence, const Outcome& outcome);
  void end();

  /// Whether no sentence fails.
  [[nodiscard]] bool all_hold() const { return _failed == 0; }
  /// Whether all sentences were skipped: that says nothing about the library.
  [[nodiscard]] bool knows_nothing() const { return _held + _failed == 0; }

 private:
  void add_text(const ListedSentence& sentence, const Outcome& outcome);
  void add_tap(const ListedSentence& sentence, const Outcome& outcome);

  std::ostream& _out;
  Form _form;
  std::string _group;
  std::size_t _held = 0;
  std::size_t _failed = 0;
  std::size_t _skipped = 0;
};

}  // namespace msg_consumer::conformance

#endif
