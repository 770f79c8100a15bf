// SPDX-License-Identifier: Apache-2.0
// What the precompiled headers of the test framework are made with.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
