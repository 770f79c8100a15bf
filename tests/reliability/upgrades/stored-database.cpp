// SPDX-License-Identifier: Apache-2.0
#include "stored-database.hpp"

#include <gio/gio.h>

#include <array>
#include <stdexcept>

#include <msg-consumer-platform/releaser.hpp>

#include "reliability/whole/every-query.hpp"

namespace msg_consumer::test {
namespace {

template <typename Type>
using Object = Owned<Type, g_object_unref>;

std::filesystem::path in_databases(int version, const char* suffix) {
  return std::filesystem::path(DATABASES) / ("version-" + std::to_string(version) + suffix);
}

}  // namespace

std::filesystem::path stored_database(int version) { return in_databases(version, ".db.gz"); }

std::filesystem::path stored_answers(int version) { return in_databases(version, ".answers.gz"); }

std::string unpacked(const std::filesystem::path& file) {
  const Object<GFile> packed(g_file_new_for_path(file.c_str()));
  const Object<GFileInputStream> source(g_file_read(packed.get(), nullptr, nullptr));
  if (!source) throw std::runtime_error("there is no " + file.string());
  const Object<GZlibDecompressor> unzip(g_zlib_decompressor_new(G_ZLIB_COMPRESSOR_FORMAT_GZIP));
  const Object<GInputStream> stream(
      g_converter_input_stream_new(G_INPUT_STREAM(source.get()), G_CONVERTER(unzip.get())));
  std::string bytes;
  std::array<char, 65536> buffer{};
  for (;;) {
    const gssize count = g_input_stream_read(stream.get(), buffer.data(), buffer.size(), nullptr, nullptr);
    if (count < 0) throw std::runtime_error(file.string() + " is damaged");
    if (count == 0) return bytes;
    bytes.append(buffer.data(), static_cast<std::size_t>(count));
  }
}

std::string all_answers() {
  std::string text;
  for (const Query& query : every_query()) {
    const Answer answer = query.ask();
    text.append(query.name).append(": ").append(std::to_string(answer.status)).append("\n").append(answer.text);
  }
  return text;
}

}  // namespace msg_consumer::test
