"""Runs the benchmarks of a build and gathers what they say in one JSON file.

usage: measure.py BUILDDIR RESULT

What cannot be measured on this machine (no namespaces, no valgrind) is there as {"failure": reason}.
"""
import json
import os
import re
import resource
import shutil
import struct
import subprocess
import sys
import tempfile

REPETITIONS = 7
GIGABYTE = 1_000_000_000
PCAP_HEADER = struct.pack("<IHHiIII", 0xA1B2C3D4, 2, 4, 0, 0, 65535, 1)
FCS_BYTES = 4
INSTRUCTION_FRAMES = (1000, 3000)


def precedence():
    """So that what else runs on the machine is not measured, where the user may have it."""
    command = ["chrt", "--rr", "1"]
    allowed = shutil.which("chrt") and subprocess.run(command + ["true"], capture_output=True).returncode == 0
    return command if allowed else []


FIRST = precedence()


def say(text):
    print("bench: " + text, file=sys.stderr, flush=True)


def google_benchmark(program, *options):
    """Median and spread of each benchmark over interleaved repetitions, in nanoseconds, and its counters."""
    command = FIRST + [program, "--benchmark_format=json", *options]
    runs = json.loads(subprocess.run(command, check=True, stdout=subprocess.PIPE).stdout)["benchmarks"]
    times, found = {}, {}
    for run in runs:
        if run.get("run_type") == "aggregate":
            continue
        name = re.sub(r"/(real_time|threads:\d+|iterations:\d+|repeats:\d+)", "", run["run_name"])
        entry = found.setdefault(name, {})
        if run.get("error_occurred"):
            entry["failure"] = run["error_message"]
            continue
        times.setdefault(name, []).append(run["real_time"])
        for counter in ("lost", "bytesPerInterface", "bytesGrown"):
            if counter in run:
                entry[counter] = max(entry.get(counter, 0), run[counter])
    for name, values in times.items():
        values.sort()
        found[name].update(ns=values[len(values) // 2], least=values[0], most=values[-1])
    return found


def repeated(seconds):
    return (f"--benchmark_repetitions={REPETITIONS}", f"--benchmark_min_time={seconds}",
            "--benchmark_enable_random_interleaving=true")


def write_capture(path, wire_bytes, total_bytes):
    length = wire_bytes - FCS_BYTES
    frame = bytes(range(12)) + b"\x88\xb5" + bytes(length - 14)
    block = (struct.pack("<IIII", 0, 0, length, length) + frame) * 1000
    with open(path, "wb") as file:
        file.write(PCAP_HEADER)
        for _ in range(total_bytes // len(block)):
            file.write(block)


def replay(program, folder, wire_bytes, total_bytes):
    """One replay from file to file, over a cable between two ports: its rate, and the memory that it took."""
    capture, output = os.path.join(folder, "in.pcap"), os.path.join(folder, "out.pcapng")
    write_capture(capture, wire_bytes, total_bytes)
    command = FIRST + [program, "replay", capture, "--write", output, "--time", "virtual", "--wire", "0=port:0/1", "--json"]
    with open(os.path.join(folder, "report"), "w+b") as report:
        process = subprocess.Popen(command, stdout=report, stderr=subprocess.DEVNULL)
        _, status, usage = os.wait4(process.pid, 0)
        report.seek(0)
        text = report.read()
    os.remove(capture)
    os.remove(output)
    if status != 0:
        return {"failure": f"replay ended with status {status}"}
    figures = json.loads(text)
    return {"captureBytes": total_bytes, "framesPerSecond": figures["framesPerSecond"],
            "lost": figures["sent"]["frames"] - figures["received"]["frames"], "peakKilobytes": usage.ru_maxrss}


def replays(build):
    with tempfile.TemporaryDirectory() as folder:
        free = shutil.disk_usage(folder).free
        if free < 3 * GIGABYTE:
            return {"failure": f"{folder} has only {free // 10**6} MB free, of 3,000"}
        program = os.path.join(build, "bin", "orvo-gige")
        return {str(size): {"large": replay(program, folder, size, GIGABYTE),
                            "small": replay(program, folder, size, GIGABYTE // 100)} for size in (64, 1518)}


def instructions(command):
    counts = []
    for frames in INSTRUCTION_FRAMES:
        run = subprocess.run(["valgrind", "--tool=callgrind", "--callgrind-out-file=/dev/null", *command, str(frames)],
                             capture_output=True, text=True, check=True)
        counts.append(int(re.search(r"Collected : (\d+)", run.stderr).group(1)))
    return (counts[1] - counts[0]) // (INSTRUCTION_FRAMES[1] - INSTRUCTION_FRAMES[0])


def all_instructions(bench):
    if not shutil.which("valgrind"):
        return {"failure": "there is no valgrind"}
    plugin, board = os.path.join(bench, "orvo-bench-instructions"), os.path.join(bench, "orvo-bench-simulated-instructions")
    found = {}
    for size in (64, 1518):
        for path in ("receive", "send"):
            found[f"{path}/{size}"] = instructions([plugin, path, str(size)])
        found[f"simulated-board/{size}"] = instructions([board, str(size - FCS_BYTES)])
    return found


def bridge(bench):
    run = subprocess.run(FIRST + [os.path.join(bench, "orvo-bench-bridge"), "3"], stdout=subprocess.PIPE,
                         stderr=subprocess.DEVNULL)
    try:
        return json.loads(run.stdout)
    except json.JSONDecodeError:
        return {"failure": "no network namespaces (needs root)"}


def main():
    build, result = sys.argv[1:3]
    bench = os.path.join(build, "bench")
    program = lambda name: os.path.join(bench, "orvo-bench-" + name)
    say("the plug-in on a board that answers from memory")
    results = {"paths": google_benchmark(program("paths"), *repeated(0.05))}
    say("plug-in and simulated board")
    results["pipeline"] = google_benchmark(program("pipeline"), *repeated(0.05))
    say("many interfaces, many frames")
    results["scale"] = google_benchmark(program("scale"))
    say("captures of 1 GB, from file to file")
    results["replay"] = replays(build)
    say("TCP through the bridge")
    results["bridge"] = bridge(bench)
    say("instructions per frame")
    results["instructions"] = all_instructions(bench)
    with open(result, "w") as file:
        json.dump(results, file, indent=2)


main()
