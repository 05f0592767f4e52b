#!/usr/bin/env bash
# Looks at a program that is made for the gateway.
#   tests/binary_test.sh PROGRAM SQLITE-LIBRARY [TIME-CALL…]
# The program must use these calls of the C library with 64-bit time.
# READELF and STRIP name the tools for the program's processor.
set -euo pipefail
source "$(dirname -- "${BASH_SOURCE[0]}")/../scripts/functions"

readonly program=$1 sqlite=$2 time_calls=("${@:3}") most_bytes=$((400 * 1024))
readonly readelf=${READELF:-readelf} strip=${STRIP:-strip}

has() { grep --quiet --extended-regexp -- "$1" <<<"$2" || fail "nothing like '$1' in: $2"; }

header=$("$readelf" --file-header "$program")
has 'Class: +ELF32' "$header"
has 'Machine: +ARM' "$header"
has 'Flags: .*hard-float ABI' "$header"
has 'Type: +DYN \(Position-Independent Executable file\)' "$header"

layout=$("$readelf" --wide --program-headers --dynamic "$program")
has 'GNU_RELRO' "$layout"
has 'BIND_NOW' "$layout"
has 'GNU_STACK .* RW +0x' "$layout"

calls=$("$readelf" --wide --dyn-syms "$program" | awk '{ print $8 }')
has '^__stack_chk_fail@' "$calls"
has '^__vsnprintf_chk@' "$calls"
# Time has 64 bits: of the C library's two kinds of calls only these know the time after January 2038.
for call in "${time_calls[@]}"; do has "^__$call@" "$calls"; done
if grep --extended-regexp '^(time|localtime_r|localtime|mktime|stat|fstat|lstat)@' <<<"$calls"; then
  fail "these calls count time in 32 bits"
fi

# A library with 32-bit time calls stat64. The program brings one that knows the time after January 2038.
imported=$("$readelf" --wide --dyn-syms "$sqlite")
if grep --quiet ' stat64@' <<<"$imported"; then
  defined=$("$readelf" --wide --dyn-syms "$program" | awk '$4 == "FUNC" && $5 == "GLOBAL" && $7 != "UND" { print $8 }')
  for call in stat64 lstat64 fstat64; do has "^$call\$" "$defined"; done
fi

stripped=$(mktemp)
trap 'rm -f -- "$stripped"' EXIT
"$strip" -o "$stripped" "$program"
bytes=$(stat --format %s "$stripped")
[[ $bytes -lt $most_bytes ]] || fail "$bytes bytes, $most_bytes are too many"
echo "$bytes bytes"
