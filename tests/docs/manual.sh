#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# manual.sh FOLDER PROGRAM: checks the pages of a share/man: they are valid mdoc, refer to existing pages, and every
# subcommand has one.
set -uo pipefail
folder=$1
program=$2
command -v mandoc >/dev/null || { echo "no mandoc, which scripts/setup.sh installs" >&2; exit 77; }
failed=0
cd "$folder" || exit 1

# fails TEXT: prints a failure, unless the text is empty.
fails() {
    [ -z "$1" ] && return
    echo "$1" >&2
    failed=1
}

# Other pages are looked for in what the machine has installed; ours are not.
fails "$(mandoc -T lint man*/* | grep -Ev 'referenced manual not found: Xr orvo|input text line longer than 80 bytes')"
while IFS=: read -r page name; do
    [ -f "$name" ] || fails "$page refers to $name, which does not exist"
done < <(grep -o '^\.Xr orvo[^ ]* [0-9]' man*/* | sed 's/:\.Xr \(.*\) \(.\)$/:man\2\/\1.\2/')
for command in $("$program" completion bash | sed -n "s/^_orvo_gige_commands() { echo '\(.*\)'; }$/\1/p"); do
    [ -f "man1/orvo-gige-$command.1" ] || fails "the subcommand $command has no page"
done
exit "$failed"
