#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# soak.sh [MINUTES]: installs what is missing, builds, and looks for faults for about MINUTES (10) more: fault sweep, storms
# of threads, long lives, and fuzzers, each for its share of the time. Ends in a table of practice, runs, findings and
# figure. Logs and the inputs of findings stay in build/soak. Exit code 1 when there was a finding; what could not be built,
# did not run, or did not end is one too.
# soak.sh --short: about a minute, with what is already built of the presets release, asan and tsan; runs the fuzzers'
# corpus instead of the fuzzers.
set -euo pipefail
cd "$(dirname "$0")/.."

if [ "${1-}" = --short ]; then
    minutes=0
else
    minutes=${1:-10}
    [[ $minutes =~ ^[1-9][0-9]*$ ]] || { echo "usage: scripts/soak.sh [MINUTES | --short]" >&2; exit 2; }
fi
seconds=$((minutes * 60))
patience=1800 # seconds that a practice without a limit of its own may take, under sanitizers on a busy machine
out=build/soak
rm -rf "$out"
mkdir -p "$out"
table=()
found=0

# Prints the findings so far, however the script ends.
show_table() {
    local status=$?
    printf '\n%-34s %12s %9s  %s\n' practice runs findings figure
    [ ${#table[@]} -eq 0 ] || printf '%s\n' "${table[@]}"
    [ "$status" -eq 0 ] || exit "$status"
    exit "$found"
}
trap show_table EXIT

# row PRACTICE RUNS FINDINGS FIGURE
row() {
    table+=("$(printf '%-34s %12s %9s  %s' "$1" "$2" "$3" "$4")")
    [ "$3" = 0 ] || found=1
}

# limited SECONDS LOG COMMAND...: appends to the log; fails when the command does, is missing, or takes longer.
limited() {
    local limit=$1 log=$2 status=0
    shift 2
    timeout -k 10 "$limit" "$@" >>"$log" 2>&1 || status=$?
    [ "$status" -ne 124 ] && [ "$status" -ne 137 ] || echo "ended after $limit s" >>"$log"
    return "$status"
}

# timed PRACTICE RUNS LOG COMMAND...: a practice that passes or fails as a whole.
timed() {
    local practice=$1 runs=$2 log=$out/$3 begin=$SECONDS
    shift 3
    echo "== $practice" >&2
    if limited "$patience" "$log" "$@"; then row "$practice" "$runs" 0 "$((SECONDS - begin)) s"; else
        row "$practice" - 1 "failed, see $log"
    fi
}

# counted PRACTICE LOG COMMAND...: a practice whose last line is "NAME: N runs, N findings, FIGURE".
counted() {
    local practice=$1 log=$out/$2 last status=0
    shift 2
    echo "== $practice" >&2
    limited "$patience" "$log" "$@" || status=$?
    last=$(grep -E '^[^:]+: [0-9]+ runs, [0-9]+ findings, ' "$log" | tail -n 1 || true)
    if ! [[ $last =~ :\ ([0-9]+)\ runs,\ ([0-9]+)\ findings,\ (.*)$ ]]; then
        row "$practice" - 1 "ended early with status $status, see $log"
    elif [ "${BASH_REMATCH[1]}" -eq 0 ] || { [ "$status" -ne 0 ] && [ "${BASH_REMATCH[2]}" -eq 0 ]; }; then
        row "$practice" "${BASH_REMATCH[1]}" 1 "ended with status $status, see $log"
    else
        row "$practice" "${BASH_REMATCH[1]}" "${BASH_REMATCH[2]}" "${BASH_REMATCH[3]}"
    fi
}

# passes LOG PROGRAM FILTER: succeeds when at least one test matches and all that match pass.
passes() {
    local one=$1.one status=0
    rm -f "$one"
    limited 600 "$one" "$2" --gtest_filter="$3" || status=1
    grep -q '^\[  PASSED  \] [1-9]' "$one" || status=1
    cat "$one" >>"$1"
    return "$status"
}

# repeated PRACTICE SECONDS STEP...: calls `STEP N` for SECONDS, at least once, and gives up after five findings. Sets `runs`
# and `findings`.
repeated() {
    local practice=$1 until=$((SECONDS + $2))
    shift 2
    runs=0 findings=0
    echo "== $practice" >&2
    while [ "$findings" -lt 5 ] && { [ $((runs + findings)) -eq 0 ] || [ "$SECONDS" -lt "$until" ]; }; do
        if "$@" $((runs + findings + 1)); then runs=$((runs + 1)); else findings=$((findings + 1)); fi
    done
}

storm() { # PRESET NUMBER
    ORVO_STORM_ROUNDS=10 passes "$out/storms-$1.log" "build/$1/tests/bin/orvo-system-tests" 'StormTest.*'
}
# storms PRESET SECONDS
storms() {
    repeated "storms of threads, $1" "$2" storm "$1"
    row "storms of threads, $1" $((runs * 10)) "$findings" "4 ports, $((runs * 40)) lives under traffic"
}

account() { # NUMBER
    ORVO_FAULT_SEED=$1 passes "$out/conservation.log" build/release/tests/bin/orvo-gige-tests 'FaultsTest.FourPorts*'
}
# conservation SECONDS: four ports at full rate with injected faults, a new seed each time; every frame must be accounted for.
conservation() {
    repeated "conservation under faults" "$1" account
    row "conservation under faults" "$runs" "$findings" \
        "4 ports, $((runs * 24000)) frames, seeds 1 to $((runs + findings))"
}

# deaths KILLS: programs and servers of shared boards, killed at random moments.
deaths() {
    timed "deaths on shared boards" "$1" deaths.log env SIMULATOR_KILLS="$1" \
        build/release/tests/bin/simulator_test --gtest_filter='ShareTest.*'
}

# fuzz TARGET SECONDS
fuzz() {
    local target=$1 log=$out/fuzz-$1.log status=0 cover edges
    echo "== fuzz $target" >&2
    mkdir -p "$out/corpus-$target"
    limited $(($2 + 120)) "$log" build/fuzz/tests/unit/bin/orvo-fuzz-"$target" -max_total_time="$2" -timeout=25 \
        -rss_limit_mb=4096 -close_fd_mask=1 -print_final_stats=1 -artifact_prefix="$out/$target-" \
        "$out/corpus-$target" "tests/fuzz/corpus/$target" || status=$?
    runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log")
    cover=$(sed -n 's/^#[0-9].* cov: \([0-9]*\) .*/\1/p' "$log" | tail -n 1)
    edges=$(sed -n 's/^INFO: Loaded [0-9]* modules *(\([0-9]*\) inline.*/\1/p' "$log")
    findings=$(find "$out" -maxdepth 1 -name "$target-*" | wc -l)
    if [ "$findings" -eq 0 ] && { [ "$status" -ne 0 ] || [ "${runs:-0}" -eq 0 ]; }; then
        row "fuzz $target" "${runs:--}" 1 "ended with status $status, see $log"
    else
        row "fuzz $target" "${runs:--}" "$findings" "${cover:-0} of ${edges:-?} edges"
    fi
}

# corpus TARGET: every input once, without the fuzzer.
corpus() {
    local log=$out/corpus-$1.log
    if limited 120 "$log" build/release/tests/unit/bin/orvo-replay-"$1" "tests/fuzz/corpus/$1"; then
        row "corpus $1" "$(sed -n 's/^\([0-9]*\) inputs$/\1/p' "$log")" 0 "every input once"
    else
        row "corpus $1" - 1 "failed, see $log"
    fi
}

# sweeps EVERY ASAN_EVERY: fails every so many of a life's calls and allocations.
sweeps() {
    local what every=$1 asan_every=$2
    for what in calls allocations; do
        counted "fault sweep, $what" $what.log build/release/tests/bin/orvo-fault-sweep $what "$every"
        counted "fault sweep, $what, asan" $what-asan.log build/asan/tests/bin/orvo-fault-sweep $what "$asan_every"
    done
}

# lives COUNT: in one process, then in two at the same time.
lives() {
    counted "long life" lives.log build/release/tests/bin/orvo-fault-sweep lives "$1"
    # shellcheck disable=SC2016 # the inner shell's
    timed "two processes on one root" "$1" two.log sh -c \
        '"$0" lives "$1" & other=$!; "$0" lives "$1"; mine=$?; wait $other && exit $mine' \
        build/release/tests/bin/orvo-fault-sweep $(($1 / 2))
}

targets=()
for folder in tests/fuzz/corpus/*/; do targets+=("$(basename "$folder")"); done
export ASAN_OPTIONS=${ASAN_OPTIONS:-} UBSAN_OPTIONS=print_stacktrace=1

if [ "$minutes" -eq 0 ]; then
    sweeps 5 67
    lives 100
    counted "stop in real time" stop.log build/release/tests/bin/orvo-stop-times 3
    conservation 5
    deaths 20
    for preset in asan tsan; do storms "$preset" 0; done
    for target in "${targets[@]}"; do corpus "$target"; done
    exit
fi

scripts/setup.sh libclang-rt-dev # the fuzzer
for preset in release asan tsan fuzz; do
    scripts/build.sh "$preset" || row "build $preset" - 1 "failed; what follows may use an older build, or be missing"
done
started=$SECONDS

# Practices without a time limit; a short soak takes a sample of their places.
every=$((minutes >= 10 ? 1 : 11 - minutes))
sweeps "$every" $((every * 11))
lives 1000
counted "stop in real time" stop.log build/release/tests/bin/orvo-stop-times 20
conservation $((seconds / 5))
deaths 200

# Of the remaining time, a third goes to threads and two thirds to fuzzers, at least 10 s for each practice.
rest=$((seconds - (SECONDS - started)))
[ "$rest" -gt 0 ] || rest=0
share=$((rest / 6 > 10 ? rest / 6 : 10))
storms asan "$share"
storms tsan "$share"
for target in "${targets[@]}"; do
    fuzz "$target" $((rest * 2 / 3 / ${#targets[@]} > 10 ? rest * 2 / 3 / ${#targets[@]} : 10))
done
