// SPDX-License-Identifier: Apache-2.0
#include "frame/symbols.hpp"
#include "platform/sentences.hpp"

int main(int argc, char** argv) {
  using namespace msg_consumer::conformance;
  return answer(
      argc, argv,
      {joined({symbol_sentences(PLATFORM_SONAME), log_sentences(), preference_sentences(), app_control_sentences()}),
       platform_fixture});
}
