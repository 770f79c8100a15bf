// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_COMMON_CONTENT_H
#define MSG_CONSUMER_COMMON_CONTENT_H

#include <cstdint>
#include <string>

namespace msg_consumer {

#pragma GCC visibility push(default)

/// One part of a message: its body or an attachment.
class Content {
 public:
  /// What a part is; every other value counts as `KIND_OTHER`.
  enum Kind : int {
    KIND_TEXT = 1,
    KIND_IMAGE = 2,
    KIND_VIDEO = 3,
    KIND_AUDIO = 4,
    KIND_OTHER = 5,
  };

  /// How far the transfer of a part's file has come.
  enum Status : int {
    STATUS_NONE = 0,
    STATUS_WAITING = 1,
    STATUS_RUNNING = 2,
    STATUS_DONE = 3,
    STATUS_FAILED = 4,
  };

  /// Made, copied, moved and destroyed as a value, out of line: by the store library that is installed.
  /// @{
  Content();
  Content(const Content& other);
  Content(Content&& other) noexcept;
  Content& operator=(const Content& other);
  Content& operator=(Content&& other) noexcept;
  ~Content();
  /// @}

  int id = 0;                   ///< identifier of the part
  int num_b = 0;                ///< message id
  std::uint8_t flag_c = 0;      ///< is the body
  std::uint8_t flag_d = 0;      ///< is on the device
  std::string str_e;            ///< MIME type
  int kind = 0;                 ///< a `Kind`
  Status status = STATUS_NONE;  ///< transfer of the file
  std::string str_g;            ///< file path
  std::string str_h;            ///< file name
  std::string str_i;            ///< path of the thumbnail
  std::string str_j;            ///< content id within the message
  std::string str_l;            ///< text of a text part
};

#pragma GCC visibility pop

}  // namespace msg_consumer

#endif
