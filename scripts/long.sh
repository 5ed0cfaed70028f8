#!/usr/bin/env bash
# long.sh [CHECK...]: the long checks, all or those named. Each appends a line to docs/ledger.md; logs are in build/long.
# TAMIX_LONG_SECONDS limits each check's time and TAMIX_LONG_SEED is its first seed. A check that is sent SIGTERM enters what it
# has done.
set -euo pipefail
cd "$(dirname "$0")/.."

# A line for each check: its name, how it runs (see below), and what that takes.
#   series TARGET INPUTS       random inputs of a fuzz target, sanitized
#   guided TARGET INPUTS       inputs of a fuzz target that coverage chooses, sanitized
#   test PRESET VARIABLE=COUNT PROGRAM [ARGUMENT...]   a program of build/PRESET/tests with its count raised
checks='
record_series     series record_fuzzer 24000000
record_guided     guided record_fuzzer 1000000
kernel_series     series kernel_fuzzer 10000000
kernel_guided     guided kernel_fuzzer 1000000
lifecycle_series  series lifecycle_fuzzer 2000000
lifecycle_guided  guided lifecycle_fuzzer 200000
file_guided       guided file_fuzzer 1000000
hostile_records   test asan TAMIX_TEST_RECORDS=450 hostile_records_test --gtest_brief=1
warps             test asan TAMIX_TEST_WARPS=1000000 hostile_records_test --gtest_filter=Warps.*
runs              test host TAMIX_TEST_RUNS=20000 hostile_records_test --gtest_filter=*LeaveNoMemory*
lives             test host TAMIX_TEST_LIVES=100000 tamix_interface_test --gtest_brief=1
planes            test host TAMIX_TEST_PLANES=20 record_planes_test --gtest_brief=1
'

root=$PWD
logs=$root/build/long
first_seed=${TAMIX_LONG_SEED:-1}
stopped=false
findings=0
trap 'stopped=true' TERM

commit=$(git rev-parse --short HEAD)
git diff --quiet HEAD -- inference include platform tests tools || commit+=" and changes"

# Appends a line to the ledger: check, count, seed, result.
enter() {
  printf '| %s | %s | %s | %s | %s | %s |\n' "$(date -u +%F)" "$commit" "$1" "$2" "$3" "$4" | tee -a docs/ledger.md
}

# What the tallies say: "CALLS calls, SUCCESSES successes, at least N of each of KINDS kinds (WHICH)".
tallied() {
  cat "$@" | awk '{ calls[$1] += $2; good[$1] += $3; all += $2; sum += $3 }
    END { for (k in good) { ++kinds; if (kinds == 1 || good[k] < good[least]) least = k }
      printf "%d %d successes, of each of %d kinds at least %d (%s)\n", all, sum, kinds, good[least], least }'
}

# fuzz MODE TARGET INPUTS: in runs of 500,000 inputs, each with the next seed.
fuzz() {
  local mode=$1 target=$2 inputs=$3 seed=$first_seed run=500000 left options status=0 result count rest
  cmake --preset asan >/dev/null
  cmake --build --preset asan --target "$target" >"$logs/build.log" || { cat "$logs/build.log"; return 1; }
  local folder=$logs/$target-$mode
  rm -rf "$folder"
  mkdir -p "$folder/corpus"
  cp "build/asan/tests/$target" "$folder/"
  started=$SECONDS  # the build does not count
  for ((left = inputs; left > 0 && status == 0; left -= run, ++seed)); do
    if $stopped || ((SECONDS - started >= ${TAMIX_LONG_SECONDS:-86400})); then break; fi
    ((left >= run)) || run=$left
    options=("-series=$run" "-series_seed=$seed")
    [ "$mode" = series ] || options=("-runs=$run" "-seed=$seed" -entropic=0 "$folder/corpus" "$root/build/asan/tests/corpus/$target")
    (cd "$folder" && TAMIX_FUZZ_TALLY=$folder/tally "./$target" "${options[@]}" >"$folder/log" 2>&1) || status=$?
  done
  if ((status != 0)); then
    ((++findings))
    cp "$folder/log" "$folder/finding-$((seed - 1)).log"
    result="finding with seed $((seed - 1)): $(grep -m 1 -E 'ERROR|SUMMARY|runtime error' "$folder/log" | cut -c 1-120 || true)"
  else
    result="no finding"
  fi
  [ -s "$folder/tally" ] || { ((status != 0)) || return 0; : >"$folder/tally"; }
  read -r count rest <<<"$(tallied "$folder/tally")"
  enter "$target, $mode" "$count" "$first_seed to $((seed - 1))" "$result; $rest"
}

series() { fuzz series "$@"; }
guided() { fuzz guided "$@"; }

# Runs a program of a preset's build with a count raised.
test_program() {
  local preset=$1 count=$2 program=$3 result=passed
  cmake --preset "$preset" >/dev/null
  cmake --build --preset "$preset" --target "$program" >"$logs/build.log" || { cat "$logs/build.log"; return 1; }
  local runner=()
  [[ $preset != aarch64* ]] || runner=(qemu-aarch64 -L /usr/aarch64-linux-gnu)
  # Where memory cannot be had, the library says so; the sanitizer would end the program.
  if ! env "$count" ASAN_OPTIONS=allocator_may_return_null=1 "${runner[@]}" "build/$preset/tests/$program" "${@:4}" >"$logs/$program.log" 2>&1; then
    ((++findings))
    result="failed: $(grep -m 1 -E 'Failure|ERROR|FAILED' "$logs/$program.log" || tail -1 "$logs/$program.log")"
  fi
  enter "$program ($preset)" "${count#*=}" "" "$result"
}

for name in "$@"; do
  grep -q "^$name " <<<"$checks" || { echo "long.sh: no check is named $name" >&2; exit 2; }
done
mkdir -p "$logs"
while read -r -u 3 name kind arguments; do
  [ -n "$name" ] || continue
  [ $# -eq 0 ] || [[ " $* " = *" $name "* ]] || continue
  ! $stopped || break
  echo "== $name"
  started=$SECONDS
  [ "$kind" != test ] || kind=test_program
  # shellcheck disable=SC2086 # words of the table
  "$kind" $arguments
done 3<<<"$checks"
((findings == 0))
