#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# recordings.sh [INSTALLATION]: records anew, from the simulated board, what `orvo-gige selftest` plays, and takes what
# the runs print as what they must print. The installation is build/release unless named. Look at the difference before
# you commit it: the expected output has the plug-in's messages and statistics.
set -euo pipefail
cd "$(dirname "$0")/.."
installation=$(realpath "${1:-build/release}")
folder=$PWD/tests/data/recordings
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
root=$work/orvo # recordings name it, so not a path of yours
mkdir -p "$root/share/orvo-gige"
cp -r "$installation/bin" "$installation/lib64" "$root"
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

cat >"$work/boards.toml" <<'EOF'
[[firmware]]
version = "0.9"
without = ["ActionCmdConfigData", "GigeTxDisableCrcGeneration0", "GigeTxTransferActive0", "GigeRecvErrCnt",
           "CtrlPktReceivedCnt0", "GvspFiFoOverflow_GigeTransceiver0", "MdioReadReg"]
[[board]]
index = 0
receive_queue_words = 2048
[[board]]
index = 1
firmware = "0.9"
type = 0xFFFF
[[board]]
index = 2
ports = 1
serial = 0
[[board]]
index = 7
serial = 0
[[board]]
index = 3
camera_interface = "CameraLink"
EOF

cases=()
# record NAME WHAT EXIT_CODE [TRAIT...] [VARIABLE=VALUE...] RECORDING_OPTIONS -- ARGUMENTS
# Traits: fits (may run on a board in use), ordered (one thread prints). The case gets variables of the plug-in.
record() {
    local name=$1 what=$2 code=$3 traits=() variables=() options=()
    shift 3
    while [[ $1 != -* ]]; do
        if [[ $1 == *=* ]]; then variables+=("$1"); else traits+=("$1"); fi
        shift
    done
    while [ "$1" != -- ]; do options+=("$1") && shift; done
    shift
    (cd "$folder" && env "${variables[@]}" "$root/bin/orvo-gige" "$@" "${options[@]}" --record "$name.rec") \
        >"$work/$name.log" 2>&1 || true
    [ -s "$folder/$name.rec" ] || { echo "$name was not recorded:" && cat "$work/$name.log" && exit 1; }
    cases+=("$(python3 - "$name" "$what" "$code" "${traits[*]}" "${variables[*]}" "$@" <<'EOF'
import json, sys
name, what, code, traits, variables, *arguments = sys.argv[1:]
case = {"name": name, "what": what, "exitCode": int(code), "fitsBoards": "fits" in traits.split(),
        "ordered": "ordered" in traits.split(), "arguments": arguments}
environment = dict(word.split("=", 1) for word in variables.split() if "SIMULATOR" not in word)
print(json.dumps(case | ({"environment": environment} if environment else {})))
EOF
)")
}
# fails NAME WHAT KIND [LINE...]: frames both ways while the board fails once
fails() {
    local name=$1 what=$2 kind=$3
    shift 3
    printf '[[fault]]\nkind = "%s"\n' "$kind" >"$work/$name.toml"
    [ $# -gt 0 ] || set -- 'at = 5'
    printf '%s\n' "$@" >>"$work/$name.toml"
    record "$name" "$what" 0 --faults "$work/$name.toml" --wire 0=loopback -- replay frames.pcap --no-reset --json
}
# calls NAME WHAT [VARIABLE=VALUE...] [OPTION...] -- STEP...: operations of the plug-in one by one
calls() {
    local name=$1 what=$2 options=(--time virtual) variables=() own=() traits=()
    shift 2
    while [ "$1" != -- ]; do
        case $1 in
        fits) traits+=("$1") ;;
        ORVO_*) variables+=("$1") ;;
        *) own+=("$1") ;;
        esac
        shift
    done
    shift
    # The plug-in's own threads and waits need the real time.
    [[ " $* " != *" start "* && $name != transmitter ]] || options=(--wire "0=loopback")
    [[ " $* " == *" start "* ]] || traits+=(ordered)
    record "$name" "$what" 0 "${traits[@]}" "ORVO_SIMULATOR_CONFIG=$work/boards.toml" "${variables[@]}" \
        "${options[@]}" -- exercise "${own[@]}" "$@"
}
both=()
for length in 0 1 2 14 59 60 61 62 63 64 65 66 67 126 127 128 129 130 191 192 255 256 319 512 1000 1499; do
    both+=("send=$length" receive)
done

record open-with-reset "opening with a reset of the board, frames both ways" 0 --time virtual --wire 0=loopback -- \
    replay frames.pcap --verify --json
record two-ports "frames from one port to another" 0 --wire 0=port:0/1 -- replay frames.pcap --no-reset --verify --json
record host-checksums "frames with check sequences of the host" 0 --wire 0=loopback -- \
    replay frames.pcap --no-reset --fcs host --verify --json
