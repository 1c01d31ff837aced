#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# pictures.sh [--check | --session | --page] [BUILD]: draws the pictures of a terminal in docs/ from what the program in BUILD
# (build/release) prints. With --check it changes nothing and fails when a picture no longer shows what the program prints,
# times aside. With --session it draws docs/session.svg instead, four terminals at one board; that needs root. With --page it
# makes docs/diagnosis.png instead, a picture of a real diagnosis page. That needs root, and Debian: it installs Chromium if it is
# missing. It takes half a minute.
set -euo pipefail
cd "$(dirname "$0")/.."

check=false page=false session=false
case "${1-}" in
    --check) check=true; shift ;;
    --session) session=true; shift ;;
    --page) page=true; shift ;;
esac
build=$(realpath -m "${1:-build/release}")
[ -x "$build/bin/orvo-gige" ] || { echo "pictures: no bin/orvo-gige in $build; run scripts/build.sh release" >&2; exit 1; }
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT

# Turns the lines of a terminal into an SVG. Commands are the lines with a prompt.
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
                    line[i] ~ /^\$ / ? " class=\"command\"" : "", 10 + 17 * i - 4, 7.25 * shown(line[i]), line[i]
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

# Draws docs/session.svg: a server, a bridge, a watcher and the hand, each in a terminal of its own. A ping has the kernel
# send frames into the bridge. The network and /run are the session's own, and vanish with it.
draw_session() {
    # shellcheck disable=SC2016  # the inner shell expands them
    quietly env -u ORVO_BOARD PATH="$build/bin:$PATH" folder="$folder" unshare --net --mount bash -euc '
        mount -t tmpfs none /run
        run() { echo "\$ $*"; "$@"; }
        runs() { echo "\$ $*"; exec "$@"; }
        until_said() { for _ in $(seq 300); do grep -q "$2" "$folder/$1" && return; sleep 0.1; done; false; }
        cd "$folder"
        (runs orvo-gige simulate --wire 0=port:0/1) >1 2>&1 & server=$!
        until_said 1 ready
        (runs orvo-gige bridge --port 0 --tap gige0 --address 10.77.0.1/24) >2 2>&1 & bridge=$!
        until_said 2 bridged
        for _ in $(seq 100); do orvo-gige sim status | grep -q down || break; sleep 0.1; done
        (runs orvo-gige watch --interval 3 --link-interval 1 --count 2) >3 2>&1 & watch=$!
        until_said 3 "port 0/3"
        ping -q -c 3 -w 1 10.77.0.2 >/dev/null || true
        { run orvo-gige sim unplug 0/1; run orvo-gige sim status; } >4 2>&1
        wait $watch
        run orvo-gige sim plug 0/1 >>4 2>&1
        mv 2 running # its report goes elsewhere
        cp running 2
        kill -TERM $bridge; wait $bridge
        kill -TERM $server; wait $server'
    for terminal in 1 2 3 4; do cat "$folder/$terminal"; echo; done | sed '$d' |
        svg "Four terminals: a server of boards, a bridge, a watcher, and a plug that is pulled" >docs/session.svg
}

# Draws docs/diagnosis.png: the top of the page of a port that receives the bursts of a camera over a bad cable. The camera is
# another simulated board, which replays a recording at the other end of a virtual cable.
draw_page() {
    command -v chromium >/dev/null || apt-get install -y --no-install-recommends chromium fonts-dejavu-core >&2
    printf '[[fault]]\nkind = "fcs-flip"\ndirection = "received"\nrate = 0.03\n' >"$folder/cable.toml"
    # shellcheck disable=SC2016  # the inner shell expands them
    quietly env program="$build/bin/orvo-gige" folder="$folder" unshare --net bash -euc '
        ip link add camera type veth peer name host
        ip link set camera up
        ip link set host up
        "$program" replay tests/data/gige-vision.pcapng --pace recorded --loop 0 --wire 0=packet:camera &
        sleep 6 # until the board of the camera is reset and sends
        "$program" diagnose --seconds 6 --wire 0=packet:host --faults "$folder/cable.toml" --html "$folder/page.html"
        kill $!
        wait || true'
    screenshot 1100 1620 docs/diagnosis.png
}

# A picture of the page, in a browser window of this size.
screenshot() { # WIDTH HEIGHT FILE
    quietly chromium --headless --no-sandbox --disable-gpu --disable-quic --no-first-run --disable-background-networking \
        --disable-component-update --disable-sync --hide-scrollbars --user-data-dir="$(mktemp -d -p "$folder")" \
        --window-size="$1,$2" --screenshot="$folder/page.png" "file://$folder/page.html"
    cp "$folder/page.png" "$3"
}

# Runs a command; only where it fails, its output is shown.
quietly() { "$@" >"$folder/output" 2>&1 || { cat "$folder/output" >&2; exit 1; }; }

if $session; then
    draw_session
    exit
fi
if $page; then
    draw_page
    exit
fi
picture account "A replay through a bad cable, and the account of every frame" \
    replay tests/data/gige-vision.pcapng --faults docs/bad-cable.toml --verify --time virtual
