#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# The version is stated once, in the top CMakeLists.txt; only the changelog repeats it, as its newest release.
# Usage: check_version.sh SOURCES VERSION
set -euo pipefail
cd "$1"
version=$2

git rev-parse --git-dir >/dev/null 2>&1 || { echo "skipped: $1 is no git checkout, so nothing is tracked"; exit 77; }

stated=$(git grep -Ic -F -w -e "$version" -- . ':(exclude)CHANGELOG.md' ':(exclude)tests/data' || true)
if [ "$stated" != CMakeLists.txt:1 ]; then
    printf 'version %s shall be stated once, in CMakeLists.txt, but is in\n%s\n' "$version" "$stated" >&2
    exit 1
fi
newest=$(sed -nE '/^## \[[0-9]/{s/^## \[(.*)\].*/\1/p;q}' CHANGELOG.md)
if [ "$newest" != "$version" ]; then
    echo "CHANGELOG.md has $newest as its newest release instead of $version" >&2
    exit 1
fi
echo "$version, from CMakeLists.txt alone"
