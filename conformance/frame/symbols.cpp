// SPDX-License-Identifier: Apache-2.0
#include "frame/symbols.hpp"

#include <cxxabi.h>
#include <dlfcn.h>
#include <link.h>

#include <cstdlib>
#include <filesystem>
#include <msg-consumer-platform/releaser.hpp>

namespace msg_consumer::conformance {
namespace {

using Handle = Owned<void, dlclose>;

Handle loaded(const std::string& soname) { return Handle(dlopen(soname.c_str(), RTLD_LAZY | RTLD_NOLOAD)); }

std::string readable(const char* symbol) {
  int status = 0;
  const Owned<char, std::free> name(abi::__cxa_demangle(symbol, nullptr, nullptr, &status));
  return status == 0 ? std::string(name.get()) + " (" + symbol + ")" : symbol;
}

const link_map* map_of(const Handle& handle) {
  link_map* map = nullptr;
  return handle && dlinfo(handle.get(), RTLD_DI_LINKMAP, &map) == 0 ? map : nullptr;
}

std::string soname_of(const link_map& map) {
  const char* strings = nullptr;
  for (const auto* entry = map.l_ld; entry->d_tag != DT_NULL; ++entry) {
    if (entry->d_tag == DT_STRTAB) strings = reinterpret_cast<const char*>(entry->d_un.d_ptr);
  }
  for (const auto* entry = map.l_ld; entry->d_tag != DT_NULL; ++entry) {
    if (entry->d_tag == DT_SONAME && strings != nullptr) return strings + entry->d_un.d_val;
  }
  return "";
}

void look_for_symbols(Findings& findings, const std::string& soname) {
  const Handle handle = loaded(soname);
  if (!findings.expect(handle != nullptr, soname + " is not loaded")) return;
  for (const char* symbol : LIBRARY_SYMBOLS) {
    findings.expect(dlsym(handle.get(), symbol) != nullptr, readable(symbol) + " is missing");
  }
}

void look_at_name(Findings& findings, const std::string& soname) {
  const Handle handle = loaded(soname);
  const link_map* map = map_of(handle);
  if (!findings.expect(map != nullptr, soname + " is not loaded")) return;
  findings.equal("the library's soname", soname, soname_of(*map));
  // Otherwise everything else would be said about another library than the one that was asked about.
  if (const auto path = findings.option("library")) {
    std::error_code error;
    findings.expect(std::filesystem::equivalent(map->l_name, *path, error),
                    "the library was loaded from " + std::string(map->l_name));
  }
}

}  // namespace

Sentences symbol_sentences(const std::string& soname) {
  return {{"symbols", "the library has the name that programs are linked with", "",
           [soname](Findings& findings) { look_at_name(findings, soname); }},
          {"symbols", "every function that the headers declare is there", "",
           [soname](Findings& findings) { look_for_symbols(findings, soname); }}};
}

}  // namespace msg_consumer::conformance
