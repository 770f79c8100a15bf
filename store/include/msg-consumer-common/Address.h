// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_COMMON_ADDRESS_H
#define MSG_CONSUMER_COMMON_ADDRESS_H

#include <cstdint>
#include <string>

namespace msg_consumer {

#pragma GCC visibility push(default)

/// A participant of a message or a thread, or a key to look a thread up by.
class Address {
 public:
  /// Made, copied, moved and destroyed as a value, out of line: by the store library that is installed.
  /// @{
  Address();
  Address(const Address& other);
  Address(Address&& other) noexcept;
  Address& operator=(const Address& other);
  Address& operator=(Address&& other) noexcept;
  ~Address();
  /// @}

  int num_a = 0;            ///< row id
  int num_b = 0;            ///< kind: 1 phone number, 2 e-mail, 3 chat user
  int num_c = 0;            ///< role: 0 any, 1 from, 2 to, 3 cc
  std::string address;      ///< the address itself
  std::uint8_t flag_e = 0;  ///< the device's own address
};

#pragma GCC visibility pop

}  // namespace msg_consumer

#endif
