// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_SERVICE_EMULATOR_FIELDS_HPP
#define MSG_CONSUMER_SERVICE_EMULATOR_FIELDS_HPP

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <limits>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "step.hpp"

namespace msg_consumer::service::emulator {

/// Reads a JSON object member by member. Whatever is not as it must be throws an `InvalidStep` that says which member,
/// and what is wrong with it.
class Fields {
 public:
  /// `where` is empty for the outermost object.
  Fields(const Json& object, std::string where);

  [[noreturn]] void fail(std::string_view member, const std::string& what) const;
  void require(bool condition, std::string_view member, const std::string& otherwise) const;

  bool has(std::string_view member) const;

  /// A text without NUL.
  std::string text(std::string_view member);
  std::string text_or_empty(std::string_view member) { return has(member) ? text(member) : std::string(); }
  std::string non_empty_text(std::string_view member);
  /// Neither empty nor nothing but decoration.
  std::string address(std::string_view member);
  std::vector<std::string> addresses(std::string_view member);

  std::int64_t integer(std::string_view member, std::int64_t minimum = std::numeric_limits<std::int32_t>::min(),
                       std::int64_t maximum = std::numeric_limits<std::int32_t>::max());
  std::uint64_t unsigned_integer(std::string_view member);
  int integer_or(std::string_view member, int otherwise, int minimum, int maximum);
  bool boolean_or(std::string_view member, bool otherwise);

  template <typename Value>
  Value one_of(std::string_view member, std::initializer_list<std::pair<const char*, Value>> values) {
    const std::string name = text(member);
    std::string names;
    for (const auto& [known, value] : values) {
      if (name == known) {
        return value;
      }
      names += std::string(names.empty() ? "" : ", ") + '"' + known + '"';
    }
    fail(member, "must be one of " + names);
  }

  Fields object(std::string_view member);
  /// The elements of an array, each of which must be an object.
  std::vector<Fields> objects(std::string_view member, std::size_t maximum);
  /// The member as it stands, null when it is missing; its use is known from now on.
  const Json& raw(std::string_view member);

  /// Refuses members that nobody has asked for.
  void finish() const;

  std::string path_of(std::string_view member) const;

 private:
  const Json& required(std::string_view member);
  const std::string& string_of(const Json& value, std::string_view member) const;
  std::string checked_address(const Json& value, std::string_view member) const;

  const Json& _object;
  std::string _where;
  std::set<std::string, std::less<>> _known;
};

}  // namespace msg_consumer::service::emulator

#endif
