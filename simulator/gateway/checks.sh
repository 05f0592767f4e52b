# shellcheck shell=bash disable=SC2034,SC2154 # names that are shared with scripts/gateway-vm
# The scenarios of scripts/gateway-vm, which reads this file in, and what must hold after each. The half of a
# scenario that runs on the gateway stands in root/usr/lib/gateway/scenario.

readonly partition_bytes=1048576 # where the card's partition begins
limit_seconds=240       # of this machine, for one boot
readonly date_of_checks=2027-03-10

failures=0

# expect TEXT COMMAND…: prints whether the command succeeds
expect() {
  local words=$1
  shift
  if "$@"; then
    say check "ok: $words"
  else
    say check "FAILED: $words"
    failures=$((failures + 1))
  fi
}

host_seconds() { awk -v now="$EPOCHREALTIME" -v then="$begin" 'BEGIN { printf "%.1f", now - then }'; }

# Adds the time of this machine to the line about the first upload.
time_first_upload() {
  local line
  while IFS= read -r line; do
    echo "$line"
    if [[ $line == *"first upload accepted"* ]]; then say check "first upload accepted $(host_seconds) s after the start, by this machine's clock"; fi
  done
}

# play SCENARIO KERNEL-SETTINGS OPTION…: boots the gateway into a scenario and waits for its end. The file
# $lines holds the lines of the console afterwards.
play() {
  local name=$1 settings=$2 begin=$EPOCHREALTIME status=0
  shift 2
  lines=$run/$name.txt
  limit=(timeout "$limit_seconds")
  emulate "$run/card.img" "gateway.scenario=$name $settings" "$@" -serial stdio </dev/null 2>&1 |
    show_console | time_first_upload | tee "$lines" || status=$?
  expect "$name ended by itself, after $(host_seconds) s by this machine's clock" test "$status" -eq 0
  expect "$name went through" said "scenario $name: done"
}

# play_fast SCENARIO KERNEL-SETTINGS [DATE [TIME]]: the same with the emulator's clock
play_fast() { play "$1" "$2" "${emulated_clock[@]}" -rtc "base=${3:-$date_of_checks}T${4:-02:04:30},clock=vm"; }

said() { grep --quiet --extended-regexp -e "$1" "$lines"; }
never_said() { ! said "$1"; }
times_said() { grep --count --extended-regexp -e "$1" "$lines" || true; }

# Copies the files of the card to $run/card. The gateway is off.
read_card() {
  rm -rf -- "$run/card"
  mkdir -- "$run/card"
  debugfs -R "rdump / $run/card" "$run/card.img?offset=$partition_bytes" 2>/dev/null
  ledger=$run/card/Cloud/DB/CloudDB.db
}

card_is_sound() { e2fsck -f -n "$run/card.img?offset=$partition_bytes" >"$run/e2fsck.txt" 2>&1; }

rows() { sqlite3 -readonly "$ledger" "select $1"; }
holds() { [[ $(rows "$1") == 1 ]]; }

# archives_are_whole DATE: every file in the ledger is on the card and holds a document of this gateway and day
archives_are_whole() {
  local name document count=0
  while IFS= read -r name; do
    document=$(document_of "$name") || return 1
    [[ $document == '{"sn":"TS20240117",'* && $document == *'"timeMark":"'"$1"* ]] || return 1
    count=$((count + 1))
  done < <(rows "FileName from tJsonFileNames")
  say check "$count archives read"
  [[ $count -gt 0 ]]
}

document_of() { tar -xzOf "$run/card/Cloud/JsonFiles/$1"; }

# recall_holds TEXT: the file of the one recall contains the text
recall_holds() {
  local name
  name=$(rows "substr(FileName, instr(FileName, 'calldata/')) from recallJsonFile")
  [[ $(document_of "$name") == *"$1"* ]]
}

no_complaints() { never_said '\[cloud .*(faulty|refused|unknown|bad)'; }

