// SPDX-License-Identifier: Apache-2.0

// Puts a fixture of the conformance kit into a new preference file: msg-consumer-fill-preferences FIXTURE FOLDER

#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <nlohmann/json.hpp>
#include <string>

namespace {

using Json = nlohmann::json;

void write_preferences(const std::string& path, const Json& preferences) {
  std::ofstream file(path);
  file << "[preferences]\n";
  for (const auto& [key, value] : preferences.items()) {
    file << key << '=' << (value.is_string() ? value.get<std::string>() : value.dump()) << '\n';
  }
  if (!file.flush()) {
    throw std::runtime_error("the preference file cannot be written");
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::cerr << "Usage: msg-consumer-fill-preferences FIXTURE FOLDER\n";
    return 2;
  }
  try {
    std::ifstream input(argv[1]);
    const Json fixture = Json::parse(input);
    const std::string path = std::string(argv[2]) + "/preferences.ini";
    if (fixture.at("readable").get<bool>()) {
      write_preferences(path, fixture.at("preferences"));
    } else {
      // Nobody reads a folder as a file, not even root.
      std::filesystem::create_directory(path);
    }
    // What the library needs: where the preferences are, and that every line of the log is to be written.
    std::cout << "MSG_CONSUMER_PREFERENCES=" << path << "\nMSG_CONSUMER_LOG_LEVEL=3\n";
    return 0;
  } catch (const std::exception& error) {
    std::cerr << "msg-consumer-fill-preferences: " << error.what() << '\n';
    return 1;
  }
}
