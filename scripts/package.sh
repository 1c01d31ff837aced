#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# package.sh: installs what is missing, builds, makes Debian packages in build/packages, and checks them with lintian.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh dpkg-dev file lintian
scripts/build.sh release
rm -rf build/packages
# Prints the log only where it fails.
cpack --config build/release/CPackConfig.cmake -B build/packages >build/release/package/cpack.log || {
    cat build/release/package/cpack.log >&2
    exit 1
}
rm -rf build/packages/_CPack_Packages
as_user=()
[ "$(id -u)" -ne 0 ] || as_user=(--allow-root)
lintian "${as_user[@]}" --fail-on error,warning build/packages/*.deb
ls -l build/packages/*.deb
