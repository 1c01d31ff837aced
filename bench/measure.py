# SPDX-License-Identifier: MIT
"""Runs the benchmarks of a build and gathers what they say in one JSON file.

usage: measure.py BUILDDIR RESULT

What cannot be measured on this machine (no namespaces, no valgrind) is there as {"failure": reason}; the rest goes on.
"""
import json
import os
import re
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
LIMIT_SECONDS = 120  # of each program; the longest takes a quarter of it


def precedence():
    """So that what else runs on the machine is not measured, where the user may have it.

    The kernel keeps a share of the time for others (sched_rt_runtime_us, usually 5 %), also where nobody else wants it: what never
    sleeps is slower by that.
    """
    command = ["chrt", "--rr", "1"]
    allowed = shutil.which("chrt") and subprocess.run(command + ["true"], capture_output=True).returncode == 0
    return command if allowed else []


FIRST = precedence()


def say(text):
    print("bench: " + text, file=sys.stderr, flush=True)


def part(name, measure, *arguments):
    """One part of the results, whatever becomes of it."""
    say(name)
    try:
        return measure(*arguments)
    except subprocess.CalledProcessError as error:
        output = (error.stderr or b"").decode(errors="replace").strip().splitlines()
        return {"failure": output[-1] if output else str(error)}
    except (OSError, ValueError, KeyError, subprocess.TimeoutExpired) as error:
        return {"failure": str(error)}


def run(command):
    return subprocess.run(command, check=True, capture_output=True, timeout=LIMIT_SECONDS)


def google_benchmark(program, *options):
    """Median and spread of each benchmark over interleaved repetitions, in nanoseconds, and its counters."""
    runs = json.loads(run(FIRST + [program, "--benchmark_format=json", *options]).stdout)["benchmarks"]
    times, found = {}, {}
    for one in runs:
        if one.get("run_type") == "aggregate":
            continue
        name = re.sub(r"/(real_time|threads:\d+|iterations:\d+|repeats:\d+)", "", one["run_name"])
        entry = found.setdefault(name, {})
        if one.get("error_occurred"):
            entry["failure"] = one["error_message"]
            continue
        times.setdefault(name, []).append(one["real_time"])
        for counter in ("lost", "bytesPerInterface", "bytesGrown"):
            if counter in one:
                entry[counter] = max(entry.get(counter, 0), one[counter])
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
    # Memory as the program's own: a child's usage, as the parent is told, begins with the parent's.
    command = ["/usr/bin/time", "-q", "-f", "%M", *FIRST, program, "replay", capture, "--write", output, "--time", "virtual",
               "--wire", "0=port:0/1", "--json"]
    done = run(command)
    os.remove(capture)
    os.remove(output)
    figures = json.loads(done.stdout)
    return {"captureBytes": total_bytes, "framesPerSecond": figures["framesPerSecond"], "lost": figures["lost"],
            "peakKilobytes": int(done.stderr.split()[-1])}


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
        report = run(["valgrind", "--tool=callgrind", "--callgrind-out-file=/dev/null", *command, str(frames)]).stderr
        counts.append(int(re.search(rb"Collected : (\d+)", report).group(1)))
    return (counts[1] - counts[0]) // (INSTRUCTION_FRAMES[1] - INSTRUCTION_FRAMES[0])


def all_instructions(bench):
    plugin = os.path.join(bench, "orvo-bench-instructions")
    board = os.path.join(bench, "orvo-bench-simulated-instructions")
    found = {}
    for size in (64, 1518):
        for path in ("receive", "send"):
            found[f"{path}/{size}"] = instructions([plugin, path, str(size)])
        found[f"simulated-board/{size}"] = instructions([board, str(size - FCS_BYTES)])
    return found


def bridge(bench):
    return json.loads(run(FIRST + [os.path.join(bench, "orvo-bench-bridge"), "3"]).stdout)


def bodies(build, bench):
    """The rates of the largest; the script fails when one differs."""
    script = os.path.join(bench, "http_bodies.py")
    report = run(FIRST + [os.path.join(build, "bin", "orvo-gige"), "lab", "--camera", f"exec python3 {script} serve 50",
                          "--", "python3", script, "move", "50"]).stdout.decode()
    rates = re.search(r"from the camera ([\d.]+) MB/s, to the camera ([\d.]+) MB/s", report)
    return {"from": float(rates.group(1)), "to": float(rates.group(2))}


def camera(root):
    """The demonstration's lines about images acquired, one for each rate."""
    report = run([os.path.join(root, "scripts", "demo-camera.sh"), "5"]).stdout.decode()
    found = {}
    for line in report.splitlines():
        match = re.match(r"acquired +at (\d+) images/s for \d+ s: (\d+) complete, (\d+) failed, (\d+) underruns, (\d+) missing", line)
        if match:
            rate, complete, *lost = (int(group) for group in match.groups())
            found[str(rate)] = {"complete": complete, "lost": sum(lost)}
    return found


def main():
    build, result = sys.argv[1:3]
    bench = os.path.join(build, "bench")
    root = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..")

    def program(name):
        return os.path.join(bench, "orvo-bench-" + name)

    results = {
        "precedence": " ".join(FIRST),
        "paths": part("the plug-in on a board that answers from memory", google_benchmark, program("paths"), *repeated(0.05)),
        "pipeline": part("plug-in and simulated board", google_benchmark, program("pipeline"), *repeated(0.05)),
        "scale": part("many interfaces, many frames", google_benchmark, program("scale")),
        "streams": part("account of streams", google_benchmark, program("streams"), *repeated(0.1)),
        "recording": part("board calls, recorded", google_benchmark, program("recording"), *repeated(0.1)),
        "replay": part("captures of 1 GB, from file to file", replays, build),
        "bridge": part("TCP through the bridge", bridge, bench),
        "bodies": part("HTTP through the bridge", bodies, build, os.path.join(root, "bench")),
        "camera": part("a camera behind the port", camera, root),
        "instructions": part("instructions a frame", all_instructions, bench),
    }
    with open(result, "w") as file:
        json.dump(results, file, indent=2)


main()
