#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# recordings.sh [INSTALLATION]: records anew, from the simulated board, what `orvo-gige selftest` plays, and takes what
# the runs print as what they must print. The installation is build/release unless named. Look at the difference before
# you commit it: the expected output has the plug-in's messages and statistics.
set -euo pipefail
cd "$(dirname "$0")/.."
root=$(realpath "${1:-build/release}")
folder=$PWD/tests/data/recordings
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export ORVO_BOARD=own
mkdir -p "$folder"
rm -f "$folder"/*

# The first frames of a capture.
python3 - tests/data/mixed-lan.pcap "$folder/frames.pcap" 48 <<'EOF'
import struct, sys
source, target, count = sys.argv[1:]
data = open(source, 'rb').read()
end = 24
for _ in range(int(count)):
    end += 16 + struct.unpack('<I', data[end + 8:end + 12])[0]
open(target, 'wb').write(data[:end])
EOF

cases=()
# record NAME WHAT EXIT_CODE FITS_BOARDS RECORDING_OPTIONS -- ARGUMENTS
record() {
    local name=$1 what=$2 code=$3 fits=$4 options=()
    shift 4
    while [ "$1" != -- ]; do options+=("$1") && shift; done
    shift
    (cd "$folder" && "$root/bin/orvo-gige" "$@" "${options[@]}" --record "$name.rec") >"$work/out" 2>&1 || true
    cases+=("$(python3 -c 'import json, sys
print(json.dumps({"name": sys.argv[1], "what": sys.argv[2], "exitCode": int(sys.argv[3]),
                  "fitsBoards": sys.argv[4] == "yes", "arguments": sys.argv[5:]}))' "$name" "$what" "$code" "$fits" "$@")")
}
pace=(--pace 500) # slow enough that the port reads each frame by itself
# fails NAME WHAT KIND [LINE...]: frames both ways while the board fails once
fails() {
    local name=$1 what=$2 kind=$3
    shift 3
    printf '[[fault]]\nkind = "%s"\n' "$kind" >"$work/$name.toml"
    [ $# -gt 0 ] || set -- 'at = 5'
    printf '%s\n' "$@" >>"$work/$name.toml"
    record "$name" "$what" 0 no --faults "$work/$name.toml" --wire 0=loopback -- replay frames.pcap --no-reset "${pace[@]}" --json
}

record open-with-reset "opening with a reset of the board, frames both ways" 0 no --time virtual --wire 0=loopback -- \
    replay frames.pcap --verify --json
record open-without-reset "opening without a reset, frames both ways" 0 no --wire 0=loopback -- \
    replay frames.pcap --no-reset --verify --json
record two-ports "frames from one port to another" 0 no --wire 0=port:0/1 -- replay frames.pcap --no-reset --verify --json
record host-checksums "frames with check sequences of the host" 0 no --wire 0=loopback -- \
    replay frames.pcap --no-reset --fcs host --verify --json
record forced-reset "forced reset of one port" 0 no --time virtual -- reset --port 1 --json
record reinitialize "device released and opened again" 0 no -- reinitialize --json
record report "diagnostic report" 0 yes --time virtual -- diagnose --json
record no-such-port "a port that the board does not have" 1 no -- replay frames.pcap --port 7 --json
fails size-zero "transmission size of zero" size-zero
fails size-wild "impossible transmission size" size-wild
fails size-long "transmission size above what comes" size-long
fails size-short "transmission size below what comes" size-short
fails end-missing "transmission without its end" end-missing
fails read-short "read that delivers too little" read-short
fails read-long "read that tells too much" read-long
fails read-failed "read that fails" read-failed 'result = -5' 'at = 5'
fails busy-ff "transmitter that does not answer" busy-ff 'at = 5'
fails register-failed "register that cannot be read" register-failed 'register = "GigeTxTransferActive0"' 'at = 5'

{
    echo '['
    for ((i = 0; i < ${#cases[@]}; ++i)); do
        [ "$i" -eq 0 ] || echo ','
        printf '%s' "${cases[i]}"
    done
    printf '\n]\n'
} >"$folder/cases.json"
mkdir -p "$root/share/orvo-gige/recordings"
cp "$folder"/* "$root/share/orvo-gige/recordings"
"$root/bin/orvo-gige" selftest --renew
cp "$root/share/orvo-gige/recordings"/*.out "$folder"
