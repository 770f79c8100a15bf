// SPDX-License-Identifier: Apache-2.0
#include "frame/symbols.hpp"
#include "store/fixture.hpp"
#include "store/sentences.hpp"

int main(int argc, char** argv) {
  using namespace msg_consumer::conformance;
  return answer(argc, argv,
                {joined({symbol_sentences(STORE_SONAME), catalogue_sentences(), record_sentences(),
                         serialiser_sentences(), thread_sentences(), message_sentences(), list_sentences(),
                         metadata_sentences(), life_cycle_sentences(), capability_sentences()}),
                 store_fixture});
}
