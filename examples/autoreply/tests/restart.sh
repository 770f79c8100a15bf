#!/bin/bash
# SPDX-License-Identifier: Apache-2.0
# The service is dead when the application starts: its first call brings it back.
# shellcheck source=examples/autoreply/tests/common.sh
source "$(dirname "$0")/common.sh"

kill -KILL "$("$MSGCTL" --json status | grep --only-matching '"process_id":[0-9]*' | cut --delimiter=: --fields=2)"
start_application
expect_answers 1
