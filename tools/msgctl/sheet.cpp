// SPDX-License-Identifier: Apache-2.0
#include "msgctl/sheet.hpp"

#include "msgctl/text.hpp"

namespace msgctl {
namespace {

constexpr std::size_t label_width = 12;

}  // namespace

void Sheet::line(const std::string& label, const std::string& value) {
  if (value.empty()) return;
  const std::string name = label + ":" + std::string(label_width - label.size(), ' ');
  _context.out.write(styled(name, Style::Dim, _context.screen) + shown(printable(value)) + "\n");
}

void Sheet::body(const std::string& text) {
  if (text.empty()) return;
  _context.out.write("\n" + printable(text, Newlines::Keep) + (text.back() == '\n' ? "" : "\n"));
}

}  // namespace msgctl
