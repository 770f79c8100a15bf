// SPDX-License-Identifier: Apache-2.0
#include "session.hpp"

#include <pthread.h>

#include <algorithm>
#include <atomic>
#include <new>
#include <optional>
#include <system_error>
#include <utility>
#include <vector>

#include "schema/schema.hpp"

namespace msg_consumer::db {

/// A thread's connection, open or not.
class Reader {
 public:
  std::mutex busy;  ///< held by whoever uses or closes the connection
  std::optional<Connection> connection;
  std::atomic<bool> close_wanted = false;

  /// Closes the connection if that is wanted and nobody uses it: whoever uses it calls this at the end.
  void close_if_wanted() {
    while (close_wanted) {
      const std::unique_lock lock(busy, std::try_to_lock);
      if (!lock) return;
      if (close_wanted.exchange(false)) connection.reset();
    }
  }
};

namespace {

/// All threads' readers.
class Registry {
 public:
  void add(Reader* reader) {
    const std::lock_guard lock(_mutex);
    _readers.push_back(reader);
  }

  /// Forgets a reader and closes its connection.
  void remove(Reader* reader) {
    const std::lock_guard lock(_mutex);
    _readers.erase(std::find(_readers.begin(), _readers.end(), reader));
    reader->connection.reset();
  }

  void close_all() {
    const std::lock_guard lock(_mutex);
    for (auto* reader : _readers) {
      reader->close_wanted = true;
      reader->close_if_wanted();
    }
  }

  // SQLite keeps one table of the process's file locks. A child inherits the table but not the locks, so that even a
  // connection of its own would read unprotected from the writer. Therefore a process forks only with all connections
  // closed; each thread opens its own again with its next query.
  void before_fork() {
    _mutex.lock();
    _fork_is_due = true;
    for (auto* reader : _readers) {
      reader->busy.lock();
      reader->connection.reset();
    }
  }

  // A thread that asks one query after the other takes its lock again before whoever waits for it has woken up.
  void give_way() {
    if (_fork_is_due) const std::lock_guard until_then(_mutex);
  }

  void after_fork_in_parent() {
    _fork_is_due = false;
    for (auto* reader : _readers) reader->busy.unlock();
    _mutex.unlock();
  }

  // Of all threads only the one that forked lives on.
  void after_fork_in_child(Reader* survivor) {
    _fork_is_due = false;
    for (auto* reader : _readers) {
      reader->busy.unlock();
      const std::unique_ptr<Reader> orphan(reader != survivor ? reader : nullptr);
    }
    _readers.clear();
    if (survivor != nullptr) _readers.push_back(survivor);
    _mutex.unlock();
  }

 private:
  std::mutex _mutex;
  std::vector<Reader*> _readers;
  std::atomic<bool> _fork_is_due = false;
};

// Never destroyed: threads may end, and queries may run, after the static objects are gone. Made before anything runs:
// a child that is forked while another thread makes it at first use would wait for that thread for ever.
union EverLasting {
  constexpr EverLasting() : registry() {}
  ~EverLasting() {}  // NOLINT(modernize-use-equals-default): of a union with such a member it would be deleted

  Registry registry;
};
constinit EverLasting ever_lasting;

Registry& registry() { return ever_lasting.registry; }

// Plain values, which outlive the thread's objects with destructors.
thread_local Reader* current_reader = nullptr;
thread_local bool thread_ends = false;

void remove_current_reader() {
  const std::unique_ptr<Reader> reader(std::exchange(current_reader, nullptr));
  if (reader) registry().remove(reader.get());
}

// For the same reason at load time. An error number.
const int fork_handlers_error =
    pthread_atfork([] { registry().before_fork(); }, [] { registry().after_fork_in_parent(); },
                   [] { registry().after_fork_in_child(current_reader); });

/// Removes the thread's reader at its end. Other objects' destructors may read even later: then each query does so.
class ThreadEnd {
 public:
  ThreadEnd() = default;
  ThreadEnd(const ThreadEnd&) = delete;
  ThreadEnd& operator=(const ThreadEnd&) = delete;
  ~ThreadEnd() {
    thread_ends = true;
    remove_current_reader();
  }
};

Reader& this_threads_reader() {
  registry().give_way();
  if (current_reader == nullptr) {
    if (fork_handlers_error != 0) throw std::system_error(fork_handlers_error, std::generic_category());
    thread_local const ThreadEnd at_thread_end;
    auto reader = std::make_unique<Reader>();
    registry().add(reader.get());
    current_reader = reader.release();
  }
  return *current_reader;
}

Status status_of(const schema::SqliteError& error) {
  switch (error.primary()) {
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
    case SQLITE_PROTOCOL:
      return DB_LOCKED;
    case SQLITE_CORRUPT:
    case SQLITE_NOTADB:
      return DB_CORRUPT;
    case SQLITE_CANTOPEN:
    case SQLITE_PERM:
    case SQLITE_AUTH:
    case SQLITE_READONLY:
      return DB_NO_ACCESS;
    default:
      return DB_FAILED;
  }
}

}  // namespace

Session::Session() : _reader(this_threads_reader()), _busy(_reader.busy) {}

Session::~Session() {
  _snapshot.reset();
  _busy.unlock();
  if (thread_ends) {
    remove_current_reader();
  } else {
    _reader.close_if_wanted();
  }
}

Connection& Session::connection() {
  auto& connection = _reader.connection;
  if (_snapshot) return *connection;
  if (connection && connection->is_stale()) connection.reset();
  if (!connection) connection.emplace(schema::database_path());
  _snapshot.emplace(connection->begin_snapshot());
  return *connection;
}

void Session::drop() {
  _snapshot.reset();
  _reader.connection.reset();
}

void close_all_connections() noexcept { registry().close_all(); }

int report_failure(const CallSite& site) noexcept {
  try {
    throw;
  } catch (const StoreError& error) {
    LOG_ERROR(site, "[ERROR] %s", error.what());
    return error.status();
  } catch (const schema::SqliteError& error) {
    LOG_ERROR(site, "[ERROR] the message store cannot be read: %s (%d)", error.what(), error.code());
    return status_of(error);
  } catch (const std::bad_alloc&) {
    LOG_ERROR(site, "[ERROR] out of memory");
    return DB_OUT_OF_MEMORY;
  } catch (const std::exception& error) {
    LOG_ERROR(site, "[ERROR] %s", error.what());
    return DB_FAILED;
  }
}

}  // namespace msg_consumer::db
