// SPDX-License-Identifier: Apache-2.0
#ifndef MSGCTL_JSON_TEXT_HPP
#define MSGCTL_JSON_TEXT_HPP

#include <string>

namespace msgctl {

/// A JSON value on one line. A text that is not UTF-8 does not stop the output: what is wrong in it is replaced.
template <typename Json>
std::string json_text(const Json& json) {
  return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

}  // namespace msgctl

#endif
