// SPDX-License-Identifier: Apache-2.0
#ifndef MSGCTL_BACKUP_DATA_ATTRIBUTES_HPP
#define MSGCTL_BACKUP_DATA_ATTRIBUTES_HPP

#include <cstddef>
#include <map>
#include <string>
#include <string_view>

namespace msgctl {

/// Takes the attachments out of a backup before it is parsed: a parser looks at an attribute again with every piece
/// that it grows by. In the place of the value of each part's "data" a number is left, under which the value is kept.
/// Works piece by piece, wherever the pieces end.
class DataAttributes {
 public:
  /// What no message may exceed; no more of a value than that is kept.
  static constexpr std::size_t longest = std::size_t{150} * 1000 * 1000;

  std::string take(std::string_view piece);

  /// The value that a number stands for, without blanks; it is handed out once.
  std::string value(const std::string& number);

 private:
  enum class State { Text, Markup, ElementName, Tag, Value, Data, Special };

  void take_byte(std::string& out, char byte);
  void in_tag(char byte);
  void in_special(char byte);

  State _state = State::Text;
  std::string _element;
  std::string _attribute;
  bool _attribute_ended = false;
  char _quote = '"';
  std::string _special;  // the beginning of a comment, a section or an instruction, and what came last
  std::string _data;
  std::size_t _count = 0;
  std::map<std::string, std::string> _values;
};

}  // namespace msgctl

#endif
