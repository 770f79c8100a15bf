#!/bin/bash
# SPDX-License-Identifier: Apache-2.0
# The service dies when the answer is stored and before it says so: nothing is sent twice.
# shellcheck source=examples/autoreply/tests/common.sh
source "$(dirname "$0")/common.sh"

start_application
eventually application_said "no word about the answer to message 1: result -4"
expect_answers 1
