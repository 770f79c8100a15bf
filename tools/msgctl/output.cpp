// SPDX-License-Identifier: Apache-2.0
#include "msgctl/output.hpp"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "msgctl/failure.hpp"

namespace msgctl {
namespace {

[[noreturn]] void fail(int error) {
  if (error == EPIPE) throw OutputClosed();
  throw Failure(ExitCode::Failed, std::string("cannot write the output: ") + std::strerror(error));
}

std::string opening(std::string_view kind) { return R"({"version":1,"kind":")" + std::string(kind) + "\","; }

}  // namespace

void Output::write(std::string_view text) {
  errno = 0;
  if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size()) fail(errno);
}

void Output::flush() {
  errno = 0;
  if (std::fflush(stdout) != 0) fail(errno);
}

JsonList::JsonList(Output& out, std::string_view kind) : _out(out) { _out.write(opening(kind) + "\"items\":["); }

void JsonList::add(const std::string& item) {
  _out.write(_empty ? "\n" : ",\n");
  _out.write(item);
  _empty = false;
}

void JsonList::end() { _out.write(_empty ? "]}\n" : "\n]}\n"); }

void write_json_item(Output& out, std::string_view kind, const std::string& item) {
  out.write(opening(kind) + "\"item\":" + item + "}\n");
}

}  // namespace msgctl
