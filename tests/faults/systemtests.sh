# What the kinds of fault share whose rows are system tests.
# shellcheck shell=bash

build_system_tests() {
  scripts/install build test
  cmake --preset debug --log-level=WARNING >/dev/null
  cmake --build --preset debug --parallel "$(nproc)" --target brennik system_tests >/dev/null
}

# run_rows FILTER N SEED: runs the tests N times, each time in another order, and shows what failed.
# Sets `passed` and `failed`, and `peak`, the most memory in KiB that a row has reported.
# shellcheck disable=SC2034 # the caller's
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