# expect_delivery DATE TEXT: what must hold after a delivery; the recall contains the text
expect_delivery() {
  local day=$1 recalled=$2
  read_card
  expect "live values accepted" said 'realdata S'"${day//-/}"'[0-9]{6}\.tar\.gz .*, 429 points: accepted$'
  expect "an alarm accepted" said 'alarmdata T'"${day//-/}"'[0-9]{6}\.tar\.gz .*: accepted$'
  expect "a recall accepted" said 'calldata R'"${day//-/}"'[0-9]{6}\.tar\.gz .*, 3 points, order 7: accepted$'
  expect "the cloud found no fault" no_complaints
  expect "the ledger holds accepted live values of that day" \
    holds "count(*) > 0 from tJsonFileNames where Result = 1 and FileType = 2 and FileName like 'realdata/%/S${day//-/}%'"
  expect "the ledger holds accepted alarms of that day" \
    holds "count(*) > 0 from tJsonFileNames where Result = 1 and FileType = 1 and FileName like 'alarmdata/%/T${day//-/}%'"
  expect "the ledger holds the recall, at its time" \
    holds "count(*) = 1 from recallJsonFile where date(Createtime, 'unixepoch') = '$day'"
  expect "every archive is whole and of that day" archives_are_whole "$day"
  expect "the recall holds what it should: $recalled" recall_holds "$recalled"
  expect "the card's file system is sound" card_is_sound
}

check_delivery() {
  play_fast delivery ""
  expect_delivery "$date_of_checks" '"flag":1,"values":[{"timeMark":"'"$date_of_checks"
}

# The service does not find minutes after January 2038 in the history, see docs/interfaces.md.
check_year-2038() {
  play_fast year-2038 "" 2038-02-01
  expect_delivery 2038-02-01 '"flag":0,"values":[]'
}

check_boot() {
  "$host_cloud" --port 8080 --prefix /cloud --sn TS20240117 >"$run/cloud.txt" 2>&1 &
  local cloud=$!
  play boot "gateway.cloud=$outside_cloud" "${outside_link[@]}" -rtc "base=${date_of_checks}T02:04:40"
  expect "the cloud outside has not ended" kill "$cloud"
  label cloud <"$run/cloud.txt"
  read_card
  lines=$run/cloud.txt
  expect "the cloud outside accepted an upload" said 'data [ST][0-9]{14}\.tar\.gz .*: accepted$'
  expect "the ledger says so" holds "count(*) > 0 from tJsonFileNames where Result = 1"
}

check_card-pulled() {
  play_fast card-pulled "gateway.card=pulled"
  expect "the service leaves without a card: status 255 after 30 s" said 'no card: exit status 255 after 3[01]\.'
  expect "init starts it again, each time" test "$(times_said 'no card: life [123] ended and the next began after 3[0-2]\.')" -eq 3
  expect "its log says why" said 'no card: log database, .* no sd card, please check if insert the sd card'
  expect "with the card it stays" said 'with the card: still the same process'
  expect "with the card uploads are accepted" said 'first upload accepted, up'
  expect "when the card is pulled from under it, it is started anew" said 'card pulled: the service was started anew'
  expect "with the card back, uploads are accepted" said 'uploads accepted again'
  read_card
  expect "every archive is whole" archives_are_whole "$date_of_checks"
  expect "the card's file system is sound" card_is_sound
}

# The files of standard input were all uploaded.
all_uploaded() { while IFS= read -r name; do grep --quiet "${name##*/} .*: accepted\$" "$lines" || return 1; done; }
none_uploaded() { while IFS= read -r name; do ! grep --quiet "${name##*/}" "$lines" || return 1; done; }

