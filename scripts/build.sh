#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# build.sh PRESET [TARGET...]: installs what is missing, configures a preset of CMakePresets.json, and builds all of it or
# the targets named. The target `installation` is the program with its libraries.
set -euo pipefail
cd "$(dirname "$0")/.."

preset=${1:?usage: scripts/build.sh PRESET [TARGET...]}
targets=("${@:2}")
case $preset in
    clang) scripts/setup.sh clang ;;
    fuzz) scripts/setup.sh clang libclang-rt-dev ;;
    *) scripts/setup.sh ;;
esac
cmake --preset "$preset" >/dev/null
cmake --build --preset "$preset" --parallel "$(nproc)" ${targets:+--target "${targets[@]}"} 1>&2
