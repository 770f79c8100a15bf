// SPDX-License-Identifier: Apache-2.0
#include "kit/report.hpp"

#include <ostream>
#include <utility>

namespace msg_consumer::conformance {
namespace {

const char* word_of(Verdict verdict) {
  switch (verdict) {
    case Verdict::Holds:
      return "holds   ";
    case Verdict::Fails:
      return "FAILS   ";
    case Verdict::Skipped:
      return "skipped ";
  }
  return "";
}

}  // namespace

void Report::begin(std::size_t sentences) {
  if (_form == Form::Tap) _out << "TAP version 13\n1.." << sentences << '\n';
}

void Report::add(const ListedSentence& sentence, const Outcome& outcome) {
  _held += outcome.verdict == Verdict::Holds ? 1 : 0;
  _failed += outcome.verdict == Verdict::Fails ? 1 : 0;
  _skipped += outcome.verdict == Verdict::Skipped ? 1 : 0;
  if (_form == Form::Tap) {
    add_tap(sentence, outcome);
  } else {
    add_text(sentence, outcome);
  }
  _out.flush();
}

void Report::end() {
  if (_form == Form::Tap) return;
  _out << '\n'
       << _held + _failed + _skipped << " sentences: " << _held << " hold, " << _failed << " fail, " << _skipped
       << " were skipped\n";
}

void Report::add_text(const ListedSentence& sentence, const Outcome& outcome) {
  if (sentence.group != std::exchange(_group, sentence.group)) _out << sentence.group << '\n';
  _out << "  " << word_of(outcome.verdict) << sentence.text << '\n';
  for (const auto& remark : outcome.remarks) _out << "            " << remark << '\n';
}

void Report::add_tap(const ListedSentence& sentence, const Outcome& outcome) {
  _out << (outcome.verdict == Verdict::Fails ? "not ok " : "ok ") << _held + _failed + _skipped << " - "
       << sentence.group << ": " << sentence.text;
  if (outcome.verdict == Verdict::Skipped) _out << " # SKIP " << outcome.remarks.front();
  _out << '\n';
  if (outcome.verdict != Verdict::Fails) return;
  for (const auto& remark : outcome.remarks) _out << "# " << remark << '\n';
}

}  // namespace msg_consumer::conformance