record forced-reset "forced reset of one port" 0 --time virtual -- reset --port 1 --json
record reinitialize "device released and opened again" 0 -- reinitialize --json
record report "diagnostic report" 0 fits --time virtual -- diagnose --json
record no-such-port "a port that the board does not have" 1 --wire 0=loopback -- replay frames.pcap --port 7 --json

fails read-long "read that tells too much" read-long
fails read-torn "read of less than a word" read-torn
fails busy-stuck "transmitter that stays busy for a second" busy-stuck 'at = 5' 'for_ms = 1100'
fails action-storm "action command time-outs during traffic" action-storm 'at = 5' 'reports = 40'

calls lengths "frames of every kind of length" -p 2 -- setup \
    "${both[@]}" send=1514 receive send=1518 receive send=1519 receive=2 stop wait end
calls checksums "check sequences of board and host" -- setup checksum=1 send=60 receive send=61 receive send=1514 receive \
    send=1518 crc-watch send=60,5 receive send=60,0 receive sim-register=GigeRecvErrCnt0,-5,0,1 receive receive checksum=0 \
    send=60 receive checksum=1 stop wait end
calls released "calls while the device is released" --no-reset -- setup checksum=1 reinitialize=0 checksum=0 send=60 \
    receive reset report reinitialize=0 wait reinitialize=2 sim-push=0,2,0x14142 reinitialize=1 reinitialize=1 setup receive \
    send=60 receive sim-fail-open=1 reinitialize=0 reinitialize=1 reinitialize=1 send=61 receive \
    sim-fail-configure=-7,1 reinitialize=0 reinitialize=1 setup reinitialize=1 checksum=1 send=60 receive reset stop wait end
calls sizes "transmission sizes that cannot be, and those that can" --no-reset -- setup receive \
    sim-push=0,0,0 receive=2 send=60 receive sim-push=0,0 receive sim-push=0,65537 receive sim-push=0,0xFFFFFFFF receive \
    sim-push=0,65536,1,0x10002 receive sim-push=0,65535,1,0x10002 receive sim-push=0,4,1,2 receive \
    sim-push=0,4,0x30001,0xFFFF0002 receive sim-push=0,6,7,0x10008 receive send=70 receive \
    sim-push=0,5,0xA1B2,0x1C3D4 receive sim-push=0,2,0x17788 receive sim-push=0,3,0x17788 receive \
    sim-misreport=0,-2,1 sim-push=0,4 receive sim-misreport=0,4,1 sim-push=0,0 receive sim-misreport=0,2,1 sim-push=0,9 receive \
    sim-misreport=0,-4,2 sim-push=0,4,0x10102,0x10304 receive sim-misreport=0,-4,1 sim-push=0,2,0x10102 receive \
    sim-misreport=0,-4,1 sim-push=0,0 receive send=60 receive send=1514 receive send=64 receive \
    sim-push=0,1,0x10000 receive=2 sim-push=0,2,0x13344 receive stop wait end
calls read-errors "reads of a queue that fail" --no-reset -- setup sim-fail-reads=0,-5,3 receive=3 send=60 receive \
    sim-fail-reads=0,-6,1 receive sim-fail-reads=0,-2120,1 receive=2 sim-fail-reads=0,-1,1 receive \
    sim-push=0,4 sim-fail-reads=0,-7,1 receive=2 sim-push=0,0 receive stop wait end
calls lost-words "words that found no room" --no-reset -- setup send=1514 send=1514 send=1514 send=1514 receive=3 \
    sim-push=0,0 receive sim-push=0,65537 receive sim-push=0,4,1,2 receive stop wait end
calls transmitter "transmitter in every state" -- setup sim-register=GigeTxTransferActive0,0,255,1 send=60 \
    sim-register=GigeTxTransferActive0,0,0x1FF,1 send=60 sim-register=GigeTxTransferActive0,0,0x100,2 send=60 receive \
    sim-register=GigeTxTransferActive0,-5,0,3 send=61 receive sim-register=GigeTxTransferActive0,0,1,5 \
    sim-register=GigeTxTransferActive0,0,255,1 send=60 sim-register=GigeTxTransferActive0,0,0x201,4294967295 send=62 \
    sim-register=GigeTxTransferActive0,0,0,0 send=64 receive stop wait end
calls opening-fails "each step of the opening fails" -- wait reset report send=60 receive reinitialize=1 reinitialize=0 send=60 \
    receive setup wait end sim-fail-open=1 setup wait sim-fail-configure=-7,1 setup reset sim-fail-open=1 reinitialize=1 \
    sim-fail-configure=-8,1 reinitialize=1 setup setup end use=2,2 setup use=2,1 setup use=2,0 setup send=60 end \
    use=3,0 setup wait use=9,0 setup use=0,0 reinitialize=0 setup reinitialize=1 setup send=60 receive end
