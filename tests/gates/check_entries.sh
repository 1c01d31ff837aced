#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# The entries of the board libraries that are marked as called are those that the plug-in or the host program names: by
# the marks, `orvo-gige doctor` judges a library. Usage: check_entries.sh SOURCES
set -euo pipefail
cd "$1"

lists=(src/hal/OrvoHalEntries.def src/hal/KivRuntimeEntries.def)
names() { # of the rows that begin with a word
    sed -nE "s/^($1)\([^,]*, *([A-Za-z0-9]+).*/\2/p" "${lists[@]}" | sort
}
# Recordings name entries to tell what they do, whether or not anybody calls them.
named=$(find src host -path host/device/recording -prune -o \( -name '*.cpp' -o -name '*.h' \) -exec sed 's|//.*||' {} + | grep -oE '\w+' | sort -u |
    comm -12 - <(names '[A-Z_]*ENTRY'))
marked=$(names USED_ENTRY)
[ -n "$named" ] || { echo "no entry is called at all" >&2; exit 1; }
if [ "$named" != "$marked" ]; then
    echo "called and not marked USED_ENTRY (<), or marked and not called (>):" >&2
    diff <(echo "$named") <(echo "$marked") >&2 || true
    exit 1
fi
echo "$(wc -l <<<"$marked") entries are called, and marked"
