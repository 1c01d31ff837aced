#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# demo-camera.sh [SECONDS [FILE]]: installs what is missing, builds, and acquires images through a port of the simulated
# board: a software camera on one network sends, a client on another receives, for SECONDS (3) at each of two rates. Both are
# Debian's Aravis. FILE (demo/camera.png) gets the first image; docs/camera.png was made so. Needs root, and asks sudo for
# it. Exit code 1 when an image was lost.
set -euo pipefail
file=$(realpath -m -- "${2:-$(dirname "$0")/../demo/camera.png}")
cd "$(dirname "$0")/.."
seconds=${1:-3}
[[ $seconds =~ ^[1-9][0-9]*$ ]] || { echo "usage: scripts/demo-camera.sh [SECONDS [FILE]]" >&2; exit 2; }

scripts/setup.sh gir1.2-aravis-0.8 python3-gi
scripts/build.sh release installation
mkdir -p "$(dirname "$file")"
rm -f "$file"
as_root=()
[ "$(id -u)" -eq 0 ] || as_root=(sudo)
# A real camera and a real board never wait for a processor, but here both are programs. Real-time scheduling, where it is
# permitted, keeps a busy machine from losing images that the port did not lose.
end=(/usr/bin/python3 scripts/demo-camera.py)
! "${as_root[@]}" chrt --rr 1 true 2>/dev/null || end=(chrt --rr 1 "${end[@]}")
echo "== orvo-gige lab: a camera, the port, and a client" >&2
status=0
"${as_root[@]}" build/release/bin/orvo-gige lab --camera "exec ${end[*]} send" \
    -- "${end[@]}" receive "$seconds" "$file" || status=$?
[ ! -s "$file" ] || echo "image     $file, received through the port"
exit "$status"
