// SPDX-License-Identifier: Apache-2.0
// Gives a fuzz target the files of the folders that are named on the command line.
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <vector>

#include "target.hpp"

namespace {

std::vector<char> content(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  file.exceptions(std::ios::badbit | std::ios::failbit);
  file.peek();
  return {std::istreambuf_iterator<char>(file), {}};
}

int replay(const char* folder) {
  int inputs = 0;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    // Said before: the last one named is the one that broke the target.
    std::cout << entry.path().string() << std::endl;
    const auto bytes = content(entry.path());
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
    ++inputs;
  }
  return inputs;
}

}  // namespace

int main(int argc, char** argv) try {
  int inputs = 0;
  for (int i = 1; i < argc; ++i) inputs += replay(argv[i]);
  std::cout << inputs << " inputs\n";
  return inputs > 0 ? EXIT_SUCCESS : EXIT_FAILURE;
} catch (const std::exception& error) {
  std::cerr << error.what() << '\n';
  return EXIT_FAILURE;
}
