#!/bin/bash
# SPDX-License-Identifier: Apache-2.0
# A message that comes later is answered at its event.
# shellcheck source=examples/autoreply/tests/common.sh
source "$(dirname "$0")/common.sh"

start_application
eventually application_said listening
eventually there_are 1 "$ANSWER"
expect_answers 1
