#!/usr/bin/env bash
# soak.sh [MINUTES]: installs what is missing, builds, and looks for faults for about MINUTES (10) on top of building:
# the fault sweep, storms of threads, long lives, and the fuzzers, each for its share of the time. Ends in a table of
# practice, runs, findings and figure; logs and inputs of findings stay in build/soak. Exit code 1 when anything was
# found.
set -euo pipefail
cd "$(dirname "$0")/.."

minutes=${1:-10}
[[ $minutes =~ ^[1-9][0-9]*$ ]] || { echo "usage: scripts/soak.sh [MINUTES]" >&2; exit 2; }
seconds=$((minutes * 60))
out=build/soak
rm -rf "$out"
mkdir -p "$out"
table=()
found=0

# row PRACTICE RUNS FINDINGS FIGURE
row() {
    table+=("$(printf '%-34s %12s %9s  %s' "$1" "$2" "$3" "$4")")
    [ "$3" = 0 ] || found=1
}

# timed PRACTICE UNIT LOG COMMAND...: a practice that succeeds as a whole or not.
timed() {
    local practice=$1 runs=$2 log=$out/$3 begin=$SECONDS
    shift 3
    echo "== $practice" >&2
    if "$@" >"$log" 2>&1; then row "$practice" "$runs" 0 "$((SECONDS - begin)) s"; else
        row "$practice" "$runs" 1 "see $log"
    fi
}

# counted PRACTICE LOG COMMAND...: a practice whose last line is "NAME: N runs, N findings, FIGURE".
counted() {
    local practice=$1 log=$out/$2 last
    shift 2
    echo "== $practice" >&2
    "$@" >"$log" 2>&1 || true
    last=$(grep -E '^[^:]+: [0-9]+ runs, [0-9]+ findings, ' "$log" | tail -n 1 || true)
    if [[ $last =~ :\ ([0-9]+)\ runs,\ ([0-9]+)\ findings,\ (.*)$ ]]; then
        row "$practice" "${BASH_REMATCH[1]}" "${BASH_REMATCH[2]}" "${BASH_REMATCH[3]}"
    else
        row "$practice" - 1 "ended early, see $log"
    fi
}

# storms PRESET SECONDS: rounds for as long as told.
storms() {
    local preset=$1 until=$((SECONDS + $2)) rounds=0 findings=0 log=$out/storms-$1.log
    echo "== storms of threads, $preset" >&2
    while [ "$SECONDS" -lt "$until" ]; do
        ORVO_STORM_ROUNDS=10 "build/$preset/tests/bin/orvo-system-tests" --gtest_filter='StormTest.*' \
            >>"$log" 2>&1 || findings=$((findings + 1))
        rounds=$((rounds + 10))
    done
    row "storms of threads, $preset" "$rounds" "$findings" "4 ports, $((rounds * 4)) lives under traffic"
}

# fuzz TARGET SECONDS
fuzz() {
    local target=$1 log=$out/fuzz-$1.log runs cover edges findings
    echo "== fuzz $target" >&2
    mkdir -p "$out/corpus-$target"
    build/fuzz/tests/unit/bin/orvo-fuzz-"$target" -max_total_time="$2" -timeout=25 -rss_limit_mb=4096 -close_fd_mask=1 \
        -print_final_stats=1 -artifact_prefix="$out/$target-" "$out/corpus-$target" "tests/fuzz/corpus/$target" \
        >"$log" 2>&1 || true
    runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log")
    cover=$(sed -n 's/^#[0-9].* cov: \([0-9]*\) .*/\1/p' "$log" | tail -n 1)
    edges=$(sed -n 's/^INFO: Loaded [0-9]* modules *(\([0-9]*\) inline.*/\1/p' "$log")
    findings=$(find "$out" -maxdepth 1 -name "$target-*" | wc -l)
    row "fuzz $target" "${runs:--}" "$findings" "${cover:-0} of ${edges:-?} edges"
}

# conservation SECONDS: four ports at full rate under faults by script, with a seed of its own each time, until every frame
# is accounted for.
conservation() {
    local until=$((SECONDS + $1)) runs=0 findings=0 log=$out/conservation.log
    echo "== conservation under faults" >&2
    while [ "$SECONDS" -lt "$until" ]; do
        runs=$((runs + 1))
        ORVO_FAULT_SEED=$runs build/release/tests/bin/orvo-gige-tests --gtest_filter='FaultsTest.FourPorts*' \
            >>"$log" 2>&1 || findings=$((findings + 1))
    done
    row "conservation under faults" "$runs" "$findings" "4 ports, $((runs * 24000)) frames, seeds 1 to $runs"
}

scripts/setup.sh libclang-rt-dev # the fuzzer
for preset in release asan tsan fuzz; do scripts/build.sh "$preset"; done
started=$SECONDS
export ASAN_OPTIONS=${ASAN_OPTIONS:-} UBSAN_OPTIONS=print_stacktrace=1

# Practices that take what they take; on a short soak a sample of their places.
every=$((minutes >= 10 ? 1 : 11 - minutes))
counted "fault sweep, board calls" calls.log build/release/tests/bin/orvo-fault-sweep calls "$every"
counted "fault sweep, allocations" allocations.log build/release/tests/bin/orvo-fault-sweep allocations "$every"
counted "fault sweep, board calls, asan" calls-asan.log build/asan/tests/bin/orvo-fault-sweep calls $((every * 11))
counted "fault sweep, allocations, asan" allocations-asan.log \
    build/asan/tests/bin/orvo-fault-sweep allocations $((every * 11))
counted "long life" lives.log build/release/tests/bin/orvo-fault-sweep lives 1000
# shellcheck disable=SC2016 # the inner shell's
timed "two processes on one root" 1000 two.log sh -c \
    '"$0" lives 500 & other=$!; "$0" lives 500; mine=$?; wait $other && exit $mine' \
    build/release/tests/bin/orvo-fault-sweep
counted "stop in real time" stop.log build/release/tests/bin/orvo-stop-times 20
conservation $((seconds / 5))

# The rest of the time: a third for threads, two thirds for fuzzers; never less than moments.
rest=$((seconds - (SECONDS - started)))
[ "$rest" -gt 0 ] || rest=0
share=$((rest / 6 > 10 ? rest / 6 : 10))
storms asan "$share"
storms tsan "$share"
targets=(tests/fuzz/corpus/*/)
for folder in "${targets[@]}"; do
    fuzz "$(basename "$folder")" $((rest * 2 / 3 / ${#targets[@]} > 10 ? rest * 2 / 3 / ${#targets[@]} : 10))
done

printf '\n%-34s %12s %9s  %s\n' practice runs findings figure
printf '%s\n' "${table[@]}"
exit "$found"
