#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# coverage.sh: installs what is missing, builds with coverage counters, runs all tests, and reports which lines and branches
# of src/ they reach: as text, and as HTML in build/coverage/report. Fails below 95 % of lines or 90 % of branches.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh gcovr
scripts/build.sh coverage
find build/coverage -name '*.gcda' -delete
ctest --preset coverage --no-tests=error --parallel "$(nproc)" || {
    echo "coverage: tests failed, or there were none; a report needs all tests to pass" >&2
    exit 1
}
mkdir -p build/coverage/report
# Counts the plug-in's own objects, without the branches that the compiler adds for exceptions.
report() {
    gcovr --root . --filter src/ --exclude-throw-branches --exclude-unreachable-branches "$@" build/coverage/src
}
report --html-details build/coverage/report/index.html
echo "== branches"
report --branches
echo "== lines"
report --print-summary --fail-under-line 95 --fail-under-branch 90
