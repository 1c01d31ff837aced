#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# stage.sh FOLDER GENERATED: moves files to where Debian wants them before cpack packs them. FOLDER/runtime and FOLDER/dev
# hold what was installed below /opt/orvo, GENERATED the files that CMake made.
#
# All files get the time of the changelog's last commit, or SOURCE_DATE_EPOCH: equal sources make equal packages.
set -euo pipefail
folder=$1 generated=$2
here=$(cd "$(dirname "$0")" && pwd)
root=opt/orvo
umask 022

changelog=$here/../CHANGELOG.md
date=${SOURCE_DATE_EPOCH:-$(git -C "$here" log -1 --format=%ct -- "$changelog" 2>/dev/null || true)}
date=${date:-$(stat -c %Y "$changelog")}

# moved FROM TO: moves a folder's content; does nothing where there is no such folder.
moved() {
    [ -d "$1" ] || return 0
    mkdir -p "$2"
    mv "$1"/* "$2"
    rmdir -p --ignore-fail-on-non-empty "$1"
}

# The changelog's releases in Debian's form, in lines of 78 characters. A heading is "## VERSION" or "## [VERSION] - DATE".
debian_changelog() { # PACKAGE
    awk -v package="$1" -v date="$(date -u -R -d "@$date")" '
        function end_item(  words, count, i, line) {
            count = split(item, words, " ")
            line = "  *"
            for (i = 1; i <= count; i++) {
                if (length(line) + 1 + length(words[i]) > 78) { print line; line = "   " }
                line = line " " words[i]
            }
            if (count) print line
            item = ""
        }
        function end_section() { end_item(); if (open) printf "\n -- The orvo authors <authors@orvo.invalid>  %s\n", date }
        /^## / {
            end_section()
            version = $2
            gsub(/[][]/, "", version)
            open = version != "Unreleased"
            if (open) printf "%s%s (%s) unstable; urgency=low\n\n", releases++ ? "\n" : "", package, version
            next
        }
        /^### |^\[.*\]: / { end_item(); next }
        open && /^- / { end_item(); item = substr($0, 3); next }
        open { item = item " " $0 }
        END { end_section() }' "$changelog"
}

documented() { # PACKAGE
    local doc=usr/share/doc/$1
    mkdir -p "$doc" usr/share/lintian/overrides
    cp "$here/copyright" "$doc/copyright"
    debian_changelog "$1" | gzip -9n >"$doc/changelog.gz"
    cp "$here/$1.lintian-overrides" "usr/share/lintian/overrides/$1"
}

stage_runtime() {
    moved $root/share/man usr/share/man
    moved $root/share/doc/orvo-gige usr/share/doc/orvo-gige
    moved $root/share/bash-completion/completions usr/share/bash-completion/completions
    moved $root/share/zsh/site-functions usr/share/zsh/vendor-completions
    [ ! -d usr/share/man ] || find usr/share/man -type f -exec gzip -9n {} +
    mkdir -p usr/bin lib/systemd/system etc/orvo usr/share/doc/orvo-gige/examples
    ln -sf /$root/bin/orvo-gige usr/bin/orvo-gige
    cp "$generated"/orvo-{gige-bridge,board}@.service lib/systemd/system/
    cp "$here/bridge.conf" usr/share/doc/orvo-gige/examples/
    documented orvo-gige
}

stage_dev() {
    moved $root/share/doc/orvo/examples usr/share/doc/orvo-dev/examples
    mkdir -p usr/lib/cmake usr/share/pkgconfig
    ln -sfn /$root/lib/cmake/orvo usr/lib/cmake/orvo
    # pkg-config takes its prefix from the file's own place, links not resolved, so the system's copy names the prefix.
    sed "s|^prefix=.*|prefix=/$root|" $root/share/pkgconfig/orvo.pc >usr/share/pkgconfig/orvo.pc
    documented orvo-dev
}

for component in runtime dev; do
    cd "$folder/$component"
    "stage_$component"
    chmod -R u=rwX,go=rX .
    find . -depth -exec touch -h -d "@$date" {} +
done
