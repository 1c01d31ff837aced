#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# coverage.sh: installs what is missing, builds with counters, runs all tests, the fault sweep and the fuzz corpus among
# them, and reports how much of src/ they reach, lines and branches, as text and as HTML in build/coverage/report.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh gcovr
scripts/build.sh coverage
find build/coverage -name '*.gcda' -delete
ctest --preset coverage --no-tests=error --parallel "$(nproc)" || {
    echo "coverage: tests failed, or there were none; mend them first, a report of less than all tests says nothing" >&2
    exit 1
}
mkdir -p build/coverage/report
# Only what the plug-in's own objects ran, without branches that an exception of the compiler's making alone takes.
report() {
    gcovr --root . --filter src/ --exclude-throw-branches --exclude-unreachable-branches "$@" build/coverage/src
}
report --html-details build/coverage/report/index.html
echo "== branches"
report --branches
echo "== lines"
report --print-summary --fail-under-line 95 --fail-under-branch 90
