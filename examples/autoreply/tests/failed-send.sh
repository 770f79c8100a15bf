#!/bin/bash
# SPDX-License-Identifier: Apache-2.0
# The network does not take the answer, twice: the same message is sent again.
# shellcheck source=examples/autoreply/tests/common.sh
source "$(dirname "$0")/common.sh"

start_application
eventually application_said "sent again: message 2: result 0"
expect_answers 1
