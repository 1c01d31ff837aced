#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# lint.sh [FILE...]: checks the files named, or all sources, with clang-format and clang-tidy. Changes nothing.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh clang-format clang-tidy
[ -f build/release/compile_commands.json ] || cmake --preset release >/dev/null
if [ $# -gt 0 ]; then
    files=("$@")
else
    mapfile -t files < <(git ls-files '*.cpp' '*.h')
fi
clang-format --dry-run -Werror "${files[@]}"
sources=()
for file in "${files[@]}"; do
    case $file in *.cpp) sources+=("$file") ;; esac
done
[ ${#sources[@]} -eq 0 ] || printf '%s\0' "${sources[@]}" |
    xargs -0 -n 4 -P "$(nproc)" clang-tidy -p build/release --quiet --extra-arg=-Wno-unknown-warning-option
