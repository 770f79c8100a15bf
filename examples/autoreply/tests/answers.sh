#!/bin/bash
# SPDX-License-Identifier: Apache-2.0
# Messages that came before the application are answered, each sender once; those that were read are not.
# shellcheck source=examples/autoreply/tests/common.sh
source "$(dirname "$0")/common.sh"

start_application
expect_answers 2
