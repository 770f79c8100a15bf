// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_SRC_IPC_GLIBOWNERS_HPP
#define MSG_CONSUMER_SRC_IPC_GLIBOWNERS_HPP

#include <glib.h>

#include <msg-consumer-platform/releaser.hpp>

namespace msg_consumer {

using Error = Owned<GError, g_error_free>;
using String = Owned<char, g_free>;
/// A value that is not floating.
using Variant = Owned<GVariant, g_variant_unref>;

}  // namespace msg_consumer

#endif
