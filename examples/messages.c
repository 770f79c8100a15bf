/* SPDX-License-Identifier: Apache-2.0 */

/*
 * Sends a message, lists its conversation, and prints events as they arrive.
 *
 *     messages RECIPIENT TEXT [EVENTS]
 *
 * It ends after EVENTS events, by default after 4: added, sending, sent, delivered.
 */

#include <msg-consumer/msg-consumer-client.h>
#include <stdio.h>
#include <stdlib.h>
#include <time.h>

struct listener {
  GMainLoop* loop;
  long events_left;
};

static void print_event(const char* data, void* user_data) {
  struct listener* const listener = user_data;
  printf("event %s\n", data);
  if (--listener->events_left <= 0) g_main_loop_quit(listener->loop);
}

/* The service starts when it is first needed, so connecting is tried for a while. */
static int connect_to_service(void) {
  int status = msg_consumer_connect();
  for (int attempt = 0; status != MSG_CONSUMER_ERROR_NONE && attempt < 50; ++attempt) {
    g_usleep(100000);
    status = msg_consumer_connect();
  }
  return status;
}

static int list_conversation(int thread_id) {
  msg_list_handle_t* list = calloc(1, sizeof *list);
  if (list == NULL) return MSG_CONSUMER_ERROR_OUT_OF_MEMORY;
  const int status = msg_consumer_get_conversation_view_list(thread_id, list);
  for (const GSList* node = list->list; node != NULL; node = node->next) {
    const msg_conversation_view_t* const message = node->data;
    if (message == NULL) continue; /* memory ran out */
    printf("%s %d: %s\n", message->num_6 == 1 ? "received" : "sent", message->msg_id, message->text_3);
  }
  msg_consumer_free_conversation_list(&list);
  return status;
}

static int send_and_list(const char* recipient, const char* text) {
  int msg_id = 0;
  int status = msg_consumer_send_message(0, recipient, text, 0, &msg_id);
  if (status != MSG_CONSUMER_ERROR_NONE) return status;

  msg_message_item_t* message = calloc(1, sizeof *message);
  if (message == NULL) return MSG_CONSUMER_ERROR_OUT_OF_MEMORY;
  status = msg_consumer_get_message(msg_id, 0, 0, message);
  const int thread_id = message->num_4;
  msg_consumer_free_message_info(&message);
  return status == MSG_CONSUMER_ERROR_NONE ? list_conversation(thread_id) : status;
}

int main(int argc, char** argv) {
  if (argc < 3) {
    g_printerr("usage: %s RECIPIENT TEXT [EVENTS]\n", argv[0]);
    return EXIT_FAILURE;
  }
  struct listener listener = {g_main_loop_new(NULL, FALSE), argc > 3 ? strtol(argv[3], NULL, 10) : 4};

  int status = connect_to_service();
  if (status == MSG_CONSUMER_ERROR_NONE) {
    status = msg_consumer_event_subscribe(MSG_CONSUMER_EVENT_STORAGE_CHANGED, print_event, &listener);
  }
  if (status == MSG_CONSUMER_ERROR_NONE) status = send_and_list(argv[1], argv[2]);
  if (status == MSG_CONSUMER_ERROR_NONE && listener.events_left > 0) g_main_loop_run(listener.loop);
  if (status != MSG_CONSUMER_ERROR_NONE) g_printerr("failed with status %d\n", status);

  msg_consumer_disconnect();
  g_main_loop_unref(listener.loop);
  return status == MSG_CONSUMER_ERROR_NONE ? EXIT_SUCCESS : EXIT_FAILURE;
}
