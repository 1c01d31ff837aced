#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# bench.sh [--publish]: installs what is missing, builds, measures, and prints a table and a line for each target. Figures
# and chart go to build/release/bench/results. Takes some minutes; the network figures need root.
# --publish: also updates summary, table and chart in docs/ and the instruction counts in bench/instructions.txt.
set -euo pipefail
cd "$(dirname "$0")/.."

case ${1-} in
"" | --publish) ;;
*) echo "usage: scripts/bench.sh [--publish]" >&2; exit 2 ;;
esac
scripts/setup.sh valgrind time
scripts/build.sh release
out=build/release/bench/results
mkdir -p "$out"
python3 bench/measure.py build/release "$out/figures.json"
python3 bench/report.py "$out/figures.json" bench/instructions.txt "$out/benchmarks.svg" "$out/summary.md" |
    tee "$out/table.txt"
echo "chart: $out/benchmarks.svg" >&2
[ "${1-}" = --publish ] || exit 0
cp "$out/benchmarks.svg" docs/benchmarks.svg
python3 bench/publish.py "$out/figures.json" "$out/summary.md" "$out/table.txt" bench/instructions.txt docs/benchmarks.md
