// SPDX-License-Identifier: Apache-2.0
#ifndef MSGCTL_SHEET_HPP
#define MSGCTL_SHEET_HPP

#include <string>

#include "msgctl/command.hpp"
#include "msgctl/text.hpp"

namespace msgctl {

/// One record for people: "Label:    value" lines. What is empty is left out.
class Sheet {
 public:
  explicit Sheet(Context& context) : _context(context) {}

  /// `label` has at most 12 characters.
  void line(const std::string& label, const std::string& value);

  /// A text of several lines, behind an empty one.
  void body(const std::string& text);

 private:
  [[nodiscard]] std::string shown(const std::string& text) const {
    return _context.screen.terminal ? isolated(text) : text;
  }

  Context& _context;
};

}  // namespace msgctl

#endif
