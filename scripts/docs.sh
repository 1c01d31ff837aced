#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# docs.sh: installs what is missing, and makes the reference of the public headers in build/docs/html. Fails when a public
# name has no comment, or Doxygen does not understand one.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh doxygen
rm -rf build/docs
mkdir -p build/docs
ORVO_VERSION=$(sed -n 's/^ *VERSION \([0-9.]*\)$/\1/p' CMakeLists.txt) doxygen docs/Doxyfile
echo "docs: build/docs/html/index.html" >&2
