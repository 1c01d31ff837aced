#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""commands.py SOURCE BUILD [FILE...]: runs the commands of *.md and docs/*.md, or of the files named, and fails when one
fails.

Indented blocks, and fenced ones without a language or with "sh", hold commands. Bash runs each line in a scratch folder that
shows the source tree, with BUILD as build/release. A comment before a block says more about it:

    <!-- prints -->                lines that the last command before must print; "…" stands for any text
    <!-- output -->                lines that a command printed which is not run
    <!-- not run: REASON -->
    <!-- needs root -->            run by root only, in turn, in a network namespace of the document's own
    <!-- until Ctrl-C -->          each line gets SIGINT after some seconds, and must end with 0
    <!-- exits with N -->          exit code of the last line
    <!-- file: NAME -->            the block, in any language, is a file that the text says to save: "Save this as `NAME`"

One comment may have several, separated by semicolons."""
import concurrent.futures
import dataclasses
import os
import pathlib
import re
import signal
import subprocess
import sys
import tempfile
import time

LIMIT = 30  # seconds for a line, on a busy machine too
WORKERS = 8  # they spend most of their time waiting for boards to reset
BEGIN = 7  # seconds until Ctrl-C, of which the board's reset takes 5


@dataclasses.dataclass
class Block:
    place: str  # FILE:LINE
    lines: list
    language: str = ""
    marks: list = dataclasses.field(default_factory=list)
    prints: list = dataclasses.field(default_factory=list)  # what its last command must print

    def mark(self, name):
        """The text behind the mark's name; None without such a mark."""
        return next((m[len(name):].strip(" :") for m in self.marks if m.startswith(name)), None)

    def commands(self):
        joined = "\n".join(self.lines).replace("\\\n", " ")
        return [line.strip() for line in joined.split("\n") if line.strip() and not line.startswith("#")]


def blocks_of(path, name):
    blocks, block, marks, fence, before = [], None, [], None, ""
    for number, line in enumerate(path.read_text().split("\n"), 1):
        if fence is not None:
            if line.strip() == "```":
                fence = None
            else:
                block.lines.append(line)
        elif line.startswith("```"):
            fence = line[3:].strip()
            block = Block(f"{name}:{number}", [], fence, marks)
            blocks.append(block)
            marks = []
        elif line.startswith("    ") and (before == "" or (block and before.startswith("    "))):
            if not before.startswith("    "):
                block = Block(f"{name}:{number}", [], "", marks)
                blocks.append(block)
                marks = []
            block.lines.append(line[4:])
        elif found := re.fullmatch(r"<!-- (.*) -->", line):
            marks = [] if "SPDX" in line else [m.strip() for m in found[1].split(";")]
        elif line.strip():
            marks = []
        before = line
    return blocks


class Scratch:
    """A folder in which commands find what a reader of the documentation has."""

    def __init__(self, source, build, files):
        self.folder = tempfile.TemporaryDirectory(prefix="orvo-docs-")
        root = pathlib.Path(self.folder.name)
        (root / "build").mkdir()
        (root / "build" / "release").symlink_to(build)
        for name in ("docs", "scripts", "tests", "examples", "CMakeLists.txt"):
            if (source / name).exists():
                (root / name).symlink_to(source / name)
        (root / "sudo").write_text('#!/bin/sh\nexec "$@"\n')
        (root / "sudo").chmod(0o755)
        for name, text in files.items():
            (root / name).write_text(text)
        self.environment = dict(os.environ, HOME=str(root), USER="root" if os.geteuid() == 0 else "user",
                                PATH=f"{build}/bin:{root}:{os.environ['PATH']}")
        for variable in ("ORVO_SIMULATOR_CONFIG", "ORVO_LOG", "ORVO_LOG_FILE"):
            self.environment.pop(variable, None)

    def run(self, command, until_interrupt, namespace):
        """The exit status and the output; the status is None if the command was killed, or ended before Ctrl-C."""
        prefix = ["nsenter", "-t", str(namespace.pid), "-n"] if namespace else []
        if until_interrupt:
            # --foreground, because timeout would otherwise send the signal twice, and the second ends a program at once.
            command = f"timeout --foreground --preserve-status -k 10 -s INT {BEGIN} {command}"
        begin = time.monotonic()
        process = subprocess.Popen(prefix + ["bash", "-o", "pipefail", "-c", command], cwd=self.folder.name,
                                   env=self.environment, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                                   stderr=subprocess.STDOUT, start_new_session=True)
        try:
            output = process.communicate(timeout=LIMIT)[0].decode(errors="replace")
        except subprocess.TimeoutExpired:
            os.killpg(process.pid, signal.SIGKILL)
            return None, process.communicate()[0].decode(errors="replace") + f"still running after {LIMIT} s\n"
        if until_interrupt and time.monotonic() - begin < BEGIN:
            return None, output + "it ended before Ctrl-C\n"
        return process.returncode, output


