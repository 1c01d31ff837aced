#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Folders of a source tree are layers: a file includes files of its own layer and of those below, without circles, each
# as "layer/File.h". Then the check itself is tried on copies of the tree with a bad include.
# Usage: check_layers.sh TREE LAYER... (from the ground up; a main.cpp beside the layers stands above all)
set -euo pipefail
tree=$1
shift
layers=("$@")

includes() { # TREE: one "FILE INCLUDED" a line, for everything in quotes
    (cd "$1" && find . -name '*.cpp' -o -name '*.h' | sed 's|^\./||' |
        xargs grep -oHE '^ *#include "[^"]+"' | sed -E 's/:.*"(.+)"/ \1/')
}

check() { # TREE: says what is wrong, and fails then
    local circle
    includes "$1" | awk -v order="${layers[*]}" -v tree="$1" '
        BEGIN { for (i = split(order, name, " "); i > 0; --i) level[name[i]] = i; level["main.cpp"] = 99 }
        { from = $1; sub("/.*", "", from); to = $2; sub("/.*", "", to) }
        !(from in level) { print tree "/" $1 ": is in no layer"; failed = 1; next }
        !(to in level) { print tree "/" $1 ": \"" $2 "\" begins with no layer; write \"layer/File.h\""; failed = 1; next }
        level[to] > level[from] { print tree "/" $1 ": \"" $2 "\" points up, from " from " to " to; failed = 1 }
        END { exit failed }' || return 1
    if ! circle=$(includes "$1" | grep '\.h ' | tsort 2>&1 >/dev/null); then
        printf '%s: headers include each other in a circle\n%s\n' "$1" "$circle"
        return 1
    fi
}

check "$tree" >&2
copy=$(mktemp -d)
trap 'rm -rf "$copy"' EXIT
mustRefuse() { # WHAT, then FILE INCLUDED for each include that is added to a copy of the tree
    local what=$1
    shift
    rm -rf "${copy:?}"/* && cp -r "$tree"/. "$copy"
    for ((; $# > 0; )); do
        echo "#include \"$2\"" >>"$copy/$1"
        shift 2
    done
    ! check "$copy" >/dev/null || { echo "not refused: $what" >&2; exit 1; }
}
bottom=${layers[0]} top=${layers[-1]}
mustRefuse "an include that points up" "$bottom/Added.h" "$top/Added.h"
mustRefuse "two headers that include each other" "$bottom/Added.h" "$bottom/Other.h" "$bottom/Other.h" "$bottom/Added.h"
mustRefuse "an include without its layer" "$top/Added.h" "Added.h"
mustRefuse "a file in no layer" "Added.h" "$bottom/Added.h"
echo "$(includes "$tree" | wc -l) includes in ${#layers[@]} layers: none points up, no circle"
