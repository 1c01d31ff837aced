#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# demo-camera.sh [SECONDS]: installs what is missing, builds, and acquires images through a port of the simulated board:
# a software camera on one network sends, a client on another receives, for SECONDS (5) at each of two rates. Both are
# Debian's Aravis. Needs root, and asks sudo for it. Exit code 1 when an image was lost.
set -euo pipefail

# A real camera and a real board never wait for a processor, but here both are programs. Real-time scheduling keeps a busy
# machine from losing images that the port did not lose.
precedence=()
use_precedence() { # [SUDO]: does nothing where it is not permitted
    ! "$@" chrt --rr 1 true 2>/dev/null || precedence=(chrt --rr 1)
}

find_camera() {
    local camera="" end=$((SECONDS + 10))
    while [ "$SECONDS" -lt "$end" ]; do
        camera=$(arv-tool-0.8 2>/dev/null | grep -F "($ORVO_LAB_CAMERA_ADDRESS)" || true)
        [ -z "$camera" ] || break
        sleep 0.1
    done
    [ -n "$camera" ] || { echo "demo: no camera answers at $ORVO_LAB_CAMERA_ADDRESS" >&2; exit 1; }
    echo "found     $camera, behind gige0"
}

# set_register ADDRESS VALUE: writes it, reads it back, and fails when they differ.
set_register() {
    local back
    arv-tool-0.8 control "R[$1]=$2" >/dev/null
    back=$(arv-tool-0.8 control "R[$1]" | sed -n 's/^R\[.*\] = //p')
    echo "register  $1: wrote $2, read $back"
    [ $((back)) -eq $(($2)) ] || { echo "demo: register $1 did not take $2" >&2; exit 1; }
}

# acquire RATE SECONDS: prints how many images arrived; fails when one was lost.
acquire() {
    timeout $(($2 + 30)) "${precedence[@]}" arv-camera-test-0.8 --frequency="$1" --duration="$2" --gv-packet-size=1500 |
        awk -v rate="$1" -v seconds="$2" '
            / = / { count[$1] = $3 }
            END {
                failed = count["n_failures"] + count["n_aborted"] + count["n_timeouts"] + count["n_size_mismatch_errors"]
                printf "acquired  at %d images/s for %d s: %d complete, %d failed, %d underruns, %d missing", rate, seconds,
                    count["n_completed_buffers"], failed, count["n_underruns"], count["n_missing_frames"]
                printf "; %d packets, %d missing, %d resent; %.1f images/s, %.1f Mbit/s\n", count["n_received_packets"],
                    count["n_missing_packets"], count["n_resent_packets"], count["n_completed_buffers"] / seconds,
                    count["n_transferred_bytes"] * 8e-6 / seconds
                exit !(count["n_completed_buffers"] > 0 &&
                    failed + count["n_underruns"] + count["n_missing_frames"] == 0)
            }'
}

host_end() {
    local rate lost=0
    use_precedence
    find_camera
    set_register 0x100 0x180
    set_register 0x100 0x280 # its images are 640 pixels wide
    set_register 0x104 0x1e0 # and 480 high
    for rate in 25 200; do acquire "$rate" "$1" || lost=1; done
    [ "$lost" -eq 0 ] || { echo "demo: images were lost" >&2; exit 1; }
}

if [ "${1-}" = --host-end ]; then
    host_end "$2"
    exit
fi

cd "$(dirname "$0")/.."
seconds=${1:-5}
[[ $seconds =~ ^[1-9][0-9]*$ ]] || { echo "usage: scripts/demo-camera.sh [SECONDS]" >&2; exit 2; }
scripts/setup.sh aravis-tools aravis-tools-cli
scripts/build.sh release installation
as_root=()
[ "$(id -u)" -eq 0 ] || as_root=(sudo)
use_precedence "${as_root[@]}"
echo "== orvo-gige lab: a camera, the port, and a client" >&2
"${as_root[@]}" build/release/bin/orvo-gige lab --camera "exec ${precedence[*]} arv-fake-gv-camera-0.8 -i camera0" \
    -- scripts/demo-camera.sh --host-end "$seconds"