calls old-firmware "firmware that lacks registers" -- use=1,0 setup checksum=1 send=60 receive reset report crc-watch \
    send=60 receive start stop wait reinitialize=0 wait reinitialize=1 send=60 receive end
calls counters "counters that cannot be read, and flags that are set" --no-reset -- \
    sim-register=GvspFiFoOverflow_GigeTransceiver0,0,0x1F,1 sim-register=GvcpFiFoNotEmpty_GigeTransceiver0,0,0,1 \
    sim-register=GigeRecvPktCnt0,-5,0,1 setup send=60 receive sim-register=GvspFiFoOverflow_GigeTransceiver0,0,0x2E,1 \
    sim-register=GvcpFiFoNotEmpty_GigeTransceiver0,-5,0,1 sim-register=CtrlPktReceivedCnt0,-5,0,1 stop wait end \
    use=0,1 sim-register=GvcpFiFoNotEmpty_GigeTransceiver1,0,0x11,1 sim-register=GigeRecvErrCnt1,0,7,1 setup \
    sim-register=GigeRecvErrCnt1,0,9,1 crc-watch receive sim-register=GigeRecvErrCnt1,0,4294967295,1 receive \
    sim-register=GigeRecvErrCnt1,0,18,1 sim-register=GvcpFiFoNotEmpty_GigeTransceiver1,0,0x12,1 report reinitialize=0 wait end
calls resets "resets of boards and ports, once and again" -p 3 ORVO_GIGE_DRIVER_CLASS_PORT_MASK=5 -- setup use=0,0 setup reset \
    use=0,2 setup reset use=0,3 reset sim-register=MdioReadReg,-5,0,3 reset sim-register=MdioReadReg,0,0x8000,60 reset \
    sim-register=MdioReadReg,0,0x8123,51 reset sim-register=MdioReadReg,0,0x8123,50 reset stop end \
    use=0,1 setup end use=1,1 setup use=1,2 setup end
calls pre-send-wait "waiting time before each frame" ORVO_PRE_SEND_WAIT_TIME=25 --no-reset -- setup send=60 receive send=1519 end
calls long-pre-send-wait "waiting time of more than an hour" ORVO_PRE_SEND_WAIT_TIME=9000000 --no-reset -- setup send=60 receive end
calls longest-pre-send-wait "the longest wait that fits one sleep" ORVO_PRE_SEND_WAIT_TIME=4294967 --no-reset -- setup send=60 end
calls no-pre-send-wait "waiting time that is no number" ORVO_PRE_SEND_WAIT_TIME=-1 --no-reset -- setup send=60 receive end
calls boards-report "report of several boards" --no-reset -p 1 -- setup report use=2,0 setup use=1,1 setup report use=0,1 \
    sim-register=GigeRecvPktCnt1,-5,0,1 sim-register=MdioReadReg,-5,0,2 report end
calls actions "action command time-outs, and what else may be in their queue" --no-reset -p 2 -- events=1 setup start \
    sim-push=10,0x1002A pause=200 sim-push=10,0x1FFFF pause=200 sim-push=10,5 pause=200 sim-push=10,6 pause=200 \
    sim-push=10,0xFFFF1234 pause=200 sim-fail-reads=10,-9,2 pause=400 sim-push=10,0x10001 pause=200 sim-fail-reads=10,-8,1 \
    pause=300 sim-misreport=10,-2,1 sim-push=10,0x10007 pause=200 sim-misreport=10,4,1 sim-push=10,0x10008 pause=200 \
    sim-fail-reads=10,-2120,1 pause=200 sim-fail-reads=10,-9,1 pause=300 events send=60 receive stop wait events end
calls actions-released "action command time-outs while events are off, and across a release" --no-reset -- setup start \
    sim-push=8,0x1002A pause=200 events=1 reinitialize=0 sim-push=8,0x1002B pause=100 reinitialize=1 pause=200 \
    sim-push=8,0x1002C pause=200 stop wait events end
calls on-board "operations that do not disturb others" fits --no-reset -- setup checksum=1 checksum=0 reinitialize=0 \
    reinitialize=1 report stop wait end

{
    echo '['
    for ((i = 0; i < ${#cases[@]}; ++i)); do
        [ "$i" -eq 0 ] || echo ','
        printf '%s' "${cases[i]}"
    done
    printf '\n]\n'
} >"$folder/cases.json"
ln -s "$folder" "$root/share/orvo-gige/recordings"
"$root/bin/orvo-gige" selftest --renew
mkdir -p "$installation/share/orvo-gige/recordings"
rm -f "$installation/share/orvo-gige/recordings"/*
cp "$folder"/* "$installation/share/orvo-gige/recordings"
