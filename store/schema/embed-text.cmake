# SPDX-License-Identifier: Apache-2.0
# Writes the text file INPUT into the source file OUTPUT as the constant NAME of msg_consumer::schema.
file(READ "${INPUT}" text)
file(CONFIGURE OUTPUT "${OUTPUT}" CONTENT [[
#include <string_view>

namespace msg_consumer::schema {

extern const std::string_view @NAME@;
const std::string_view @NAME@ = R"EMBEDDED(@text@)EMBEDDED";

}  // namespace msg_consumer::schema
]] @ONLY)
