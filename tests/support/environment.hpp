// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_TESTS_SUPPORT_ENVIRONMENT_HPP
#define MSG_CONSUMER_TESTS_SUPPORT_ENVIRONMENT_HPP

#include <cstdlib>
#include <optional>
#include <string>
#include <utility>

namespace msg_consumer::test {

/// Sets an environment variable, or unsets it, and puts back what was there.
class EnvironmentVariable {
 public:
  EnvironmentVariable(std::string name, const std::optional<std::string>& value) : _name(std::move(name)) {
    if (const char* before = std::getenv(_name.c_str())) {
      _before = before;
    }
    assign(value);
  }
  EnvironmentVariable(const EnvironmentVariable&) = delete;
  EnvironmentVariable& operator=(const EnvironmentVariable&) = delete;
  EnvironmentVariable(EnvironmentVariable&&) = delete;
  EnvironmentVariable& operator=(EnvironmentVariable&&) = delete;
  ~EnvironmentVariable() { assign(_before); }

 private:
  void assign(const std::optional<std::string>& value) {
    if (value) {
      setenv(_name.c_str(), value->c_str(), 1);
    } else {
      unsetenv(_name.c_str());
    }
  }

  std::string _name;
  std::optional<std::string> _before;
};

}  // namespace msg_consumer::test

#endif
