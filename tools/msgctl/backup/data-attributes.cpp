// SPDX-License-Identifier: Apache-2.0
#include "msgctl/backup/data-attributes.hpp"

#include <utility>

namespace msgctl {
namespace {

// Names that are looked for are shorter.
constexpr std::size_t longest_name = 16;

bool is_blank(char byte) { return byte == ' ' || byte == '\t' || byte == '\n' || byte == '\r'; }

void append_name(std::string& name, char byte) {
  if (name.size() < longest_name) name += byte;
}

// Blanks may be written as references, too.
void remove_references(std::string& data) {
  if (data.find('&') == std::string::npos) return;
  for (const std::string_view blank : {"&#10;", "&#13;", "&#9;", "&#32;", "&#xA;", "&#xD;"}) {
    std::string result;
    for (std::size_t begin = 0; begin < data.size();) {
      const std::size_t found = data.find(blank, begin);
      result.append(data, begin, found - begin);
      begin = found == std::string::npos ? data.size() : found + blank.size();
    }
    data = std::move(result);
  }
}

}  // namespace

std::string DataAttributes::take(std::string_view piece) {
  std::string out;
  out.reserve(piece.size());
  for (const char byte : piece) take_byte(out, byte);
  return out;
}

std::string DataAttributes::value(const std::string& number) {
  auto node = _values.extract(number);
  return node ? std::move(node.mapped()) : std::string();
}

void DataAttributes::take_byte(std::string& out, char byte) {
  if (_state == State::Data && byte != _quote) {
    if (!is_blank(byte) && _data.size() <= longest) _data += byte;
    return;
  }
  if (_state == State::Data) {
    remove_references(_data);
    const std::string number = std::to_string(++_count);
    _values[number] = std::exchange(_data, {});
    out += number;
    _state = State::Tag;
    _attribute.clear();
  } else if (_state == State::Text) {
    if (byte == '<') _state = State::Markup;
  } else if (_state == State::Value) {
    if (byte == _quote) {
      _state = State::Tag;
      _attribute.clear();
    }
  } else if (_state == State::Special) {
    in_special(byte);
  } else {
    in_tag(byte);
  }
  out += byte;
}

void DataAttributes::in_tag(char byte) {
  if (_state == State::Markup) {
    const bool is_special = byte == '!' || byte == '?';
    _special = std::string(1, byte);
    _element = is_special || byte == '/' ? std::string() : std::string(1, byte);
    _attribute.clear();
    _state = is_special ? State::Special : State::ElementName;
  } else if (byte == '>') {
    _state = State::Text;
  } else if (_state == State::ElementName) {
    if (is_blank(byte) || byte == '/') {
      _state = State::Tag;
    } else {
      append_name(_element, byte);
    }
  } else if (byte == '"' || byte == '\'') {
    _quote = byte;
    _state = _element == "part" && _attribute == "data" ? State::Data : State::Value;
  } else if (is_blank(byte) || byte == '=') {
    _attribute_ended = true;
  } else {
    if (_attribute_ended) _attribute.clear();
    _attribute_ended = false;
    append_name(_attribute, byte);
  }
}

// A comment ends with "-->", a section with "]]>", everything else with ">".
void DataAttributes::in_special(char byte) {
  constexpr std::size_t head = 8;  // "![CDATA["
  constexpr std::size_t tail = 2;
  const bool is_comment = _special.starts_with("!--") && _special.size() >= 3 + tail;
  const bool is_section = _special.starts_with("![CDATA[");
  const bool may_be_either = _special.starts_with("!-") || _special.starts_with("![");
  const bool ends = is_comment ? _special.ends_with("--") : is_section ? _special.ends_with("]]") : !may_be_either;
  if (byte == '>' && ends) {
    _state = State::Text;
    return;
  }
  _special += byte;
  if (_special.size() > head + 2 * tail) _special.erase(head, 1);
}

}  // namespace msgctl
