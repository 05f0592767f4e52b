#!/usr/bin/env bash
# Holds scripts/sandbox to its promises, one test a function.
#   tests/sandbox_test.sh NAME…   runs the named tests; ctest runs them one by one
#   tests/sandbox_test.sh --help  lists them
set -euo pipefail

source_root=$(cd -P -- "$(dirname -- "${BASH_SOURCE[0]}")/.." && pwd -P)
readonly source_root
readonly sandbox=$source_root/scripts/sandbox
readonly kNobody=65534
readonly kSkipped=77
readonly kTries=200 kPauseSeconds=0.05

fail() {
  printf 'FAILED: %s\n' "$*" >&2
  exit 1
}

expect_equal() { [[ $1 == "$2" ]] || fail "expected '$1', got '$2'${3:+: $3}"; }
expect_contains() { [[ $1 == *"$2"* ]] || fail "'$2' is missing in: $1"; }
expect_absent() { [[ ! -e $1 ]] || fail "$1 exists on this machine"; }

# True while a process of this machine, inside a sandbox or not, has the name.
running() { grep --null-data --line-regexp --fixed-strings --quiet --no-messages -e "$1" /proc/[0-9]*/cmdline; }

# Waits until a process of the name is there (`started`) or no longer there (`gone`).
wait_until() {
  local tries
  for ((tries = 0; tries < kTries; tries++)); do
    case $1 in
      started) if running "$2"; then return; fi ;;
      gone) if ! running "$2"; then return; fi ;;
    esac
    sleep "$kPauseSeconds"
  done
  fail "the process has not $1"
}

# A checkout below /tmp that anybody may read, holding the sandbox alone.
copy_sandbox() {
  mkdir -p "$scratch/checkout/scripts"
  cp "$sandbox" "$scratch/checkout/scripts/sandbox"
  chmod -R go+rX "$scratch"
}

# Some machines, containers above all, allow an ordinary user no namespaces: nothing to test then.
skip_without_user_namespaces() {
  as_ordinary_user unshare --map-root-user --pid --fork --mount-proc true 2>/dev/null && return
  echo "skipped: this machine allows an ordinary user no namespaces"
  exit "$kSkipped"
}

as_ordinary_user() {
  if [[ $EUID -eq 0 ]]; then
    setpriv --reuid "$kNobody" --regid "$kNobody" --clear-groups -- "$@"
  else
    "$@"
  fi
}

GivesEmptyPrivateDirectories() {
  local listing
  listing=$("$sandbox" find /tessel /media /run -mindepth 1)

  expect_equal /media/mmcblk0p1 "$listing"
}

LeavesNothingOnThisMachine() {
  local mark=sandbox-test-$$ place

  "$sandbox" bash -c "for place in /tessel /media /media/mmcblk0p1 /tmp /dev /dev/shm /run /; do
    echo data > \$place/$mark; done"

  for place in /tessel /media /media/mmcblk0p1 /tmp /dev /dev/shm /run ''; do
    expect_absent "$place/$mark"
  done
}

ForgetsEverythingBetweenTwoRuns() {
  "$sandbox" touch /tmp/first /media/mmcblk0p1/first /tessel/first

  local found
  found=$("$sandbox" find /tmp /media/mmcblk0p1 /tessel -name first)

  expect_equal '' "$found"
}

KeepsTheRestOfThisMachineReadOnly() {
  local place
  for place in /etc /usr /var/tmp "$source_root"; do
    if "$sandbox" touch "$place/sandbox-test-$$" 2>/dev/null; then fail "$place is writable"; fi
    expect_absent "$place/sandbox-test-$$"
  done
}

HasACardThatCanBePulled() {
  local after
  after=$("$sandbox" bash -c 'test -f /dev/mmcblk0p1 && rm /dev/mmcblk0p1 && ls -A /dev')

  [[ $after != *mmcblk* ]] || fail 'the card is still there'
}

HasALoopbackOfItsOwnAndNothingElse() {
  local interfaces
  interfaces=$("$sandbox" tail -n +3 /proc/net/dev)
  expect_contains "$interfaces" lo:
  expect_equal 1 "$(wc -l <<<"$interfaces")"

  expect_contains "$("$sandbox" bash -c '(exec 3<>/dev/tcp/127.0.0.1/9) 2>&1 || true')" refused
}

ReachesNoOtherAddressAndSaysSoAtOnce() {
  local begin=$SECONDS said
  said=$("$sandbox" bash -c '(exec 3<>/dev/tcp/192.168.1.100/80) 2>&1 || true')

  expect_contains "$said" unreachable
  [[ $((SECONDS - begin)) -le 2 ]] || fail "took $((SECONDS - begin)) s"
}

SharesTheNetworkOnlyWhenAsked() {
  local outside
  outside=$(readlink /proc/self/ns/net)

  expect_equal "$outside" "$("$sandbox" --share-net readlink /proc/self/ns/net)"
  [[ $outside != "$("$sandbox" readlink /proc/self/ns/net)" ]] || fail 'the network is shared'
}

SeesNoSharedMemoryOfThisMachine() {
  segment=$(ipcmk --shmem 4096 | grep --only-matching '[0-9]*$')

  expect_contains "$(cat /proc/sysvipc/shm)" " $segment "
  expect_equal '' "$("$sandbox" tail -n +2 /proc/sysvipc/shm)"
}

SeesNoProcessOfThisMachine() {
  local inside
  inside=$("$sandbox" bash -c 'cat /proc/[0-9]*/cmdline | tr "\0" "\n"')

  expect_contains "$inside" /proc/
  [[ $inside != *"${BASH_SOURCE[0]}"* ]] || fail 'this test is visible inside'
}

