#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# demo.sh [CAPTURE]: installs what is missing, builds, and sends a capture through a port of the simulated board and back.
# The default capture is a GigE Vision client that reads images from a camera.
set -euo pipefail
start=$PWD
cd "$(dirname "$0")/.."

capture=tests/data/gige-vision.pcapng
[ $# -eq 0 ] || capture=$(cd "$start" && realpath -m -- "$1")
scripts/build.sh release installation
mkdir -p demo
echo "== orvo-gige replay: out of port 0, over a loopback plug, back into port 0" >&2
build/release/bin/orvo-gige replay "$capture" --verify --write demo/replayed.pcapng
echo "== the frames that came back are in demo/replayed.pcapng; it took $SECONDS s, 5 s of them for the board's reset" >&2
