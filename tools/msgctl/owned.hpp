// SPDX-License-Identifier: Apache-2.0
#ifndef MSGCTL_OWNED_HPP
#define MSGCTL_OWNED_HPP

#include <memory>

namespace msgctl {

/// A deleter that calls `release` with the resource.
template <auto release>
struct Releaser {
  template <typename T>
  void operator()(T* resource) const {
    // NOLINTNEXTLINE(cppcoreguidelines-owning-memory): whoever calls a deleter owns the resource
    static_cast<void>(release(resource));
  }
};

/// A deleter that calls `release` with the address of a variable that holds the resource.
template <auto release>
struct ReleaserByAddress {
  template <typename T>
  void operator()(T* resource) const {
    static_cast<void>(release(&resource));
  }
};

/// Owns a C resource: `Owned<GVariant, g_variant_unref>`.
template <typename T, auto release>
using Owned = std::unique_ptr<T, Releaser<release>>;

/// Owns a record or a list handle of the C API.
template <typename T, auto release>
using OwnedRecord = std::unique_ptr<T, ReleaserByAddress<release>>;

}  // namespace msgctl

#endif