check_reboot() {
  play_fast reboot-first ""
  read_card
  local accepted pending
  accepted=$(rows "FileName from tJsonFileNames where Result = 1")
  pending=$(rows "FileName from tJsonFileNames where Result = 0")
  expect "files are accepted before the reboot" test -n "$accepted"
  expect "files are pending before the reboot" test -n "$pending"
  play_fast reboot-second "" "$date_of_checks" 02:34:30
  read_card
  expect "what was pending has been sent" all_uploaded <<<"$pending"
  expect "what was accepted has not been sent again" none_uploaded <<<"$accepted"
  expect "all of it is accepted in the ledger" \
    test "$(printf '%s\n%s\n' "$accepted" "$pending" | sort)" == "$(rows "FileName from tJsonFileNames where Result = 1" | grep -F -f <(printf '%s\n%s\n' "$accepted" "$pending") | sort)"
  expect "files that were made after the reboot are accepted" \
    holds "count(*) > 0 from tJsonFileNames where Result = 1 and FileName > 'realdata/10/S${date_of_checks//-/}1030'"
  expect "every archive is whole" archives_are_whole "$date_of_checks"
  expect "the card's file system is sound" card_is_sound
}

check_read-only() {
  play_fast read-only ""
  expect "the service ends when it cannot write a data file, and says so" said "Assertion .ofs.is_open\(\). failed"
  expect "init starts it again until then" said 'read-only: the service is there'
  expect "nothing on the card changes or is lost" said 'read-only: files and ledger are as they were'
  expect "with the card writable again, it stays" said 'writable again: still the same process'
  expect "every earlier row is still there" said 'writable again: every row of before is there'
  expect "new files are accepted" said 'scenario read-only: done'
  read_card
  expect "every archive is whole" archives_are_whole "$date_of_checks"
  expect "the card's file system is sound" card_is_sound
}

readonly program_limit_bytes=409600
readonly status_private_limit_kib=6144
readonly status_limit_instructions=75 # millions, at 45,000 rows; it takes 74

# told CASE PATTERN: brennik-status has printed a line like this in this case
told() { said "^\[status +\] $1: $2"; }

# expect_verdict CASE STATUS CODE: its exit status, and the code of the cause, or no code
expect_verdict() {
  expect "$1: exit status $2" told "$1" "exit status $2$"
  if [[ $3 ]]; then
    expect "$1: the cause is $3" test "$(sed -nE "s/^\[status +\] $1: .*(BRN-[A-Z0-9-]+).*/\1/p" "$lines" | head -n 1)" == "$3"
  else
    expect "$1: no finding" never_said "^\[status +\] $1: .*BRN-"
  fi
}

check_status() {
  local instructions anonymous private package bytes
  limit_seconds=900
  play_fast status ""
  expect_verdict "healthy" 0 ""
  expect_verdict "healthy, monitor" 0 ""
  expect_verdict "cloud gone" 2 BRN-CLOUD-REFUSED
  expect "cloud gone, monitor: exit status 2" told "cloud gone, monitor" 'exit status 2$'
  expect "with the cloud back, it is healthy" told "cloud back" healed
  expect_verdict "card pulled" 2 BRN-CARD-MISSING
  expect "with the card back, it is healthy" told "card back" healed
  expect_verdict "wrong sys.xml, before the restart: config" 2 BRN-CONFIG-SYSTEM
  expect_verdict "wrong sys.xml" 2 BRN-CONFIG-SYSTEM
  expect "with the right file, it is healthy" told "right sys.xml" healed
  expect_verdict "many rows" 0 ""

  instructions=$(sed -nE 's/^\[status +\] many rows: [0-9.]+ s a run, ([0-9]+) million.*/\1/p' "$lines")
  read -r anonymous private < <(sed -nE 's/^\[status +\] many rows: peak Anonymous ([0-9]+) Private ([0-9]+) .*/\1 \2/p' "$lines") || true
  say status "at 45,000 rows $instructions million instructions, at most $anonymous KiB of written memory seen ($private KiB with pages of files)"
  expect "a verdict takes less than $status_limit_instructions million instructions" \
    test "${instructions:-999999}" -lt "$status_limit_instructions"
  expect "its written memory stays under $status_private_limit_kib KiB" test "${private:-999999}" -lt "$status_private_limit_kib"
  expect "it works with that limit" told "many rows, at most 6 MiB of written memory" 'exit status 0$'
  package=$(compgen -G "$folder/package/brennik_*_armhf.deb")
  bytes=$(dpkg-deb --fsys-tarfile "$package" | tar -xO ./usr/bin/brennik-status | wc -c)
  say flash "brennik-status $bytes bytes"
  expect "the stripped program is under $program_limit_bytes bytes" test "$bytes" -lt "$program_limit_bytes"
}

