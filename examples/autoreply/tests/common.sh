# SPDX-License-Identifier: Apache-2.0
# shellcheck shell=bash
# What the tests share. The test bed ends whatever a test leaves running.
set -euo pipefail

readonly BED=${MSG_CONSUMER_TEST_BED:?run this in msg-consumer-run}
readonly TEXT='I am on the road and will call back.'

start_application() {
  "$AUTOREPLY" "$TEXT" >"$BED/application.log" 2>&1 &
}

fail() {
  printf '%s\n' "$*" >&2
  tail --verbose "$BED/application.log" >&2
  "$MSGCTL" messages >&2
  exit 1
}

# Waits for a condition, never for a time.
eventually() {
  local tries=200
  until "$@"; do
    ((tries-- > 0)) || fail "this did not come to be: $*"
    sleep 0.05
  done
}

# count WORDS...: how many messages have all these members, as JSON shows them
count() {
  local messages word
  messages=$("$MSGCTL" --json messages | grep message_id || true)
  for word in "$@"; do
    messages=$(grep --fixed-strings -e "$word" <<<"$messages" || true)
  done
  grep --count message_id <<<"$messages" || true
}

there_are() {
  local expected=$1
  shift
  [[ $(count "$@") == "$expected" ]]
}

readonly ANSWER='"direction":"outgoing"'
readonly DELIVERED='"delivery":"delivered"'
readonly UNREAD='"read":false'

# Every message was read, and the answers that were sent are these and no more.
expect_answers() {
  eventually there_are "$1" "$ANSWER" "$DELIVERED"
  eventually there_are 0 "$UNREAD"
  there_are "$1" "$ANSWER" || fail "there are $(count "$ANSWER") answers, and not $1"
}

application_said() {
  grep --quiet --fixed-strings -e "$1" "$BED/application.log"
}