def words(text):
    return " ".join(text.split())


def missing_line(lines, output):
    """The first of the lines that the output lacks; blanks do not matter."""
    found = [words(line) for line in output.splitlines()]
    patterns = [(line, ".*".join(re.escape(part) for part in words(line).split("…"))) for line in lines if line.strip()]
    return next((line for line, pattern in patterns if not any(re.fullmatch(pattern, f) for f in found)), None)


def run_block(block, scratch, namespace):
    """The failures, at most one."""
    commands = block.commands()
    expected = int(block.mark("exits with") or 0)
    for number, command in enumerate(commands, 1):
        is_last = number == len(commands)
        status, output = scratch.run(command, block.mark("until Ctrl-C") is not None, namespace)
        wanted = expected if is_last else 0
        problem = f"ended with {status} instead of {wanted}" if status != wanted else ""
        if is_last and not problem and (line := missing_line(block.prints, output)) is not None:
            problem = f"did not print '{words(line)}'"
        if problem:
            shown = "".join(f"    | {line}\n" for line in output.splitlines()[-25:])
            return [f"{block.place}: {command}\n    {problem}\n{shown}"]
    return []


def own_network():
    """A process that holds a new network namespace, which exists when this returns."""
    holder = subprocess.Popen(["unshare", "-n", "sh", "-c", "echo ready; exec sleep 600"], stdin=subprocess.DEVNULL,
                              stdout=subprocess.PIPE)
    if holder.stdout.readline() != b"ready\n":
        sys.exit("no network namespace available")
    return holder


def run_chain(blocks, source, build, files, with_network):
    """Blocks in turn, in one scratch folder and, if asked for, in one network namespace of their own."""
    scratch = Scratch(source, build, files)
    namespace = None
    if with_network:
        namespace = own_network()
        scratch.run("ip link set lo up", False, namespace)
    try:
        return [failure for block in blocks for failure in run_block(block, scratch, namespace)]
    finally:
        if namespace:
            namespace.kill()
            namespace.wait()
        scratch.folder.cleanup()


def can_make_networks():
    return os.geteuid() == 0 and subprocess.run(["unshare", "-n", "true"], stderr=subprocess.DEVNULL).returncode == 0


def chains_of(path, name, is_root):
    """The chains of blocks to run (those that need root form one chain), the document's files, and what is left out."""
    chains, as_root, files, left_out = [], [], {}, []
    last = None
    for block in blocks_of(path, name):
        if block.mark("prints") is not None:
            last.prints = block.lines
            continue
        last = block
        if block.mark("file") is not None:
            if f"Save this as `{block.mark('file')}`" not in path.read_text():
                sys.exit(f"{block.place}: the text must say \"Save this as `{block.mark('file')}`\"")
            files[block.mark("file")] = "\n".join(block.lines) + "\n"
        elif block.language not in ("", "sh") or block.mark("output") is not None:
            continue
        elif not block.marks and re.search("sudo |scripts/", "".join(block.lines)):
            sys.exit(f"{block.place}: a comment must say whether this needs root, or why it is not run")
        elif block.mark("not run") is not None or (block.mark("needs root") is not None and not is_root):
            left_out.append(f"{block.place}: {', '.join(block.marks)}")
        elif block.mark("needs root") is not None:
            as_root.append(block)
        else:
            chains.append(([block], False))
    return chains + ([(as_root, True)] if as_root else []), files, left_out


def main():
    source, build = (pathlib.Path(argument).resolve() for argument in sys.argv[1:3])
    documents = [pathlib.Path(a) for a in sys.argv[3:]] or [*sorted(source.glob("*.md")), *sorted(source.glob("docs/*.md"))]
    is_root = can_make_networks()
    failures, runs = [], []
    with concurrent.futures.ThreadPoolExecutor(WORKERS) as pool:
        for document in documents:
            chains, files, left_out = chains_of(document, os.path.relpath(document, source), is_root)
            print("".join(f"left out: {text}\n" for text in left_out), end="")
            runs += [pool.submit(run_chain, blocks, source, build, files, network) for blocks, network in chains]
        failures = [failure for run in runs for failure in run.result()]
    print(f"{len(runs)} chains of commands, {len(failures)} failures")
    print(*failures, sep="\n", file=sys.stderr)
    return 1 if failures or not runs else 0


if __name__ == "__main__":
    sys.exit(main())
