# What the kinds of fault share. Sourced by each of them; runs in the top folder of the checkout.
# shellcheck shell=bash
set -euo pipefail
cd -P -- "$(dirname -- "${BASH_SOURCE[0]}")/../.."
source scripts/functions

# build TARGET…: the programs of a kind, as debug builds.
build() {
  scripts/install build test
  quietly cmake --preset debug --log-level=WARNING
  quietly cmake --build --preset debug --parallel "$(nproc)" --target "$@"
}

# Lets the release build of the service be attacked.
use_release_service() {
  quietly build_programs brennik
  export BRENNIK_SERVICE=$PWD/build/release/src/main/brennik
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

# on_switchable_card SCRIPT ARGUMENT…: starts the script again in a mount namespace where the card of the sandbox
# is a small file system of its own. It becomes read-only when a test asks for it. Returns where that is so.
on_switchable_card() {
  if [[ ! ${BRENNIK_CARD_SWITCH:-} ]]; then
    local as_root=()
    [[ $EUID -eq 0 ]] || as_root=(--map-root-user)
    BRENNIK_CARD_SWITCH=yes exec unshare "${as_root[@]}" --mount -- "$@"
  fi
  # The mounts end with their namespace.
  places=$(mktemp -d)
  trap 'kill "$switch" 2>/dev/null || true; umount --recursive "$places"; rmdir "$places"' EXIT
  mount -t tmpfs -o size=64m places "$places"
  mkdir -p "$places/media/mmcblk0p1" "$places/tessel"
  mount -t tmpfs -o size=64m card "$places/media/mmcblk0p1"
  while sleep 0.01; do
    [[ -f $places/tessel/card-switch ]] || continue
    mount -o "remount,$(<"$places/tessel/card-switch")" "$places/media/mmcblk0p1"
    rm "$places/tessel/card-switch"
  done &
  switch=$!
  export BRENNIK_SANDBOX_KEEP=$places
}