ActsAsRoot() {
  expect_equal 'uid=0(root) gid=0(root)' "$("$sandbox" id | cut -d ' ' -f 1,2)"
}

PassesTheExitStatusOn() {
  local status=0
  "$sandbox" bash -c 'exit 42' || status=$?

  expect_equal 42 "$status"
}

ReportsADeathBySignal() {
  local status=0
  "$sandbox" bash -c 'kill -SEGV $$' || status=$?

  expect_equal $((128 + 11)) "$status"
}

KeepsTheWorkingDirectory() {
  mkdir "$scratch/here"
  cd "$scratch/here"

  expect_equal "$scratch/here" "$("$sandbox" pwd)"
}

KeepsTheTreesForInspectionOnRequest() {
  BRENNIK_SANDBOX_KEEP=$scratch/kept "$sandbox" bash -c 'echo config >/tessel/sys.xml
    echo ledger >/media/mmcblk0p1/CloudDB.db; echo log >/tmp/log.txt'

  expect_equal config "$(cat "$scratch/kept/tessel/sys.xml")"
  expect_equal ledger "$(cat "$scratch/kept/media/mmcblk0p1/CloudDB.db")"
  expect_equal log "$(cat "$scratch/kept/tmp/log.txt")"
}

FindsKeptTreesAgain() {
  export BRENNIK_SANDBOX_KEEP=$scratch/kept
  "$sandbox" touch /media/mmcblk0p1/CloudDB.db

  expect_equal /media/mmcblk0p1/CloudDB.db "$("$sandbox" find /media -name CloudDB.db)"
}

WritesToTheOneDirectoryThatIsNamed() {
  mkdir "$scratch/coverage" "$scratch/other"

  BRENNIK_SANDBOX_WRITABLE=$scratch/coverage "$sandbox" touch "$scratch/coverage/counts"

  [[ -f $scratch/coverage/counts ]] || fail 'the file did not arrive'
}

WorksForAnOrdinaryUser() {
  skip_without_user_namespaces
  copy_sandbox
  cd "$scratch/checkout"

  local said
  said=$(as_ordinary_user scripts/sandbox bash -c 'touch /tessel/a /media/mmcblk0p1/b /tmp/c; id -u')

  expect_equal 0 "$said"
}

LetsAnOrdinaryUserReopenAReadOnlyFileAsRootMay() {
  skip_without_user_namespaces
  copy_sandbox
  cd "$scratch/checkout"

  local said
  said=$(as_ordinary_user scripts/sandbox \
    bash -c '(umask 0377; echo one >/tmp/day); echo two >>/tmp/day; cat /tmp/day')

  expect_equal $'one\ntwo' "$said"
}

SeesACheckoutBelowTmp() {
  copy_sandbox

  local said status=0
  said=$("$scratch/checkout/scripts/sandbox" ls "$scratch/checkout/scripts")
  "$scratch/checkout/scripts/sandbox" touch "$scratch/checkout/x" 2>/dev/null || status=$?

  expect_equal sandbox "$said"
  [[ $status -ne 0 ]] || fail 'the checkout is writable'
}

AsksNoProxy() {
  export http_proxy=http://127.0.0.1:1 HTTPS_PROXY=http://127.0.0.1:1 all_proxy=http://127.0.0.1:1

  expect_equal '' "$("$sandbox" env | grep --ignore-case proxy || true)"
}

EndsEverythingInsideWhenItIsStopped() {
  local mark=sandbox-test-$$ pid
  "$sandbox" bash -c "(exec -a $mark-child sleep 600) & exec -a $mark sleep 600" &
  pid=$!
  wait_until started "$mark"
  wait_until started "$mark-child"

  kill -TERM "$pid"
  wait "$pid" || true

  wait_until gone "$mark"
  wait_until gone "$mark-child"
}

EndsWhatTheCommandLeavesRunning() {
  local mark=sandbox-test-$$

  "$sandbox" bash -c "(exec -a $mark sleep 600) & until grep -q -s $mark /proc/\$!/cmdline; do :; done"

  wait_until gone "$mark"
}

SaysWhatToInstallWhereBubblewrapIsMissing() {
  local said status=0
  said=$(PATH=$scratch "$BASH" "$sandbox" true 2>&1) || status=$?

  expect_equal 125 "$status"
  expect_contains "$said" 'apt-get install bubblewrap'
}

SaysWhatToAllowWhereNamespacesAreForbidden() {
  printf '#!/bin/sh\necho "bwrap: No permissions to create new namespace" >&2\nexit 1\n' >"$scratch/bwrap"
  chmod +x "$scratch/bwrap"

  local said status=0
  said=$(PATH=$scratch:$PATH "$sandbox" true 2>&1) || status=$?

  expect_equal 125 "$status"
  expect_contains "$said" 'No permissions to create new namespace'
  expect_contains "$said" 'kernel.unprivileged_userns_clone=1'
}

names=$(declare -F | sed -n 's/^declare -f \([A-Z].*\)/\1/p')
if [[ $# -eq 0 || $1 == --help ]]; then
  printf 'usage: tests/sandbox_test.sh NAME…, with these names:\n%s\n' "$names"
  exit 0
fi

segment=
scratch=$(mktemp -d /tmp/sandbox-test.XXXXXX)
clean_up() {
  rm -rf -- "$scratch"
  if [[ $segment ]]; then ipcrm --shmem-id "$segment"; fi
}
trap clean_up EXIT

for name in "$@"; do
  [[ $'\n'$names$'\n' == *$'\n'$name$'\n'* ]] || fail "no test is called $name"
  "$name"
done
