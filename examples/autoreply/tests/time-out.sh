#!/bin/bash
# SPDX-License-Identifier: Apache-2.0
# The service does not answer a call, nor carry it out: the message is answered after the time-out.
# shellcheck source=examples/autoreply/tests/common.sh
source "$(dirname "$0")/common.sh"

start_application
eventually application_said "no word about the answer to message 1: result -4"
expect_answers 1
