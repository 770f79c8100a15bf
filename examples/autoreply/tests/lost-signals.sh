#!/bin/bash
# SPDX-License-Identifier: Apache-2.0
# No event arrives: the message is found all the same.
# shellcheck source=examples/autoreply/tests/common.sh
source "$(dirname "$0")/common.sh"

start_application
eventually application_said listening
expect_answers 1
