#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# demo-camera.sh [SECONDS [FILE]]: installs what is missing, builds, and runs `orvo-gige demo`: a software camera sends images
# through a port of the simulated board to a client, for SECONDS (3) at each of two rates. FILE (demo/camera.png) gets the
# first image; docs/camera.png was made so. Needs root, and asks sudo for it. Exit code 1 when an image was lost.
set -euo pipefail
file=$(realpath -m -- "${2:-$(dirname "$0")/../demo/camera.png}")
cd "$(dirname "$0")/.."
seconds=${1:-3}
[[ $seconds =~ ^[1-9][0-9]*$ ]] || { echo "usage: scripts/demo-camera.sh [SECONDS [FILE]]" >&2; exit 2; }

scripts/setup.sh gir1.2-aravis-0.8 python3-gi
scripts/build.sh release installation
mkdir -p "$(dirname "$file")"
as_root=()
[ "$(id -u)" -eq 0 ] || as_root=(sudo)
exec "${as_root[@]}" build/release/bin/orvo-gige demo --duration $((2 * seconds)) --write "$file"
