# SPDX-License-Identifier: Apache-2.0
# Writes the source OUTPUT with the names that LIBRARY exports. NM lists them.
execute_process(COMMAND ${NM} --dynamic --defined-only --format=posix ${LIBRARY}
  OUTPUT_VARIABLE listing COMMAND_ERROR_IS_FATAL ANY)
string(REGEX MATCHALL "[^\n]+" lines "${listing}")
set(names "")
foreach(line IN LISTS lines)
  string(REGEX REPLACE "[@ ].*" "" name "${line}")
  string(APPEND names "    \"${name}\",\n")
endforeach()
file(WRITE ${OUTPUT} "#include \"frame/symbols.hpp\"

namespace msg_consumer::conformance {
namespace {
constexpr const char* NAMES[] = {
${names}};
}  // namespace

const std::span<const char* const> LIBRARY_SYMBOLS = NAMES;

}  // namespace msg_consumer::conformance
")