# call METHOD PATH [JSON]: one call of the page, as a browser's reaches it. The reply is in $run/reply.json afterwards.
call() {
  local body=${3:-}
  printf '%s %s HTTP/1.1\r\nHost: 127.0.0.1\r\nContent-Type: application/json\r\nContent-Length: %d\r\n\r\n%s' \
    "$1" "$2" "${#body}" "$body" | timeout 30 socat -,ignoreeof UNIX-CONNECT:build/gateway-vm/page 2>/dev/null >"$run/reply"
  sed '1,/^\r$/d' "$run/reply" >"$run/reply.json"
  head -n 1 "$run/reply" | grep --quiet '^HTTP/1.1 200'
}

# state_says PATH CONDITION: a member of the state, by its JSON path, fulfils the condition
state_says() {
  call GET /api/state &&
    [[ $(sqlite3 :memory: "select json_extract(readfile('$run/reply.json'), '$.$1') $2") == 1 ]]
}

check_console() {
  lines=$run/console.txt
  forward_page &
  local forwarder=$!
  emulate "$run/card.img" "$console_settings" "${console_machine[@]}" -pidfile "$run/emulator" -serial stdio \
    </dev/null 2>&1 > >(show_console | tee "$lines") &
  expect "the page shows an accepted file" wait_for 300 state_says account.total.accepted '> 0'
  expect "it comes from the gateway" state_says clocks.place "= 'gateway'"
  expect "its files come from the gateway, too" call GET /index.html
  expect "the card is pulled" call POST /api/faults/start '{"fault":"pull-card","seconds":120,"params":{}}'
  expect "its device is gone" said '^\[card +\] pulled: /dev/mmcblk0p1 is gone'
  expect "brennik-status says so" wait_for 60 state_says verdicts.status.code "= 'BRN-CARD-MISSING'"
  expect "the fault comes to an end" wait_for 700 state_says faults.recent[0].state "= 'ended'"
  say check "$(sqlite3 :memory: "select json_extract(readfile('$run/reply.json'), '$.faults.recent[0].text')")"
  expect "everything came as expected" state_says faults.recent[0].verdict "= 'as expected'"
  expect "with the card back, nothing is lost" state_says account.total.lost '= 0'
  kill "$(<"$run/emulator")" "$forwarder"
  wait || true
}

# The gateway runs in real time and with two processors, because the tests' time limits are in real time.
check_tests() {
  local passed failed wanted
  limit_seconds=5400
  play tests "gateway.card=pulled" -nic none -smp 2 \
    -drive "if=none,id=tests,format=raw,readonly=on,file=$folder/tests.img" -device virtio-blk-pci,drive=tests
  passed=$(times_said '^\[test . +\] \[       OK \] ')
  failed=$(times_said '^\[test . +\] \[  FAILED  \] .* ms\)$')
  wanted=$(awk '/^\[test . +\] \[==========\] Running / { wanted += $6 } END { print wanted + 0 }' "$lines")
  say check "$passed of $wanted tests passed, $failed failed"
  expect "both halves came to their ends" test "$(times_said '^\[test . +\] \[==========\] .* ran\. ')" -eq 2
  expect "there were tests, and all passed" test "$wanted" -gt 0 -a "$passed" -eq "$wanted"
}

run_checks() {
  local scenario
  for scenario in "$@"; do
    printf '\n== %s\n' "$scenario"
    run=$folder/$scenario
    rm -rf -- "$run"
    mkdir -p -- "$run"
    new_card "$run/card.img"
    "check_$scenario"
  done
  echo
  if [[ $failures -gt 0 ]]; then
    say check "$failures checks FAILED"
    return 1
  fi
  say check "all checks hold"
}
