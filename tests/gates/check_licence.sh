#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Every tracked file says its licence in its first two lines, or is one of those that REUSE.toml speaks for because they
# cannot. Usage: check_licence.sh SOURCES
set -euo pipefail
cd "$1"

git rev-parse --git-dir >/dev/null 2>&1 || { echo "skipped: $1 is no git checkout, so nothing is tracked"; exit 77; }

excused=() # a star of a git path matches slashes too, as two stars do in REUSE.toml
mapfile -t patterns < <(sed -n '/^path = /{:more;p;/]/b;n;b more}' REUSE.toml | grep -o '"[^"]*"' | tr -d '"')
for pattern in "${patterns[@]}"; do
    [ -n "$(git ls-files -- "${pattern//\*\*/*}")" ] || { echo "REUSE.toml: no file is \"$pattern\"; take it out" >&2; exit 1; }
    excused+=(":(exclude)${pattern//\*\*/*}")
done

failed=0 checked=0
while IFS= read -r -d '' file; do
    [ -f "$file" ] || continue # removed, and not committed yet
    checked=$((checked + 1))
    case $({ read -r a; read -r b; echo "$a$b"; } <"$file") in
    *'SPDX-License-Identifier: MIT'*) ;;
    *) echo "$file: no line 'SPDX-License-Identifier: MIT' at its top" >&2; failed=1 ;;
    esac
done < <(git ls-files -z -- . ':(exclude)LICENSE' "${excused[@]}")
[ "$checked" -gt 0 ] || { echo "no file was checked" >&2; exit 1; }
[ "$failed" -ne 0 ] || echo "$checked files say their licence"
exit "$failed"
