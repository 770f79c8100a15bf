// SPDX-License-Identifier: Apache-2.0
#include "fields.hpp"

#include "schema/address.hpp"

namespace msg_consumer::service::emulator {
namespace {

constexpr std::size_t MAX_ADDRESSES = 1000;

const Json NOTHING;

}  // namespace

Fields::Fields(const Json& object, std::string where) : _object(object), _where(std::move(where)) {
  if (!_object.is_object()) {
    throw InvalidStep((_where.empty() ? "a step" : _where) + ": must be an object");
  }
}

std::string Fields::path_of(std::string_view member) const {
  return (_where.empty() ? "" : _where + ".") + std::string(member);
}

void Fields::fail(std::string_view member, const std::string& what) const {
  throw InvalidStep(path_of(member) + ": " + what);
}

void Fields::require(bool condition, std::string_view member, const std::string& otherwise) const {
  if (!condition) {
    fail(member, otherwise);
  }
}

bool Fields::has(std::string_view member) const { return _object.contains(member); }

const Json& Fields::raw(std::string_view member) {
  _known.emplace(member);
  const auto found = _object.find(member);
  return found != _object.end() ? *found : NOTHING;
}

const Json& Fields::required(std::string_view member) {
  require(has(member), member, "is missing");
  return raw(member);
}

const std::string& Fields::string_of(const Json& value, std::string_view member) const {
  require(value.is_string(), member, "must be a text");
  const auto& text = value.get_ref<const std::string&>();
  require(text.find('\0') == std::string::npos, member, "must not hold a NUL");
  return text;
}

std::string Fields::text(std::string_view member) { return string_of(required(member), member); }

std::string Fields::non_empty_text(std::string_view member) {
  std::string value = text(member);
  require(!value.empty(), member, "must not be empty");
  return value;
}

std::string Fields::checked_address(const Json& value, std::string_view member) const {
  const std::string& address = string_of(value, member);
  require(!schema::normalise_address(address).empty(), member, "must be an address");
  return address;
}

std::string Fields::address(std::string_view member) { return checked_address(required(member), member); }

std::vector<std::string> Fields::addresses(std::string_view member) {
  std::vector<std::string> result;
  if (!has(member)) {
    return result;
  }
  const Json& list = raw(member);
  require(list.is_array(), member, "must be a list");
  require(list.size() <= MAX_ADDRESSES, member, "must not hold more than " + std::to_string(MAX_ADDRESSES));
  for (const Json& element : list) {
    result.push_back(checked_address(element, std::string(member) + "[" + std::to_string(result.size()) + "]"));
  }
  return result;
}

std::int64_t Fields::integer(std::string_view member, std::int64_t minimum, std::int64_t maximum) {
  const Json& value = required(member);
  // One beyond 64 bits is a floating-point number here.
  require(value.is_number_integer(), member, "must be an integer");
  const bool is_huge = value.is_number_unsigned() &&
                       value.get<std::uint64_t>() > std::uint64_t{std::numeric_limits<std::int64_t>::max()};
  const std::int64_t number = is_huge ? std::numeric_limits<std::int64_t>::max() : value.get<std::int64_t>();
  require(!is_huge && number >= minimum && number <= maximum, member,
          "must be between " + std::to_string(minimum) + " and " + std::to_string(maximum));
  return number;
}

std::uint64_t Fields::unsigned_integer(std::string_view member) {
  const Json& value = required(member);
  require(value.is_number_unsigned(), member, "must be an integer, and not negative");
  return value.get<std::uint64_t>();
}

int Fields::integer_or(std::string_view member, int otherwise, int minimum, int maximum) {
  return has(member) ? static_cast<int>(integer(member, minimum, maximum)) : otherwise;
}

bool Fields::boolean_or(std::string_view member, bool otherwise) {
  if (!has(member)) {
    return otherwise;
  }
  const Json& value = raw(member);
  require(value.is_boolean(), member, "must be true or false");
  return value.get<bool>();
}

Fields Fields::object(std::string_view member) { return {required(member), path_of(member)}; }

std::vector<Fields> Fields::objects(std::string_view member, std::size_t maximum) {
  std::vector<Fields> result;
  if (!has(member)) {
    return result;
  }
  const Json& list = raw(member);
  require(list.is_array(), member, "must be a list");
  require(list.size() <= maximum, member, "must not hold more than " + std::to_string(maximum));
  for (const Json& element : list) {
    result.emplace_back(element, path_of(member) + "[" + std::to_string(result.size()) + "]");
  }
  return result;
}

void Fields::finish() const {
  for (const auto& [member, value] : _object.items()) {
    require(_known.contains(member), member, "is not known here");
  }
}

}  // namespace msg_consumer::service::emulator
