#!/usr/bin/env bash
# coverage.sh: installs what is missing, builds with counters, runs all tests, the fault sweep and the fuzz corpus among
# them, and reports how much of src/ they reach, lines and branches, as text and as HTML in build/coverage/report.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh gcovr
scripts/build.sh coverage
find build/coverage -name '*.gcda' -delete
ctest --preset coverage --parallel "$(nproc)" || echo "coverage: some tests failed; the report is of what ran" >&2
mkdir -p build/coverage/report
# Branches that only an exception of the compiler's making takes are nobody's to test.
gcovr --root . --filter src/ --object-directory build/coverage --exclude-throw-branches --exclude-unreachable-branches \
    --gcov-ignore-parse-errors --html-details build/coverage/report/index.html --txt build/coverage/report/lines.txt \
    --print-summary
gcovr --root . --filter src/ --object-directory build/coverage --exclude-throw-branches --exclude-unreachable-branches \
    --gcov-ignore-parse-errors --branches
cat build/coverage/report/lines.txt
