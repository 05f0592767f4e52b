# What the kinds of fault share. Sourced by each of them; runs in the top folder of the checkout.
# shellcheck shell=bash
set -euo pipefail
cd -P -- "$(dirname -- "${BASH_SOURCE[0]}")/../.."

# build TARGET…: the programs of a kind, as debug builds.
build() {
  scripts/install build test
  cmake --preset debug --log-level=WARNING >/dev/null
  cmake --build --preset debug --parallel "$(nproc)" --target "$@" >/dev/null
}

# Lets the release build of the service be attacked.
use_release_service() {
  cmake --preset release -DBRENNIK_TESTS=OFF -DBRENNIK_BENCH=OFF -B build/faults --log-level=WARNING >/dev/null
  cmake --build build/faults --parallel "$(nproc)" --target brennik >/dev/null
  export BRENNIK_SERVICE=$PWD/build/faults/src/main/brennik
}

# run_long_life NAME SUITE: runs the tests of a suite of long_lives. Leaves the line with the figures,
# which begins with the name, in `figures`, and gives the tests' status.
run_long_life() {
  local output status=0
  output=$(scripts/sandbox build/debug/tests/faults/long_lives --gtest_filter="$2.*") || status=$?
  grep -v "^$1: " <<<"$output" | head -n 60
  # shellcheck disable=SC2034 # for the caller
  figures=$(grep "^$1: " <<<"$output" || echo "$1: no figures")
  return "$status"
}

# run_rows FILTER N SEED: runs system tests N times, each time in another order, and shows what failed.
# Sets `passed` and `failed`, and `peak`, the most memory in KiB that a test reported.
# shellcheck disable=SC2034 # for the caller
run_rows() {
  local output
  output=$(scripts/sandbox build/debug/tests/system/system_tests --gtest_brief=1 --gtest_filter="$1" \
    --gtest_repeat="$2" --gtest_shuffle --gtest_random_seed="$3" 2>&1) || true
  passed=$(awk '$2 == "PASSED" { sum += $4 } END { print sum + 0 }' <<<"$output")
  failed=$(grep -c '^\[  FAILED  \] .*)$' <<<"$output" || true)
  peak=$(awk '$1 == "peak" && $2 > most { most = $2 } END { print most + 0 }' <<<"$output")
  if [[ $failed != 0 || $passed == 0 ]]; then
    grep -v '^peak\|^Repeating\|^Note\|^$' <<<"$output" | tail -n 400 >&2
    return 1
  fi
}
