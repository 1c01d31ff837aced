#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# test.sh [PRESET...]: installs what is missing, builds, and runs all tests. Presets: release (the default), debug, asan,
# tsan, clang.
set -euo pipefail
cd "$(dirname "$0")/.."

[ $# -gt 0 ] || set -- release
for preset in "$@"; do
    echo "== $preset" >&2
    scripts/build.sh "$preset"
    ctest --preset "$preset" --no-tests=error --parallel "$(nproc)"
done
