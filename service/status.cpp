// SPDX-License-Identifier: Apache-2.0
#include "status.hpp"

#include <new>

#include <msg-consumer-platform/logging.hpp>

#include "schema/sqlite.hpp"

namespace msg_consumer::service {
namespace {

Status status_of(const schema::SqliteError& error) {
  switch (error.primary()) {
    case SQLITE_FULL:
      return STATUS_STORE_FULL;
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
      return STATUS_STORE_BUSY;
    default:
      return STATUS_FAILED;
  }
}

}  // namespace

Status status_of_current_exception() noexcept {
  try {
    throw;
  } catch (const Refusal& refusal) {
    return refusal.status();
  } catch (const schema::SqliteError& error) {
    LOG_ERROR(HERE, "[ERROR] the store failed: (%d) %s", error.code(), error.what());
    return status_of(error);
  } catch (const std::bad_alloc&) {
    LOG_ERROR(HERE, "[ERROR] out of memory");
    return STATUS_OUT_OF_MEMORY;
  } catch (const std::exception& error) {
    LOG_ERROR(HERE, "[ERROR] unexpected failure: %s", error.what());
    return STATUS_FAILED;
  } catch (...) {
    LOG_ERROR(HERE, "[ERROR] unexpected failure");
    return STATUS_FAILED;
  }
}

}  // namespace msg_consumer::service
