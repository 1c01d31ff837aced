#!/bin/sh
# SPDX-License-Identifier: MIT
# Compares what a library exports with the list that is kept of it. Usage: check_exports.sh LIBRARY LIST SANITIZER [ENTRIES]
# With ENTRIES, a table of the board libraries' entries, these and their pointer variables are expected too.
#
# Kept lists and not a comparison of debug information: a list is the same for every compiler and build type, covers the C
# entries as well as C++ names, and shows in a review what a change adds or takes away. What a list cannot show, the
# order of virtual functions and the layout of rows, is held by tests and assertions of its own.
set -eu
export LC_ALL=C
library=$1 list=$2 sanitizer=$3 entries=${4-}

if [ -n "$sanitizer" ]; then
    echo "skipped: sanitizers ($sanitizer) export symbols of their own"
    exit 77
fi

folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT

{
    grep -v '^#' "$list"
    [ -z "$entries" ] ||
        awk '!/^#/ { print $1; print ($1 ~ /^OHal(Init|Free)Libraries$/ ? "m_p" : "m_P") $1 }' "$entries"
} | sort -u > "$folder/expected"
nm -DC --defined-only "$library" | cut -d ' ' -f 3- | sort -u > "$folder/found"

if ! diff -u "$folder/expected" "$folder/found"; then
    echo "$library exports too much (+) or too little (-); what is meant to change goes into $list" >&2
    exit 1
fi
echo "$(wc -l < "$folder/found") symbols, as expected"
