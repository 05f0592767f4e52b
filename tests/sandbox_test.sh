#!/usr/bin/env bash
# shellcheck disable=SC2016 # expanded inside
# Tests scripts/sandbox: that what runs inside is alone, and that it leaves nothing behind.
#   tests/sandbox_test.sh [NAME…]   runs the named tests, or all of them
set -euo pipefail
source "$(dirname -- "${BASH_SOURCE[0]}")/../scripts/functions"

checkout=$(cd -P -- "$(dirname -- "${BASH_SOURCE[0]}")/.." && pwd -P)
readonly checkout sandbox=$checkout/scripts/sandbox
readonly nobody=65534

expect_equal() { [[ $1 == "$2" ]] || fail "${FUNCNAME[1]}: expected '$1', got '$2'"; }

# True while a process of this machine, inside a sandbox or not, has the name.
runs() { grep --null-data --line-regexp --fixed-strings --quiet --no-messages -e "$1" /proc/[0-9]*/cmdline; }
is_gone() { ! runs "$1"; }

HasEmptyTreesThatAreForgotten() {
  local mark=sandbox-test-$$ place
  "$sandbox" bash -c "for place in /tessel /media /media/mmcblk0p1 /tmp /dev /dev/shm /run /; do
    echo data > \$place/$mark; done"

  expect_equal /media/mmcblk0p1 "$("$sandbox" find /tessel /media /run /tmp -mindepth 1)"
  for place in /tessel /media /media/mmcblk0p1 /tmp /dev /dev/shm /run ''; do
    [[ ! -e $place/$mark ]] || fail "$place/$mark exists on this machine"
  done
}

KeepsTheRestOfThisMachineReadOnly() {
  local place
  for place in /etc /usr /var/tmp "$checkout"; do
    if "$sandbox" touch "$place/sandbox-test-$$" 2>/dev/null; then fail "$place is writable"; fi
  done
}

HasACardThatCanBePulled() {
  "$sandbox" bash -c 'test -f /dev/mmcblk0p1 && rm /dev/mmcblk0p1 && test ! -e /dev/mmcblk0p1'
}

HasALoopbackOfItsOwnAndNothingElse() {
  expect_equal lo "$("$sandbox" sed -n '3,$s/:.*//p' /proc/net/dev | tr -d ' ')"
  "$sandbox" bash -c '(exec 3<>/dev/tcp/127.0.0.1/9) 2>&1 || true' | grep --quiet refused
  "$sandbox" bash -c '(exec 3<>/dev/tcp/192.168.1.100/80) 2>&1 || true' | grep --quiet unreachable
}

SharesTheNetworkOnlyWhenAsked() {
  expect_equal "$(readlink /proc/self/ns/net)" "$("$sandbox" --share-net readlink /proc/self/ns/net)"
}

SeesNoSharedMemoryAndNoProcessOfThisMachine() {
  segment=$(ipcmk --shmem 4096 | grep --only-matching '[0-9]*$')

  expect_equal '' "$("$sandbox" tail -n +2 /proc/sysvipc/shm)"
  if "$sandbox" bash -c 'cat /proc/[0-9]*/cmdline | tr "\0" "\n"' | grep --quiet -e "${BASH_SOURCE[0]}"; then
    fail 'this test is visible inside'
  fi
}

RunsTheCommandAsRootWhereTheCallerStands() {
  cd "$scratch"
  expect_equal "0 $scratch" "$("$sandbox" bash -c 'echo "$(id -u) $PWD"')"
}

PassesTheExitStatusOn() {
  local status=0
  "$sandbox" bash -c 'exit 42' || status=$?
  expect_equal 42 "$status"

  status=0
  "$sandbox" bash -c 'kill -SEGV $$' || status=$?
  expect_equal $((128 + 11)) "$status"
}

