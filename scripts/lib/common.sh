# SPDX-License-Identifier: Apache-2.0
# shellcheck shell=bash
# What the scripts share. Sourced, with the working directory then at the top of the tree.

SCRIPT=$(realpath "$0")
readonly SCRIPT
cd "$(dirname "${BASH_SOURCE[0]}")/../.." || exit

readonly LOG_DIRECTORY=build/logs
JOBS=${JOBS:-$(nproc)}

if command -v ccache >/dev/null; then
  export CMAKE_C_COMPILER_LAUNCHER=ccache CMAKE_CXX_COMPILER_LAUNCHER=ccache
  # Without these, nothing is cached that uses precompiled headers.
  export CCACHE_SLOPPINESS=pch_defines,time_macros
fi

say() { printf '%s\n' "$*"; }

die() {
  printf '%s: %s\n' "${0##*/}" "$*" >&2
  exit 1
}

# The comment at the head of a script is its help.
show_help() {
  sed -n '/^# SPDX/d; /^#!/d; /^#/!q; s/^# \{0,1\}//p' "$SCRIPT"
}

# Runs a long command: one line for the reader, everything else into a log that is shown only on failure.
quietly() {
  local title=$1 log started=$SECONDS
  shift
  log=$LOG_DIRECTORY/${title//[^a-zA-Z0-9.]/-}.log
  mkdir -p "$LOG_DIRECTORY" || die "cannot write to $PWD/build; does it belong to another user?"
  printf '%s ... ' "$title"
  if "$@" >"$log" 2>&1 </dev/null; then
    say "done ($((SECONDS - started)) s)"
    return
  fi
  say "failed"
  tail -n 60 "$log" >&2
  die "$title failed; the whole output is in $log"
}

# configure_and_build PRESET [NINJA ARGUMENT...]
configure_and_build() {
  local preset=$1
  shift
  quietly "configure $preset" cmake --preset "$preset"
  quietly "build $preset" cmake --build --preset "$preset" --parallel "$JOBS" "$@"
}

# The clang build shares the dev preset's settings, and its compile commands are what clang-tidy reads. Without
# precompiled headers, each source must name the headers that it needs.
configure_and_build_clang() {
  quietly "configure clang" cmake --preset dev -B build/clang -D CMAKE_C_COMPILER=clang -D CMAKE_CXX_COMPILER=clang++ \
    -D CMAKE_DISABLE_PRECOMPILE_HEADERS=ON
  quietly "build clang" cmake --build build/clang --parallel "$JOBS"
}
