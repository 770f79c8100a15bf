// SPDX-License-Identifier: Apache-2.0
#ifndef MSGCTL_BACKUP_SURROGATE_FILTER_HPP
#define MSGCTL_BACKUP_SURROGATE_FILTER_HPP

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace msgctl {

/// Makes XML of what backups of messages write where XML forbids it: characters beyond U+FFFF as two references to
/// surrogates, "&#55357;&#56832;", and references to control characters. Two that belong together become one
/// reference, others stand for nothing and become U+FFFD. Works piece by piece, wherever the pieces end.
class SurrogateFilter {
 public:
  /// The filtered form of the next piece, without what its end leaves open.
  std::string take(std::string_view piece);
  /// What was left open at the very end.
  std::string finish();

  /// Whether a document type was declared so far. It could declare entities that expand without end.
  [[nodiscard]] bool saw_document_type() const { return _saw_document_type; }

 private:
  void take_byte(std::string& out, char byte);
  void end_reference(std::string& out);
  void flush_high(std::string& out);
  void watch_for_document_type(char byte);

  std::string _reference;              // "&…", not ended yet
  std::optional<std::uint32_t> _high;  // the first of two surrogates
  std::size_t _matched = 0;            // of "<!DOCTYPE"
  bool _saw_document_type = false;
};

}  // namespace msgctl

#endif
