# shellcheck shell=bash disable=SC2034,SC2154 # names that are shared with scripts/gateway-vm
# The scenarios that measure what the service takes of the gateway. scripts/gateway-vm reads this file in after checks.sh.

readonly cycle_instructions=12341 # thousands, the kernel's for the service included

# within_percent PERCENT NUMBER EXPECTED
within_percent() { test "$((100 * ($2 > $3 ? $2 - $3 : $3 - $2)))" -le "$(($1 * $3))"; }

# Each run of a build gives the same number. Whoever changes the number by more than 5 %, up or down, writes the new one here.
check_cycle() {
  local instructions
  play_fast cycle norandmaps # the places of mappings count, too: page tables, page faults
  expect_delivery "$date_of_checks" '"flag":1,"values":[{"timeMark":"'"$date_of_checks"
  instructions=$(sed -nE 's/^\[cycle +\] a minute with [1-9][0-9]* files: ([0-9]+) instructions.*/\1/p' "$lines")
  expect "a minute takes $cycle_instructions thousand instructions, give or take 5 %" \
    within_percent 5 "$((${instructions:-0} / 1000))" "$cycle_instructions"
}

readonly private_limit_kib=3072
readonly growth_limit_kib=64

# kib_of KIND COLUMN: a number of the table that the scenario prints
kib_of() { awk -v kind="$1" -v column="$2" '$3 == kind { for (i = 4; i < NF; i += 2) if ($i == column) print $(i + 1) }' "$lines"; }

# Private memory is anonymous memory: the pages that the service has written to. The kernel also counts clean pages of
# files as private if no other process maps them, but it can drop them at any time.
check_memory() {
  local package anonymous private
  play_fast memory ""
  if never_said '^\[memory +\] all Rss '; then
    expect "the memory was measured" false
    return
  fi
  anonymous=$(kib_of all Anonymous)
  private=$(($(kib_of all Private_Clean) + $(kib_of all Private_Dirty)))
  say memory "private $anonymous KiB, $private KiB with the pages of files that nobody else maps; PSS $(kib_of all Pss) KiB, RSS $(kib_of all Rss) KiB"
  expect "private memory is under $private_limit_kib KiB" \
    test "$anonymous" -lt "$private_limit_kib"
  expect "it has not grown by more than $growth_limit_kib KiB in the last 15 minutes" \
    test "$((anonymous - $(kib_of early Anonymous)))" -le "$growth_limit_kib"
  package=$(compgen -G "$folder/package/brennik_*_armhf.deb")
  dpkg-deb --fsys-tarfile "$package" | tar -xO ./usr/sbin/brennik >"$run/brennik"
  say flash "package $(stat -c %s "$package") bytes, program $(stat -c %s "$run/brennik") bytes, libraries $(<"$folder/libraries.size") bytes"
  expect "the stripped program is under $program_limit_bytes bytes" \
    test "$(stat -c %s "$run/brennik")" -lt "$program_limit_bytes"
}

# The acquisition side does little: values change once a minute, and no history is recorded.
readonly resting_plant="gateway.period=60000 gateway.history=none"

# figure_of POINTS NAME
figure_of() { awk -F '|' -v name="$2" '$1 == name { print $2 }' "$run/$1.figures"; }

# A row for each figure, a column for each plant.
print_days() {
  local names
  names=$(for size in "${day_points[@]}"; do cut -d '|' -f 1 "$run/$size.figures"; done | awk '!seen[$0]++')
  {
    printf '%s points|' '' "${day_points[@]}"
    echo
    while IFS= read -r name; do
      printf '%s|' "$name"
      for size in "${day_points[@]}"; do printf '%s|' "$(figure_of "$size" "$name")"; done
      echo
    done <<<"$names"
  } | awk -F '|' -v hours="$day_hours" '
      { printf "%-56s", NR == 1 ? hours " hours" : $1; for (i = 2; i < NF; i++) printf "%14s", $i; print "" }'
}

# The gateway at its default intervals, with plants of several sizes, one after the other.
check_day() {
  local size
  limit_seconds=7200
  for size in "${day_points[@]}"; do
    new_card "$run/card.img"
    play_fast day "gateway.points=$size gateway.hours=$day_hours gateway.intervals=default gateway.events=600 $resting_plant"
    sed -nE 's/^\[day +\] //p' "$lines" >"$run/$size.figures"
    expect "every file of live values is accepted" test "$(figure_of "$size" "accepted files of live values")" -eq "$((12 * day_hours))"
    read_card
    expect "the ledger says so" holds "count(*) = 0 from tJsonFileNames where Result = 0"
  done
  print_days | label day
}

check_bench() {
  limit_seconds=3600
  play bench "gateway.card=pulled" "${emulated_clock[@]}" -rtc "base=${date_of_checks}T02:04:30,clock=vm" \
    -device sdhci-pci,id=bench -device "sd-card,drive=bench,bus=pcie.0/bench/sd-bus" \
    -drive "if=none,id=bench,format=raw,snapshot=on,file=$folder/bench.img" >"$run/console.txt"
  sed -nE 's/^\[bench +\] //p' "$lines" >"$run/bench.json"
  bench/table "$run/bench.json" || expect "there are results" false
}
