#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""json_keys.py PROGRAM PAGE SOURCE: runs commands with --json and fails for a key that orvo-json(5) does not describe.

Not checked: keys with blanks, which are phrases of the account, and names of counters and states, which `watch --list` prints."""
import json
import pathlib
import re
import subprocess
import sys
import tempfile

program, page, source = sys.argv[1], pathlib.Path(sys.argv[2]).read_text(), pathlib.Path(sys.argv[3])
capture = str(source / "tests/data/mixed-lan.pcap")
faults = str(source / "docs/faults.toml")
commands = [
    "boards",
    f"replay {capture} --time virtual --verify --write out.pcapng --faults {faults}",
    "diagnose --time virtual",
    "reset --time virtual",
    "reinitialize",
    "capture --write written.pcapng --no-reset --duration 0.1",
    "watch --count 1",
    "watch --list",
    "doctor",
    "config show",
]
arguments = [line for line in page.split("\n") if re.match(r"\.(It Li|Ql|Qq) ", line)]
known = set(re.findall(r"\w+", " ".join(arguments)))


def names(value):
    if isinstance(value, list):
        for each in value:
            yield from names(each)
    elif isinstance(value, dict):
        for name, content in value.items():
            if " " not in name:
                yield name
            if name not in ("counters", "states", "are") or isinstance(content, list):
                yield from names(content)
            else:  # keyed by names that are not checked
                yield from names(list(content.values()))


failed = False
with tempfile.TemporaryDirectory() as folder:
    for command in commands:
        result = subprocess.run([program, *command.split(), "--json"], cwd=folder, stdout=subprocess.PIPE,
                                stderr=subprocess.PIPE, text=True, timeout=120, check=False)
        try:
            missing = sorted(set(names(json.loads(result.stdout))) - known)
        except json.JSONDecodeError:
            sys.exit(f"{command}: no JSON document but {result.stdout!r}, {result.stderr!r}")
        if missing:
            print(f"{command}: orvo-json(5) lacks {', '.join(missing)}")
            failed = True
sys.exit(1 if failed else 0)
