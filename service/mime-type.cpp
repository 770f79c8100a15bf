// SPDX-License-Identifier: Apache-2.0
#include "mime-type.hpp"

#include <strings.h>

#include <algorithm>
#include <array>
#include <string>

namespace msg_consumer::service {
namespace {

struct MimeType {
  const char* extension;
  const char* name;
};

// What multimedia messages carry.
constexpr std::array MIME_TYPES = {
    MimeType{"3g2", "video/3gpp2"},       MimeType{"3gp", "video/3gpp"},      MimeType{"aac", "audio/aac"},
    MimeType{"amr", "audio/amr"},         MimeType{"bmp", "image/bmp"},       MimeType{"csv", "text/csv"},
    MimeType{"gif", "image/gif"},         MimeType{"heic", "image/heic"},     MimeType{"htm", "text/html"},
    MimeType{"html", "text/html"},        MimeType{"ics", "text/calendar"},   MimeType{"jpeg", "image/jpeg"},
    MimeType{"jpg", "image/jpeg"},        MimeType{"m4a", "audio/mp4"},       MimeType{"mid", "audio/midi"},
    MimeType{"mkv", "video/x-matroska"},  MimeType{"mov", "video/quicktime"}, MimeType{"mp3", "audio/mpeg"},
    MimeType{"mp4", "video/mp4"},         MimeType{"oga", "audio/ogg"},       MimeType{"ogg", "audio/ogg"},
    MimeType{"opus", "audio/opus"},       MimeType{"pdf", "application/pdf"}, MimeType{"png", "image/png"},
    MimeType{"smil", "application/smil"}, MimeType{"svg", "image/svg+xml"},   MimeType{"txt", "text/plain"},
    MimeType{"vcf", "text/vcard"},        MimeType{"wav", "audio/x-wav"},     MimeType{"webm", "video/webm"},
    MimeType{"webp", "image/webp"},
};

}  // namespace

std::string_view mime_type_of(std::string_view file_name) {
  const std::size_t dot = file_name.rfind('.');
  const std::string extension(dot == std::string_view::npos ? std::string_view() : file_name.substr(dot + 1));
  const auto* const found = std::find_if(MIME_TYPES.begin(), MIME_TYPES.end(), [&](const MimeType& type) {
    return strcasecmp(type.extension, extension.c_str()) == 0;
  });
  return found != MIME_TYPES.end() ? found->name : "application/octet-stream";
}

Content::Kind kind_of(std::string_view mime_type) {
  if (mime_type.starts_with("text/")) {
    return Content::KIND_TEXT;
  }
  if (mime_type.starts_with("image/")) {
    return Content::KIND_IMAGE;
  }
  if (mime_type.starts_with("video/")) {
    return Content::KIND_VIDEO;
  }
  return mime_type.starts_with("audio/") ? Content::KIND_AUDIO : Content::KIND_OTHER;
}

}  // namespace msg_consumer::service
