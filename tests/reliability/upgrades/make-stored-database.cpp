// SPDX-License-Identifier: Apache-2.0
// Makes a database of this version with a little of everything, and the answers to all queries on it.

#include <msg-consumer-common/db.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>

#include "reliability/whole/service-on-disk.hpp"
#include "stored-database.hpp"

int main(int argc, char** argv) try {
  if (argc != 2) {
    static_cast<void>(std::fprintf(stderr, "usage: %s FOLDER\n", argv[0]));
    return EXIT_FAILURE;
  }
  const std::filesystem::path folder(argv[1]);
  const std::string path = msg_consumer::test::ServiceOnDisk::database_in(folder);
  msg_consumer::test::ServiceOnDisk(folder).fill(folder);
  setenv("MSG_CONSUMER_DB", path.c_str(), 1);
  std::ofstream(folder / "answers") << msg_consumer::test::all_answers();
  msg_consumer::db::deinit_db();
  return EXIT_SUCCESS;
} catch (const std::exception& error) {
  static_cast<void>(std::fprintf(stderr, "%s: %s\n", argv[0], error.what()));
  return EXIT_FAILURE;
}
