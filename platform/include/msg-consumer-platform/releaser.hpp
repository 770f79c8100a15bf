// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_PLATFORM_RELEASER_HPP
#define MSG_CONSUMER_PLATFORM_RELEASER_HPP

#include <memory>

namespace msg_consumer {

/// A deleter that calls `release`; `release` may return anything.
template <auto release>
struct Releaser {
  template <typename T>
  void operator()(T* resource) const {
    // Two resources look like one to cppcheck.
    // cppcheck-suppress doubleFree
    // NOLINTNEXTLINE(cppcoreguidelines-owning-memory): whoever calls a deleter owns the resource
    static_cast<void>(release(resource));
  }
};

/// Owns a C resource: `Owned<GVariant, g_variant_unref>`.
template <typename T, auto release>
using Owned = std::unique_ptr<T, Releaser<release>>;

}  // namespace msg_consumer

#endif
