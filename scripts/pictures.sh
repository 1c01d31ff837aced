#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# pictures.sh [--check] [BUILD]: draws the pictures of a terminal in docs/ from what the program in BUILD (build/release)
# prints. With --check it changes nothing and fails when a picture no longer shows what the program prints, times aside.
set -euo pipefail
cd "$(dirname "$0")/.."

check=false
[ "${1-}" != --check ] || { check=true; shift; }
build=$(realpath -m "${1:-build/release}")
[ -x "$build/bin/orvo-gige" ] || { echo "pictures: no bin/orvo-gige in $build; run scripts/build.sh release" >&2; exit 1; }
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT

# Turns the lines of a terminal into an SVG. The first line is the command, after a prompt.
svg() { # ALTERNATIVE-TEXT
    awk -v label="$1" '
        { gsub(/&/, "\\&amp;"); gsub(/</, "\\&lt;"); gsub(/>/, "\\&gt;"); line[NR] = $0
          if (length($0) > columns) columns = length($0) }
        END {
            width = 24 + 7.25 * columns; height = 20 + 17 * NR
            printf "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 %d %d\" role=\"img\" aria-label=\"%s\" " \
                "font-family=\"monospace\" font-size=\"12\">\n", width, height, label
            print "<!-- SPDX-License-Identifier: MIT; drawn by scripts/pictures.sh -->"
            print "<style>rect{fill:#1a1a19}text{fill:#e6e6e2;white-space:pre}.command{fill:#7fc4ff;font-weight:bold}</style>"
            printf "<rect width=\"%d\" height=\"%d\" rx=\"8\"/>\n", width, height
            for (i = 1; i <= NR; i++)
                if (line[i] != "") printf "<text%s x=\"12\" y=\"%d\" textLength=\"%.1f\" xml:space=\"preserve\">%s</text>\n",
                    i == 1 ? " class=\"command\"" : "", 10 + 17 * i - 4, 7.25 * shown(line[i]), line[i]
            print "</svg>"
        }
        function shown(text) { gsub(/&[a-z]+;/, ".", text); return length(text) }'
}

# The picture without the lines that differ from run to run.
timeless() { grep -vE '>(duration|rate) ' "$1"; }

# Draws NAME.svg from the output of `orvo-gige ARGUMENT...`, which may end with 3: a check found differences.
picture() { # NAME ALTERNATIVE-TEXT ARGUMENT...
    local name=$1 label=$2 status=0
    shift 2
    env -i HOME="$folder" PATH="$PATH" "$build/bin/orvo-gige" "$@" >"$folder/output" 2>&1 || status=$?
    [ "$status" -eq 0 ] || [ "$status" -eq 3 ] || { cat "$folder/output" >&2; exit 1; }
    { echo "\$ orvo-gige $*"; cat "$folder/output"; } | svg "$label" >"$folder/$name.svg"
    if ! $check; then
        cp "$folder/$name.svg" "docs/$name.svg"
    elif ! diff -u <(timeless "docs/$name.svg") <(timeless "$folder/$name.svg"); then
        echo "docs/$name.svg is stale: run scripts/pictures.sh" >&2
        exit 1
    fi
}

picture account "A replay through a bad cable, and the account of every frame" \
    replay tests/data/gige-vision.pcapng --faults docs/bad-cable.toml --verify --time virtual
