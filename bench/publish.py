# SPDX-License-Identifier: MIT
"""Publishes a run: its instructions become those that later runs are compared with, its summary and its table go into the
documentation.

usage: publish.py RESULT SUMMARY TABLE INSTRUCTIONS DOCUMENT
"""
import json
import sys


def with_part(text, begin, path, end):
    """The text with the file's content between the first `begin` and the `end` behind it."""
    head, rest = text.split(begin, 1)
    with open(path) as file:
        return head + begin + file.read() + end + rest.split(end, 1)[1]


def main():
    result, summary, table, instructions, document = sys.argv[1:6]
    with open(result) as file:
        counts = json.load(file)["instructions"]
    if "failure" not in counts:
        with open(instructions, "w") as file:
            file.write("# SPDX-License-Identifier: MIT\n")
            file.write("# Instructions a frame, as scripts/bench.sh counts them; renewed by scripts/bench.sh --publish.\n")
            file.writelines(f"{name} {count}\n" for name, count in counts.items())
    with open(document) as file:
        text = file.read()
    text = with_part(text, "<!-- summary -->\n\n", summary, "\n<!-- end of summary -->")
    text = with_part(text, "```text\n", table, "```")
    with open(document, "w") as file:
        file.write(text)


main()
