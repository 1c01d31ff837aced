#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# An installation as other projects meet it, after it was moved: every public header compiles on its own, the examples
# build by CMake and by pkg-config and run on the simulated board, and their board calls can be recorded. Usage: check_sdk.sh BUILD SOURCES COMPILER SANITIZER
set -euo pipefail
build=$1 sources=$2 compiler=$3 sanitizer=$4

if [ -n "$sanitizer" ]; then
    echo "skipped: a program without the sanitizer ($sanitizer) cannot load libraries that were built with it"
    exit 77
fi

folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cmake --install "$build" --prefix "$folder/first" >/dev/null
mv "$folder/first" "$folder/moved"
root=$folder/moved
cd "$folder"

if grep -rlF "$folder/first" "$root" || grep -rlF "$sources" "$root/lib" "$root/share"; then
    echo "these files name the folder that they were built in or installed into first" >&2
    exit 1
fi

for guide in "$root"/share/doc/orvo-gige/*.md; do
    for target in $(grep -oP '\]\(\K[^)#:]+(?=[)#])' "$guide"); do
        [ -e "${guide%/*}/$target" ] || { echo "$guide: nothing is at the link's target $target" >&2; exit 1; }
    done
done

export PKG_CONFIG_PATH=$root/share/pkgconfig
read -ra compile_flags < <(pkg-config --cflags orvo)
read -ra link_flags < <(pkg-config --libs orvo)
rpath=-Wl,-rpath,$(pkg-config --variable=libdir orvo)

for header in $(cd "$root/include" && find . -name '*.h'); do
    echo "#include <${header#./}>" | "$compiler" -std=c++17 -Wall -Wextra -pedantic -Werror -fsyntax-only \
        "${compile_flags[@]}" -x c++ -
    ! grep -q '^#ifdef __cplusplus' "$root/include/$header" ||
        echo "#include <${header#./}>" | "$compiler" -std=c11 -Wall -Wextra -pedantic -Werror -fsyntax-only -I "$root/include" -x c -
done

# The far end is two capture files: what it sends, and what it gets back.
cat >board.toml <<TOML
[[board]]
[board.wires]
0 = "pcap:$sources/tests/data/gige-vision.pcapng,$folder/sent.pcap"
TOML
export ORVO_SIMULATOR_CONFIG=$folder/board.toml

echoes() { # HOST PLUGIN
    timeout 60 "$1" "$2" 25 30 >out || { echo "$1 with $2 failed" >&2; exit 1; }
    grep -Fx 'echoed  25 frames' out
}
comes_back() {
    local got
    got=$(tshark -r sent.pcap -T fields -e frame.number 2>/dev/null | wc -l)
    rm sent.pcap
    [ "$got" -eq 25 ] || { echo "25 frames were echoed, but $got arrived at the far end" >&2; exit 1; }
}
plugin=$root/lib64/plugins/liborvo-plugin-zume-phy-gige.so

examples=$root/share/doc/orvo/examples
for example in echo-host plugin-skeleton; do
    cmake -S "$examples/$example" -B "$example" -G Ninja -DCMAKE_PREFIX_PATH="$root" -DCMAKE_CXX_COMPILER="$compiler" \
        >cmake.log || { cat cmake.log >&2; exit 1; }
    cmake --build "$example" >cmake.log || { cat cmake.log >&2; exit 1; }
done
echoes echo-host/echo-host "$plugin"
comes_back
echoes echo-host/echo-host "$folder/plugin-skeleton/libplugin-skeleton.so"

"$compiler" -std=c++17 "$examples/echo-host/main.cpp" -o host "${compile_flags[@]}" "${link_flags[@]}" "$rpath"
"$compiler" -std=c++17 -shared -fPIC "$examples/plugin-skeleton/Skeleton.cpp" -o skeleton.so "${compile_flags[@]}" \
    "${link_flags[@]}" "$rpath"
echoes ./host "$plugin"
comes_back
echoes ./host ./skeleton.so

# A host that knows nothing of the recorder. What it received comes again where the recording answers instead of a board.
frames() { # CAPTURE
    tshark -r "$1" -c 25 -T fields -e eth.dst -e eth.src -e ip.id -e udp.length -e udp.checksum 2>/dev/null
}
recorder=$root/lib64/liborvo-recorder.so
gige=$root/bin/orvo-gige
! ldd ./host | grep -F liborvo-recorder || exit 1
LD_PRELOAD=$recorder ORVO_RECORD=echo.rec echoes ./host "$plugin"
comes_back
"$gige" calls echo.rec --pcapng both.pcapng | grep -Fx '50 frames written to both.pcapng'
timeout 60 "$gige" capture --no-reset --lenient --board-recording echo.rec --count 25 --write again.pcapng >out
diff <(frames "$sources/tests/data/gige-vision.pcapng") <(frames again.pcapng)

# One that disturbs it. Both ways; and where nothing can be recorded, which a line says and the host does not notice.
"$compiler" -std=c++17 "$sources/tests/sdk/RecordedHost.cpp" -o recorded-host "${compile_flags[@]}" "${link_flags[@]}" \
    -lorvo-recorder "$rpath"
"$compiler" -shared -fPIC "$sources/tests/sdk/OpeningLibrary.cpp" -o opening.so
timeout 60 ./recorded-host "$plugin" called.rec
LD_PRELOAD=$recorder ORVO_RECORD=preloaded.rec timeout 60 ./recorded-host "$plugin"
for recording in called preloaded; do
    [ "$("$gige" calls $recording.rec --entry OHalInitDevice | wc -l)" -eq 2 ] ||
        { echo "$recording.rec does not show both openings of the device" >&2; exit 1; }
done
LD_PRELOAD=$recorder ORVO_RECORD=missing/x.rec timeout 60 ./recorded-host "$plugin" 2>errors
[ "$(grep -c '^orvo-recorder: cannot write the recording' errors)" -eq 1 ]
for size in 1 6; do # of the file, in KiB: the first block does not fit, or a later one
    (ulimit -f $size && LD_PRELOAD=$recorder ORVO_RECORD=limited.rec timeout 60 ./recorded-host "$plugin" 2>errors)
    grep -q '^orvo-recorder: .*File too large' errors
    rm -f limited.rec
done
