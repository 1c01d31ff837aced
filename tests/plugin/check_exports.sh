#!/bin/sh
# SPDX-License-Identifier: MIT
# Compares what the plug-in file exports with what it shall: the entries of both board libraries with their pointer
# variables, and the rest by name. Usage: check_exports.sh PLUGIN ENTRIES EXPORTS SANITIZER
set -eu
export LC_ALL=C
plugin=$1 entries=$2 exports=$3 sanitizer=$4

if [ -n "$sanitizer" ]; then
    echo "skipped: sanitizers ($sanitizer) export symbols of their own"
    exit 77
fi

folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT

{
    grep -v '^#' "$exports"
    awk '!/^#/ { print $1; print ($1 ~ /^OHal(Init|Free)Libraries$/ ? "m_p" : "m_P") $1 }' "$entries"
} | sort -u > "$folder/expected"
nm -DC --defined-only "$plugin" | cut -d ' ' -f 3- | sort -u > "$folder/found"

if ! diff -u "$folder/expected" "$folder/found"; then
    echo "$plugin exports too much (+) or too little (-)" >&2
    exit 1
fi
echo "$(wc -l < "$folder/found") symbols, as expected"
