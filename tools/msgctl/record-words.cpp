// SPDX-License-Identifier: Apache-2.0
#include "msgctl/record-words.hpp"

#include <glib.h>

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <ctime>

#include "msgctl/owned.hpp"

namespace msgctl {
namespace {

constexpr std::string_view unknown = "unknown-";

std::string formatted(const std::tm& time, const char* format) {
  std::array<char, 64> buffer{};
  return {buffer.data(), std::strftime(buffer.data(), buffer.size(), format, &time)};
}

std::tm local(std::time_t moment) {
  std::tm time{};
  localtime_r(&moment, &time);
  return time;
}

std::string utc(std::int64_t seconds, const char* format) {
  const std::time_t moment = seconds;
  std::tm time{};
  gmtime_r(&moment, &time);
  return formatted(time, format);
}

}  // namespace

std::string Vocabulary::operator()(int value) const {
  const std::int64_t index = std::int64_t{value} - _first;
  if (index < 0 || index >= static_cast<std::int64_t>(_count)) return std::string(unknown) + std::to_string(value);
  return std::string(_words.at(static_cast<std::size_t>(index)));
}

std::optional<int> Vocabulary::number(std::string_view word) const {
  const auto* const end = _words.begin() + _count;
  const auto* const found = std::find(_words.begin(), end, word);
  if (found != end) return _first + static_cast<int>(found - _words.begin());
  if (!word.starts_with(unknown)) return std::nullopt;
  int value = 0;
  const auto [stop, error] = std::from_chars(word.begin() + unknown.size(), word.end(), value);
  return error == std::errc() && stop == word.end() ? std::optional(value) : std::nullopt;
}

std::string local_time(int seconds) { return formatted(local(seconds), "%Y-%m-%d %H:%M"); }

std::string clock_time() { return formatted(local(std::time(nullptr)), "%H:%M:%S"); }

std::string utc_time(std::int64_t seconds) { return utc(seconds, "%Y-%m-%dT%H:%M:%SZ"); }

std::string utc_time_ms(std::int64_t milliseconds) {
  // Rounded down, so that the part behind the point counts forward before 1970, too.
  const std::int64_t rest = ((milliseconds % 1000) + 1000) % 1000;
  const std::string seconds = utc((milliseconds - rest) / 1000, "%Y-%m-%dT%H:%M:%S");
  std::array<char, 8> fraction{};
  static_cast<void>(std::snprintf(fraction.data(), fraction.size(), ".%03dZ", static_cast<int>(rest)));
  return seconds + fraction.data();
}

std::optional<std::int64_t> milliseconds_of(const std::string& date) {
  const std::string moment = date.find('T') == std::string::npos ? date + "T00:00:00" : date;
  const Owned<GTimeZone, g_time_zone_unref> zone(g_time_zone_new_local());
  const Owned<GDateTime, g_date_time_unref> time(g_date_time_new_from_iso8601(moment.c_str(), zone.get()));
  if (!time) return std::nullopt;
  return g_date_time_to_unix(time.get()) * 1000 + g_date_time_get_microsecond(time.get()) / 1000;
}

}  // namespace msgctl
