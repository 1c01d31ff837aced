#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# demo.sh [CAPTURE]: installs what is missing, builds, and sends a capture through a port of the simulated board and
# back. Without an argument the capture is a GigE Vision client reading images from a camera. Says how long it all took.
set -euo pipefail
start=$PWD
cd "$(dirname "$0")/.."

capture=tests/data/gige-vision.pcapng
[ $# -eq 0 ] || capture=$(cd "$start" && realpath -m -- "$1")
scripts/build.sh release installation
mkdir -p demo
echo "== orvo-gige replay: out of port 0, over a loopback plug, back into port 0" >&2
build/release/bin/orvo-gige replay "$capture" --verify --write demo/replayed.pcapng
echo "== $SECONDS s from the start, the board's reset of 5 s included; the frames that came back are in demo/replayed.pcapng" >&2
