// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_SERVICE_TRANSFER_RECORD_READER_HPP
#define MSG_CONSUMER_SERVICE_TRANSFER_RECORD_READER_HPP

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>

#include "records.hpp"

namespace msg_consumer::service::transfer {

/// What is wrong with a line. Its words never quote the line.
class BrokenRecord : public std::runtime_error {
 public:
  explicit BrokenRecord(const std::string& what, std::string member = {}, std::size_t column = 0)
      : std::runtime_error(what), _member(std::move(member)), _column(column) {}

  /// For example "parts[1].file_size"; empty when the line as a whole is meant.
  const std::string& member() const { return _member; }
  /// The byte at which the line stops to be JSON, counted from 1; 0 when it is JSON.
  std::size_t column() const { return _column; }

 private:
  std::string _member;
  std::size_t _column;
};

/// Reads a line, without its end. Throws `BrokenRecord`.
Record read_record(std::string_view line);

}  // namespace msg_consumer::service::transfer

#endif
