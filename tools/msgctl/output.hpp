// SPDX-License-Identifier: Apache-2.0
#ifndef MSGCTL_OUTPUT_HPP
#define MSGCTL_OUTPUT_HPP

#include <string>
#include <string_view>

namespace msgctl {

/// Thrown when the reader of the standard output has gone: there is nobody left to tell anything.
class OutputClosed {};

/// The standard output, with every failure noticed.
class Output {
 public:
  void write(std::string_view text);
  void flush();
};

/// One JSON document `{"version":1,"kind":…,"items":[…]}`, written item by item.
class JsonList {
 public:
  JsonList(Output& out, std::string_view kind);
  void add(const std::string& item);
  void end();

 private:
  Output& _out;
  bool _empty = true;
};

/// Writes `{"version":1,"kind":…,"item":…}`.
void write_json_item(Output& out, std::string_view kind, const std::string& item);

}  // namespace msgctl

#endif
