#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# package-test.sh [FOLDER]: installs the packages in FOLDER, or builds them first, on a fresh Debian 12 in memory, uses them
# as a user would, purges them, and shows that no file is left. Needs root, some minutes, and 2 GB of memory.
#
# Runs in mount and process namespaces of its own, so that its mounts and processes end with it.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)

# The mirror that apt on this machine uses.
debian_mirror() {
    # shellcheck disable=SC2016 # apt's
    apt-get indextargets --format '$(REPO_URI)' 'Identifier: Packages' 'Codename: bookworm' | sed -n 1p
}

make_system() { # ROOT
    local mirror options=()
    mirror=$(debian_mirror)
    [ -n "$mirror" ] || { echo "package-test: apt on this machine knows no mirror of bookworm" >&2; exit 1; }
    [[ $mirror != https:* ]] || options=(--include=ca-certificates)
    mkdir "$1"
    mount -t tmpfs -o size=4g,mode=755 fresh "$1"
    timeout 900 debootstrap --variant=minbase "${options[@]}" bookworm "$1" "$mirror" >"$1.log" 2>&1 ||
        { tail -n 20 "$1.log" >&2; exit 1; }
    echo "deb $mirror bookworm main" >"$1/etc/apt/sources.list"
    apt-config dump | grep -E '^Acquire::(http|https|Check-)' >"$1/etc/apt/apt.conf.d/00host" || true
    cp /etc/resolv.conf "$1/etc/resolv.conf"
    mount -t proc proc "$1/proc"
    if [ -c /dev/net/tun ]; then # udev gives it this mode
        mkdir -p "$1/dev/net"
        cp -a /dev/net/tun "$1/dev/net/tun"
        chmod 666 "$1/dev/net/tun"
    fi
}

# Runs a command in the fresh system, for 15 minutes at most. HOME is /tmp, which is not compared: files in a user's home
# belong to the user.
inside() {
    timeout 900 chroot "$root" env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/tmp LANG=C.UTF-8 \
        DEBIAN_FRONTEND=noninteractive "$@"
}
quietly() {
    inside "$@" >"$root.log" 2>&1 || { tail -n 30 "$root.log" >&2; echo "package-test: failed: $*" >&2; exit 1; }
}
fails() { echo "package-test: $*" >&2; exit 1; }
now() { date +%s.%N; }
since() { awk -v from="$1" -v to="$(now)" 'BEGIN { printf "%.1f", to - from }'; }

# All files except those of apt, dpkg and the kernel.
list_files() {
    (cd "$root" && find . -xdev \( -path ./proc -o -path ./var/lib/apt -o -path ./var/cache -o -path ./var/lib/dpkg \
        -o -path ./var/log -o -path ./tmp -o -path ./packages \) -prune -o -print | sort)
}

# A fresh installation has nothing to mend, and root has all permissions, so a warning is a failure too. Only a missing TAP
# driver is excused: it is the machine's, not the package's.
use_doctor() {
    local except='^$'
    [ -c "$root/dev/net/tun" ] || except='^warning +TAP driver '
    inside orvo-gige doctor >"$root.log" || { cat "$root.log" >&2; fails "doctor finds something bad"; }
    cat "$root.log"
    grep -q '^This installation works' "$root.log" || fails "doctor gives no verdict"
    ! grep -E '^(warning|bad|skipped)' "$root.log" | grep -vE "$except" >&2 || fails "doctor has something to mend"
}

# The package's own.
guides=/usr/share/doc/orvo-gige
capture=$guides/examples/gige-vision.pcapng

use_program() {
    local begin
    begin=$(now)
    quietly apt-get install -y --no-install-recommends /packages/orvo-gige.deb
    installed=$(since "$begin")
    inside orvo-gige boards
    inside orvo-gige replay $capture --verify | tee "$root.log"
    grep -q 'came back identical' "$root.log" || fails "not all frames came back"
    first_frames=$(since "$begin")
    use_doctor
    inside test -s $guides/README.md
    inside test -s /usr/share/man/man1/orvo-gige.1.gz
    inside bash -n /usr/share/bash-completion/completions/orvo-gige
    inside test -s /usr/share/zsh/vendor-completions/_orvo-gige
}

