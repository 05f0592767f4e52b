#!/usr/bin/env bash
# Looks at the program that goes onto the gateway, one property a function.
#   tests/binary_test.sh PROGRAM NAME…  runs the named tests; ctest runs them one by one
# READELF and STRIP name the tools for the program's processor.
set -euo pipefail

readonly program=$1
readonly readelf=${READELF:-readelf} strip=${STRIP:-strip}
readonly kMostBytes=$((400 * 1024))

fail() {
  printf 'FAILED: %s\n' "$*" >&2
  exit 1
}

expect_line() { grep --quiet --extended-regexp -- "$1" <<<"$2" || fail "nothing like '$1' in: $2"; }
expect_no_line() { if grep --extended-regexp -- "$1" <<<"$2" >&2; then fail "the above is like '$1'"; fi; }

# What the program calls of the libraries, as name@VERSION.
calls() { "$readelf" --wide --dyn-syms "$program" | awk '{ print $8 }'; }

RunsOn32BitArmWithHardwareFloatingPoint() {
  header=$("$readelf" --file-header "$program")

  expect_line 'Class: +ELF32' "$header"
  expect_line 'Machine: +ARM' "$header"
  expect_line 'Flags: .*hard-float ABI' "$header"
}

IsLoadedAtAnAddressOfItsOwnEveryTime() {
  expect_line 'Type: +DYN \(Position-Independent Executable file\)' "$("$readelf" --file-header "$program")"
}

HasNothingWritableToJumpThrough() {
  layout=$("$readelf" --wide --program-headers --dynamic "$program")

  expect_line 'GNU_RELRO' "$layout"
  expect_line 'BIND_NOW' "$layout"
  expect_line 'GNU_STACK .* RW +0x' "$layout"
}

WatchesItsStackAndItsCopies() {
  called=$(calls)

  expect_line '^__stack_chk_fail@' "$called"
  expect_line '^__vsnprintf_chk@' "$called"
}

# Of both kinds the C library has, only those that know the time after January 2038.
CountsTimeIn64Bits() {
  called=$(calls)

  for call in time64 localtime64_r mktime64; do expect_line "^__$call@" "$called"; done
  expect_no_line '^(time|localtime_r|localtime|mktime|stat|fstat|lstat)@' "$called"
}

# What libraries with 32-bit time ask about files is answered by the program itself.
AnswersItsLibrariesAboutFiles() {
  defined=$("$readelf" --wide --dyn-syms "$program" | awk '$4 == "FUNC" && $5 == "GLOBAL" && $7 != "UND" { print $8 }')

  for call in stat64 lstat64 fstat64; do expect_line "^$call\$" "$defined"; done
}

IsSmallerThan400KiB() {
  stripped=$(mktemp)
  trap 'rm -f -- "$stripped"' EXIT

  "$strip" -o "$stripped" "$program"

  bytes=$(stat --format %s "$stripped")
  [[ $bytes -lt $kMostBytes ]] || fail "$bytes bytes"
  echo "$bytes bytes"
}

for test in "${@:2}"; do "$test"; done
