#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# reproducible.sh [--packages]: builds the installed libraries twice, in folders of different names and depths, without a
# cache, and compares the results byte for byte; with --packages the program and the Debian packages too. Takes some
# minutes. Builds the tracked files as they are in this tree.
#
# Released files hold no path and no build time: no debug information, no __FILE__, and run paths from $ORIGIN. The date in
# the plug-in's descriptor is part of its contract.
set -euo pipefail
cd "$(dirname "$0")/.."

targets=(orvo_core orvo_zume orvo_hal orvo_kivrt orvo_dispatcher orvo_plugin)
case ${1-} in
"") ;;
--packages) targets=(all); scripts/setup.sh dpkg-dev file ;;
*) echo "usage: scripts/reproducible.sh [--packages]" >&2; exit 2 ;;
esac
scripts/setup.sh
SOURCE_DATE_EPOCH=$(git log -1 --format=%ct)
export SOURCE_DATE_EPOCH CCACHE_DISABLE=1

folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT

build_in() { # FOLDER
    mkdir -p "$1"
    git ls-files -z | xargs -0 tar -cf - | tar -xf - -C "$1"
    echo "== building in $1" >&2
    cmake -S "$1" --preset release -DBUILD_TESTING=OFF -DORVO_BUILD_BENCHMARKS=OFF >"$1.log" || { cat "$1.log" >&2; exit 1; }
    cmake --build "$1/build/release" --parallel "$(nproc)" --target "${targets[@]}" >"$1.log" || { cat "$1.log" >&2; exit 1; }
    if [ "${targets[0]}" = all ]; then
        cpack --config "$1/build/release/CPackConfig.cmake" -B "$1/build/packages" >"$1.log" || { cat "$1.log" >&2; exit 1; }
    fi
}

hashes() { # FOLDER
    (cd "$1/build" && find . -name _CPack_Packages -prune -o -type f \( -path './release/bin/*' -o -path './release/lib64/*.so' \
        -o -path './packages/*.deb' \) -print | sort | xargs sha256sum)
}

build_in "$folder/one"
build_in "$folder/another/one deeper"
hashes "$folder/one" >"$folder/first"
hashes "$folder/another/one deeper" >"$folder/second"
cat "$folder/first"
diff "$folder/first" "$folder/second" >&2 || { echo "reproducible: these differ between two builds" >&2; exit 1; }
echo "reproducible: $(wc -l <"$folder/first") files are the same in both builds"