# With the capabilities that the unit gives it.
use_bridge() {
    [ -c "$root/dev/net/tun" ] || { echo "bridge    not tried: this machine has no /dev/net/tun"; return; }
    inside unshare --net setpriv --reuid 65534 --regid 65534 --clear-groups --no-new-privs \
        --bounding-set=-all,+net_admin,+net_raw --inh-caps=-all,+net_admin,+net_raw --ambient-caps=-all,+net_admin,+net_raw \
        timeout --foreground --preserve-status -s INT 3 orvo-gige bridge --tap gige0 --up --no-reset --wire 0=none >"$root.log" 2>&1 ||
        { cat "$root.log" >&2; fails "no bridge with the unit's two capabilities"; }
    echo "bridge    ran as nobody with CAP_NET_ADMIN and CAP_NET_RAW"
}

# As the examples' own comments say.
build_examples() {
    local begin
    begin=$(now)
    quietly apt-get install -y --no-install-recommends /packages/orvo-dev.deb g++ cmake make pkg-config
    developed=$(since "$begin")
    begin=$(now)
    # shellcheck disable=SC2016 # the inner shell's
    quietly env capture=$capture bash -ec '
        cd /tmp
        for example in echo-host plugin-skeleton; do
            cmake -S /usr/share/doc/orvo-dev/examples/$example -B $example
            cmake --build $example
        done
        c++ -std=c++17 /usr/share/doc/orvo-dev/examples/echo-host/main.cpp -o host $(pkg-config --cflags --libs orvo) \
            -Wl,-rpath,$(pkg-config --variable=libdir orvo)
        plugins=$(pkg-config --variable=plugindir orvo)
        printf "[[board]]\n[board.wires]\n0 = \"pcap:%s\"\n" "$capture" >board.toml
        export ORVO_SIMULATOR_CONFIG=/tmp/board.toml
        for host in ./host echo-host/echo-host; do
            $host $plugins/liborvo-plugin-zume-phy-gige.so 25 30
            $host plugin-skeleton/libplugin-skeleton.so 25 30
        done'
    examples=$(since "$begin")
}

purge() {
    # Purging removes what an administrator added, too.
    touch "$root"/etc/orvo/{bridge-gige0.conf,simulator.toml}
    mkdir -p "$root/etc/systemd/system/orvo-gige-bridge@.service.d" "$root/var/log/private/orvo"
    quietly apt-get purge -y orvo-gige orvo-dev g++ cmake make pkg-config
    quietly apt-get autoremove -y --purge -o APT::AutoRemove::RecommendsImportant=false \
        -o APT::AutoRemove::SuggestsImportant=false
    list_files >"$root.after"
    diff "$root.before" "$root.after" | grep '^[<>]' >"$root.log" || true
    ! grep -i orvo "$root.log" || fails "the packages left or removed these files"
    # Files of compilers and the like are those packages' responsibility.
    awk '{ print "left      " ($1 == "<" ? "missing " : "new ") $2 }' "$root.log"
}

try_packages() { # ROOT, PACKAGES
    root=$1
    local begin name
    begin=$(now)
    make_system "$root"
    mkdir "$root/packages"
    for name in orvo-gige orvo-dev; do cp "$2/$name"_*.deb "$root/packages/$name.deb"; done
    quietly apt-get update
    list_files >"$root.before"
    echo "system    fresh Debian 12, $(wc -l <"$root.before") files, made in $(since "$begin") s"
    use_program
    use_bridge
    build_examples
    purge
    echo "installed orvo-gige with dependencies in $installed s; first frames after $first_frames s, the board's reset included"
    echo "developed orvo-dev and compiler installed in $developed s; examples built both ways and run in $examples s"
    echo "purged    nothing of orvo is left: $(wc -l <"$root.before") files before, $(wc -l <"$root.after") after"
}

if [ "${1-}" = --inside ]; then
    try_packages "$2" "$3"
    exit
fi

[ "$(id -u)" -eq 0 ] || { echo "package-test: needs root to make a system; run it with sudo" >&2; exit 2; }
"$here/setup.sh" debootstrap
packages=${1-}
if [ -z "$packages" ]; then
    "$here/package.sh"
    packages=$here/../build/packages
fi
packages=$(realpath -- "$packages")
compgen -G "$packages/orvo-*.deb" >/dev/null || { echo "package-test: no packages in $packages" >&2; exit 2; }

folder=$(mktemp -d)
inner=
end() {
    [ -z "$inner" ] || kill -KILL "$inner" 2>/dev/null || true # and with it all that it started
    wait
    rm -rf --one-file-system "$folder"
}
trap end EXIT
trap 'exit 130' INT
trap 'exit 143' TERM HUP
unshare --mount --pid --fork --kill-child --mount-proc "$here/package-test.sh" --inside "$folder/system" "$packages" &
inner=$!
wait "$inner"
