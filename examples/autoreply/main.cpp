// SPDX-License-Identifier: Apache-2.0

// Answers every text message that arrives:
//
//     autoreply TEXT
//
// It ends with SIGTERM or SIGINT.

#include <glib-unix.h>
#include <glib.h>
#include <msg-consumer/ConnectionManager.h>

#include <csignal>
#include <cstdlib>
#include <iostream>
#include <memory>

#include "replies.hpp"

namespace {

using autoreply::Replies;
using msg_consumer::ConnectionManager;

constexpr guint retry_ms = 100;
// Events say when to look. Should one get lost, the answer is late by so much, and not missing.
constexpr guint look_ms = 1000;

struct Application {
  Replies replies;
  std::unique_ptr<GMainLoop, void (*)(GMainLoop*)> loop{g_main_loop_new(nullptr, FALSE), g_main_loop_unref};
  bool work_is_due = false;
};

Application& application(void* data) { return *static_cast<Application*>(data); }

gboolean work_once(void* data) {
  application(data).work_is_due = false;
  application(data).replies.work();
  return G_SOURCE_REMOVE;
}

// Many events make one round of work, which does not run inside the library's callback.
void on_change(const char* /*event*/, void* data) {
  if (application(data).work_is_due) return;
  application(data).work_is_due = true;
  g_idle_add(work_once, data);
}

gboolean look(void* data) {
  application(data).replies.work();
  return G_SOURCE_CONTINUE;
}

gboolean quit(void* data) {
  g_main_loop_quit(application(data).loop.get());
  return G_SOURCE_REMOVE;
}

// A service that is not ready is being started: it is asked again until it is.
gboolean connect(void* data) {
  if (ConnectionManager().connect() != 0) return G_SOURCE_CONTINUE;
  if (ConnectionManager().subscribeEvent(msg_consumer::EVENT_STORAGE_CHANGED, on_change, data) != 0) quit(data);
  std::cout << "listening" << std::endl;
  g_timeout_add(look_ms, look, data);
  work_once(data);
  return G_SOURCE_REMOVE;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "usage: " << argv[0] << " TEXT\n";
    return EXIT_FAILURE;
  }
  Application application{Replies(argv[1])};
  g_unix_signal_add(SIGTERM, quit, &application);
  g_unix_signal_add(SIGINT, quit, &application);
  if (connect(&application) == G_SOURCE_CONTINUE) g_timeout_add(retry_ms, connect, &application);
  g_main_loop_run(application.loop.get());
  ConnectionManager().disconnect();
  return EXIT_SUCCESS;
}
