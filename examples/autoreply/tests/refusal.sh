#!/bin/bash
# SPDX-License-Identifier: Apache-2.0
# The service refuses the answer, twice, for want of room: it is tried again later.
# shellcheck source=examples/autoreply/tests/common.sh
source "$(dirname "$0")/common.sh"

start_application
eventually application_said "cannot answer message 1: result -7"
expect_answers 1
