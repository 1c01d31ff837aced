#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# completion.sh PROGRAM: sources the program's script for bash and asks for completions as bash does. If zsh is installed,
# checks that it registers the script for zsh.
set -u
program=$1
failed=0
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cd "$folder" || exit 1
mkdir captures
touch captured.pcapng 'with blank.pcap' orvo-camera
chmod +x orvo-camera
PATH+=:$folder
# shellcheck disable=SC1090
source <("$program" completion bash)

# offers "ANSWER..." WORD...: fails unless these answers, in this order, complete the last word of the command line.
offers() {
    COMP_WORDS=(orvo-gige "${@:2}")
    COMP_CWORD=$(($# - 1))
    COMPREPLY=()
    _orvo_gige
    [ "${COMPREPLY[*]-}" = "$1" ] && return
    echo "'${*:2}': expected '$1', found '${COMPREPLY[*]-}'" >&2
    failed=1
}

offers "replay reset reinitialize" re
offers "--version" --v
offers "boards bridge" --json --root captures b
offers "captures" --root ca
offers "--help" boards --h
offers "--write --wire" replay --w
offers "real virtual" replay --time ""
offers "real virtual" replay --time =
offers "virtual" replay --time = v
offers "--wire" replay --wire 0 = port : 0/1 --wi # again: bash split the one given into words
offers "" replay --json --js
offers "captured.pcapng captures" replay capt
offers "with blank.pcap" replay with
offers "captures" boards --root ca
offers "" capture --count 1 --tap
offers "install remove" extcap ""
offers "remove" extcap --folder captures r
offers "" extcap install ""
offers "bash zsh" completion ""
offers "captured.pcapng captures" lab --port 1 -- ls capt
offers "orvo-camera" lab -- orvo-cam

if command -v zsh >/dev/null; then
    "$program" completion zsh >_orvo-gige
    registered=$(zsh -f -c 'autoload -U compinit && compinit -u -D && source ./_orvo-gige && print -r -- $_comps[orvo-gige]')
    [ "$registered" = _orvo_gige ] || { echo "zsh registers '$registered'" >&2; failed=1; }
fi
exit "$failed"