KeepsTheTreesOnRequestAndFindsThemAgain() {
  export BRENNIK_SANDBOX_KEEP=$scratch/kept
  "$sandbox" bash -c 'echo config >/tessel/sys.xml; echo ledger >/media/mmcblk0p1/CloudDB.db; echo log >/tmp/log.txt'

  expect_equal config "$(<"$scratch/kept/tessel/sys.xml")"
  expect_equal log "$(<"$scratch/kept/tmp/log.txt")"
  expect_equal ledger "$("$sandbox" cat /media/mmcblk0p1/CloudDB.db)"
}

WritesToTheOneDirectoryThatIsNamed() {
  mkdir "$scratch/coverage"
  BRENNIK_SANDBOX_WRITABLE=$scratch/coverage "$sandbox" touch "$scratch/coverage/counts"
  [[ -f $scratch/coverage/counts ]] || fail 'the file did not arrive'
}

WorksForAnOrdinaryUserFromACheckoutBelowTmp() {
  local as_user=()
  [[ $EUID -ne 0 ]] || as_user=(setpriv --reuid "$nobody" --regid "$nobody" --clear-groups --)
  # Some machines, above all containers, allow an ordinary user no name spaces: there is nothing to test.
  "${as_user[@]}" unshare --map-root-user --pid --fork --mount-proc true 2>/dev/null || {
    echo "skipped: this machine allows an ordinary user no name spaces"
    return 0
  }
  mkdir -p "$scratch/checkout/scripts"
  cp "$sandbox" "$scratch/checkout/scripts"
  chmod -R go+rX "$scratch"
  cd "$scratch/checkout"

  # A file of mode 0400 is reopened, as the service does with its day log.
  expect_equal $'one\ntwo' "$("${as_user[@]}" scripts/sandbox \
    bash -c '(umask 0377; echo one >/tmp/day); echo two >>/tmp/day; cat /tmp/day')"
  if "${as_user[@]}" scripts/sandbox touch "$scratch/checkout/x" 2>/dev/null; then fail 'the checkout is writable'; fi
}

AsksNoProxy() {
  export http_proxy=http://127.0.0.1:1 HTTPS_PROXY=http://127.0.0.1:1 all_proxy=http://127.0.0.1:1
  expect_equal '' "$("$sandbox" env | grep --ignore-case proxy || true)"
}

EndsEverythingInsideWhenItIsStopped() {
  local mark=sandbox-test-$$ pid name
  "$sandbox" bash -c "(exec -a $mark-child sleep 600) & exec -a $mark sleep 600" &
  pid=$!
  wait_for 10 runs "$mark"
  wait_for 10 runs "$mark-child"

  kill -TERM "$pid"
  wait "$pid" || true

  for name in "$mark" "$mark-child"; do wait_for 10 is_gone "$name" || fail "$name goes on"; done
}

EndsWhatTheCommandLeavesRunning() {
  local mark=sandbox-test-left-$$
  "$sandbox" bash -c "(exec -a $mark sleep 600) & until grep -q -s $mark /proc/\$!/cmdline; do :; done"
  wait_for 10 is_gone "$mark" || fail 'a process inside goes on'
}

SaysWhatIsMissing() {
  local said status=0
  said=$(PATH=$scratch "$BASH" "$sandbox" true 2>&1) || status=$?
  expect_equal 125 "$status"
  [[ $said == *'apt-get install bubblewrap'* ]] || fail "no advice: $said"

  printf '#!/bin/sh\nexit 1\n' >"$scratch/bwrap"
  chmod +x "$scratch/bwrap"
  status=0
  said=$(PATH=$scratch:$PATH "$sandbox" true 2>&1) || status=$?
  expect_equal 125 "$status"
  [[ $said == *'kernel.unprivileged_userns_clone=1'* ]] || fail "no advice: $said"
}

segment=
run_test() {
  scratch=$(mktemp -d /tmp/sandbox-test.XXXXXX)
  trap 'rm -rf -- "$scratch"; [[ ! $segment ]] || ipcrm --shmem-id "$segment"' EXIT
  "$1"
}

[[ $# -gt 0 ]] || mapfile -t names < <(declare -F | sed -n 's/^declare -f \([A-Z].*\)/\1/p')
for name in "${@:-${names[@]}}"; do
  (run_test "$name")
done
