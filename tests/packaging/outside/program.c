/* SPDX-License-Identifier: Apache-2.0 */
#include <msg-consumer/msg-consumer-client.h>
#include <msg-consumer/msg-consumer-version.h>
#include <stdio.h>
#include <stdlib.h>

#if !MSG_CONSUMER_CHECK_VERSION(0, 1, 0) || MSG_CONSUMER_CHECK_VERSION(1000, 0, 0)
#error "the version cannot be compared"
#endif

int main(void) {
  msg_list_handle_t* threads = calloc(1, sizeof *threads);
  if (threads == NULL) return EXIT_FAILURE;
  printf("%s threads %d\n", MSG_CONSUMER_VERSION, msg_consumer_get_thread_view_list(threads));
  msg_consumer_free_thread_list(&threads);
  return EXIT_SUCCESS;
}
