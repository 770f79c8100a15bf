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
  EnvironmentVariable(std::string name, const std::optional<std::string>& value) : name_(std::move(name)) {
    if (const char* before = std::getenv(name_.c_str())) {
      before_ = before;
    }
    assign(value);
  }
  EnvironmentVariable(const EnvironmentVariable&) = delete;
  EnvironmentVariable& operator=(const EnvironmentVariable&) = delete;
  EnvironmentVariable(EnvironmentVariable&&) = delete;
  EnvironmentVariable& operator=(EnvironmentVariable&&) = delete;
  ~EnvironmentVariable() { assign(before_); }

 private:
  void assign(const std::optional<std::string>& value) {
    if (value) {
      setenv(name_.c_str(), value->c_str(), 1);
    } else {
      unsetenv(name_.c_str());
    }
  }

  std::string name_;
  std::optional<std::string> before_;
};

}  // namespace msg_consumer::test

#endif
