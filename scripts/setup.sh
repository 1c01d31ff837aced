#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# setup.sh [PACKAGE...]: installs, from Debian 12, those packages that the project needs, or that are named, and that are
# missing. Prints what it installs.
set -euo pipefail

packages=(
    g++ cmake ninja-build pkg-config git                     # build
    libboost-dev qt6-base-dev libdeflate-dev                 # framework, plug-in
    libtomlplusplus-dev libpcap-dev                          # simulated board, host program
    libspdlog-dev libfmt-dev libcli11-dev nlohmann-json3-dev # dispatcher, host program
    libarchive-dev zlib1g-dev libzstd-dev                    # host program: bundles, compressed captures, recordings
    libgtest-dev libgmock-dev libbenchmark-dev               # tests, benchmarks
    binutils python3 tshark                                  # export list, life-cycle checks, second reader of captures
    iproute2 iputils-ping                                    # networks of the tests
    mandoc                                                   # checks of the manual
)
packages+=("$@")

missing=()
for package in "${packages[@]}"; do
    state=$(dpkg-query -W -f '${Status}' "$package" 2>/dev/null || true)
    [ "$state" = "install ok installed" ] || missing+=("$package")
done
[ ${#missing[@]} -eq 0 ] && exit 0

echo "setup: installing with apt: ${missing[*]}" >&2
as_root=()
if [ "$(id -u)" -ne 0 ]; then
    if ! command -v sudo >/dev/null; then
        echo "setup: not root and no sudo; run as root: apt-get install ${missing[*]}" >&2
        exit 1
    fi
    as_root=(sudo)
fi
export DEBIAN_FRONTEND=noninteractive
run_apt() { "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -o DPkg::Lock::Timeout=300 "$@" >&2; }
run_apt update -q
run_apt install -q -y --no-install-recommends "${missing[@]}"
