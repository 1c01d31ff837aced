# SPDX-License-Identifier: MIT
"""Keeps a run: its instructions for later runs to be held against, its table for the documentation.

usage: publish.py RESULT TABLE INSTRUCTIONS DOCUMENT
"""
import json
import re
import sys


def main():
    result, table, instructions, document = sys.argv[1:5]
    with open(result) as file:
        counts = json.load(file)["instructions"]
    if "failure" not in counts:
        with open(instructions, "w") as file:
            file.write("# SPDX-License-Identifier: MIT\n")
            file.write("# Instructions a frame, as scripts/bench.sh counts them; renewed by scripts/bench.sh --publish.\n")
            file.writelines(f"{name} {count}\n" for name, count in counts.items())
    with open(table) as file:
        figures = file.read()
    with open(document) as file:
        text = file.read()
    with open(document, "w") as file:
        file.write(re.sub(r"(?s)(?<=```text\n).*?(?=```)", lambda _: figures, text, count=1))


main()
