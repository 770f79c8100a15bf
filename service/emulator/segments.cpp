// SPDX-License-Identifier: Apache-2.0
#include "segments.hpp"

#include <utility>

#include "schema/address.hpp"

namespace msg_consumer::service::emulator {
namespace {

constexpr std::size_t MAX_MESSAGES = 1000;

std::string joined(const std::map<int, std::string>& texts) {
  std::string whole;
  for (const auto& [number, text] : texts) {
    whole += text;
  }
  return whole;
}

}  // namespace

std::optional<Receive> Segments::add(const Receive& segment) {
  const auto [reference, number, of] = *segment.segment;
  const Key key(schema::normalise_address(segment.from), reference, of);
  if (const auto complete = _complete.find(key); complete != _complete.end()) {
    if (complete->second.at(number) == segment.text) {
      return std::nullopt;
    }
    // References are used again.
    _complete.erase(complete);
  }
  if (!_waiting.contains(key) && _waiting.size() >= MAX_MESSAGES) {
    throw InvalidStep("segment: too many messages wait for theirs");
  }
  Texts& texts = _waiting[key];
  texts.try_emplace(number, segment.text);
  if (std::cmp_less(texts.size(), of)) {
    return std::nullopt;
  }
  Receive whole = segment;
  whole.text = joined(texts);
  whole.segment.reset();
  if (_complete.size() >= MAX_MESSAGES) {
    _complete.erase(_complete.begin());
  }
  _complete[key] = std::move(texts);
  _waiting.erase(key);
  return whole;
}

Json Segments::state() const {
  Json list = Json::array();
  for (const auto& [key, texts] : _waiting) {
    Json have = Json::array();
    for (const auto& [number, text] : texts) {
      have.push_back(number);
    }
    list.push_back({{"from", std::get<0>(key)},
                    {"reference", std::get<1>(key)},
                    {"of", std::get<2>(key)},
                    {"have", std::move(have)}});
  }
  return list;
}

}  // namespace msg_consumer::service::emulator
