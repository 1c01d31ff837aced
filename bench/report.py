# SPDX-License-Identifier: MIT
"""Draws up what measure.py gathered: a table, a line for each target, a chart, and a summary in five sentences.

usage: report.py RESULT KEPT_INSTRUCTIONS CHART SUMMARY
"""
import json
import sys

SIZES = (64, 256, 512, 1024, 1518)
GAP_AND_PREAMBLE_BYTES = 20  # between two frames on a line of 1 Gbit/s, at 8 ns a byte


def line_ns(size):
    return (size + GAP_AND_PREAMBLE_BYTES) * 8.0


class Figures:
    def __init__(self, results):
        self.results = results

    def entry(self, part, name):
        return self.results[part].get(name, {})

    def why_not(self, part, name=None):
        """Why there is no figure; empty where there is nothing to say."""
        results = self.results[part]
        return results.get("failure") or (name and self.entry(part, name).get("failure")) or ""

    def ns(self, part, name):
        return self.entry(part, name).get("ns")

    def path(self, path, size):
        """Time of a frame at one port, in nanoseconds."""
        part = "paths" if path in ("receive", "send", "receiveFloor", "sendFloor") else "pipeline"
        # Two threads of four ports: google benchmark divides by the threads, each of which serves two ports.
        factor = 2 if path == "fourPorts" else 1
        value = self.ns(part, f"{path}/{size}")
        return None if value is None else value * factor

    def spread(self, path, size):
        return self.spread_of("paths" if path in ("receive", "send") else "pipeline", f"{path}/{size}")

    def spread_of(self, part, name):
        entry = self.entry(part, name)
        if "ns" not in entry:
            return ""
        return f"-{100 * (1 - entry['least'] / entry['ns']):.0f} +{100 * (entry['most'] / entry['ns'] - 1):.0f} %"


def number(value, digits=0):
    return "-" if value is None else f"{value:,.{digits}f}"


def ratio(one, other):
    return None if one is None or not other else one / other


def print_table(figures):
    rows = [("receive", "receiveFloor"), ("send", "sendFloor"), ("oneThread", None), ("twoThreads", None),
            ("fourPorts", None)]
    print(f"{'path':<11}{'bytes':>6}{'ours':>9}{'spread':>12}{'floor':>9}{'ratio':>7}{'kernel':>9}{'of line':>9}{'line':>8}   ns a frame")
    for path, floor in rows:
        for size in SIZES:
            ours = figures.path(path, size)
            least = figures.path(floor, size) if floor else None
            kernel = None if floor else figures.path("packetPair", size)
            print(f"{path:<11}{size:>6}{number(ours):>9}{figures.spread(path, size):>12}{number(least):>9}"
                  f"{number(ratio(ours, least), 2):>7}{number(kernel):>9}{number(ratio(ours, line_ns(size)), 2):>9}"
                  f"{number(line_ns(size)):>8}")


def print_others(figures):
    print("\nothers, ns, with their spread")
    for part, names in (("paths", [f"{path}/{size}" for path in ("receiveFloor", "sendFloor") for size in SIZES] +
                         ["gateOfReceive", "gateOfSend", "countersAndFlags", "refusedMessage"]),
                        ("pipeline", [f"packetPair/{size}" for size in SIZES]),
                        ("scale", [f"interfaces/{count}" for count in (1, 4, 16, 64)]),
                        ("streams", ["streamPacket/1", "streamPacket/64", "otherFrame"]),
                        ("recording", [f"recorded/{size}" for size in (SIZES[0], SIZES[-1])])):
        for name in names:
            print(f"  {name:<28}{number(figures.ns(part, name), 2):>11}{figures.spread_of(part, name):>14}")


def print_instructions(results, kept):
    if "failure" in results:
        print("\ninstructions a frame: not counted: " + results["failure"])
        return
    print("\ninstructions a frame (valgrind), beside the kept ones")
    for name, count in results.items():
        before = kept.get(name)
        change = "" if before is None else f"{count - before:+d}"
        print(f"  {name:<24}{count:>8}{before if before is not None else '-':>8}  {change}")


class Targets:
    """Each target: met, or by how much not."""

    def __init__(self):
        self.lines = []
        self.met = self.measured = 0

    def at_most(self, what, value, limit, unit="", why=""):
        self.add(what, value, limit, unit, "at most", value is not None and value <= limit, why)

    def at_least(self, what, value, limit, unit="", why=""):
        self.add(what, value, limit, unit, "at least", value is not None and value >= limit, why)

    def shown(self, what, where):
        self.lines.append(f"{what:<66} shown by {where}")

    def add(self, what, value, limit, unit, relation, met, why):
        self.met += met
        self.measured += value is not None
        if value is None:
            verdict = "not measured" + (f": {why}" if why else "")
        elif met:
            verdict = "met"
        else:
            verdict = "NOT MET" + (f", by {abs(value / limit - 1) * 100:.1f} %" if limit else "")
        digits = 2 if limit < 100 else 0
        self.lines.append(f"{what:<66}{number(value, digits):>11}{unit:<8} {relation} {number(limit, digits)}{unit}: {verdict}")


def worst(values):
    values = list(values)
    return None if any(value is None for value in values) else max(values)


def lost_frames(figures):
    counts = [entry.get("lost") for name, entry in figures.results["pipeline"].items() if "packetPair" not in name]
    return worst(counts)


def check_frame_paths(figures, targets):
    why = figures.why_not("paths")
    for path, limit in (("receive", 1.25), ("send", 1.15)):
        for size in SIZES:
            value = ratio(figures.path(path, size), figures.path(path + "Floor", size))
            targets.at_most(f"{path}, {size} bytes, of its floor", value, limit, why=why)
    counters = figures.ns("paths", "countersAndFlags")
    for gate, words in (("gateOfReceive", "receive"), ("gateOfSend", "send")):
        passing = figures.ns("paths", gate)
        together = None if None in (passing, counters) else passing + counters
        targets.at_most(f"gate, once-flags and counters together, {words}", together, 6, " ns", why)
    targets.at_most("message refused by its level", figures.ns("paths", "refusedMessage"), 2, " ns", why)
    targets.shown("one that passes is formatted once", "plugin.LogLineTest")


def check_pipeline(figures, targets):
    why = figures.why_not("pipeline")
    targets.at_most("send to receive, one thread, 64 bytes", figures.path("oneThread", 64), 300, " ns", why)
    targets.at_most("send to receive, one thread, 1,518 bytes", figures.path("oneThread", 1518), 2900, " ns", why)
    for size, times in ((64, 8), (1518, 1)):
        value = ratio(figures.path("packetPair", size), figures.path("oneThread", size))
        targets.at_least(f"times the rate of a packet socket pair over veth, {size} bytes", value, times,
                         why=figures.why_not("pipeline", f"packetPair/{size}"))
    for path, words in (("twoThreads", "two threads"), ("fourPorts", "four ports at once")):
        for size in SIZES:
            value = ratio(figures.path(path, size), line_ns(size))
            targets.at_most(f"{words}, {size} bytes, of a line's time for a frame", value, 1, why=why)
    targets.at_most("frames lost in all of these", lost_frames(figures), 0, why=why)


def check_replay(results, targets):
    for size in (64, 1518):
        run = results.get(str(size), {})
        why = results.get("failure", "")
        large, small = run.get("large", {}), run.get("small", {})
        targets.at_least(f"replay of 1 GB, frames of {size} bytes, of line rate",
                         ratio(large.get("framesPerSecond"), 1e9 / line_ns(size)), 1, why=why)
        targets.at_most("  frames lost", large.get("lost"), 0, why=why)
        targets.at_most(f"  peak memory ({number(large.get('peakKilobytes'))} kB), of that for 10 MB",
                        ratio(large.get("peakKilobytes"), small.get("peakKilobytes")), 1.05, why=why)


def check_bridge(results, targets):
    for settings, words in (("untouched", "interfaces as they come"), ("offloadOff", "offload off")):
        check_throughput(results.get(settings, {}), words, results.get("failure", ""), targets)
    latest = results.get("offloadOff", {})
    trips = [latest.get(name, {}).get("roundTripNs") for name in ("port", "bareBridge", "veth")]
    why = results.get("failure", "")
    # A bare bridge adds one wake-up each way, with the system calls and the TAP that go with it.
    wakeups = None if None in trips else (trips[0] - trips[1]) / max(1, trips[1] - trips[2])
    targets.at_most("latency beyond a bare bridge's, of what that adds to veth's" +
                    ("" if None in trips else f" ({trips[0] / 1e3:.0f}, {trips[1] / 1e3:.0f}, {trips[2] / 1e3:.0f} us)"),
                    wakeups, 1, why=why)
    targets.at_most("share of a core when idle", latest.get("port", {}).get("idleCoreShare"), 0.01, why=why)


def check_throughput(results, settings, failure, targets):
    bare, port, veth = (results.get(name, {}) for name in ("bareBridge", "port", "veth"))
    why = failure or port.get("failure") or bare.get("failure") or veth.get("failure") or ""
    for direction, words in (("toCamera", "towards the camera"), ("fromCamera", "from the camera")):
        ours = port.get(direction)
        targets.at_least(f"TCP through the bridge, {settings}, {words}", None if ours is None else ours / 1e6, 940,
                         " Mbit/s", why)
        beside = (f" ({bare[direction] / 1e6:,.0f} Mbit/s; veth {veth[direction] / 1e6:,.0f})"
                  if direction in bare and direction in veth else "")
        targets.at_least("  of a bare bridge" + beside, ratio(ours, bare.get(direction)), 0.7, why=why)


def check_bodies(results, targets):
    for direction, words in (("from", "from the camera"), ("to", "to the camera")):
        targets.at_least(f"identical HTTP bodies of up to 50 MB, the largest {words}", results.get(direction), 100,
                         " MB/s", results.get("failure", ""))


def check_lines(results, targets):
    """TCP at line rate, of what a link carries: within 1 %."""
    names = {"own 1000": "own boards, 1,000 Mbit/s", "shared 1000": "shared boards, 1,000 Mbit/s",
             "shared 100": "shared boards, 100 Mbit/s", "four shared 100": "four shared ports, 100 Mbit/s"}
    for name, words in names.items():
        line = results.get("lines", {}).get(name, {})
        why = results.get("failure") or line.get("failure") or ""
        for direction, way in (("toCamera", "sent"), ("fromCamera", "received")):
            share = ratio(line.get(direction), line.get("expected"))
            what = f"TCP at line rate, {words}, {way}"
            if share is not None and share > 1:
                targets.at_most(what, share, 1.01)
            else:
                targets.at_least(what, share, 0.99, why=why)


def check_camera(results, targets):
    for rate in ("25", "200"):
        found = results.get(rate, {})
        targets.at_most(f"images lost at {rate} a second" + (f", of {found['complete']}" if found else ""),
                        found.get("lost"), 0, why=results.get("failure", ""))


def check_scale(results, targets):
    why = results.get("failure", "")
    alone = results.get("interfaces/1", {}).get("ns")
    for count in (4, 16, 64):
        ours = results.get(f"interfaces/{count}", {}).get("ns")
        targets.at_most(f"a frame through one of {count} interfaces, of one alone", ratio(ours, alone), 1.25, why=why)
    targets.at_most("memory of an interface", results.get("interfaces/64", {}).get("bytesPerInterface"), 8192, " bytes", why)
    targets.at_most("  its growth over 10^8 frames", results.get("manyFrames/1", {}).get("bytesGrown"), 0, " bytes", why)


def check_streams(results, targets):
    for cameras in (1, 64):
        targets.at_most(f"account of a stream's packet, {cameras} at once", results.get(f"streamPacket/{cameras}", {}).get("ns"), 40,
                        " ns", results.get("failure", ""))


def check_recording(figures, targets):
    why = figures.why_not("recording")
    for size in SIZES[0], SIZES[-1]:
        # Without --record the plug-in calls the libraries themselves, as in the pipeline.
        recorded = ratio(figures.ns("recording", f"recorded/{size}"), figures.path("oneThread", size))
        targets.at_most(f"a frame whose board calls are recorded, {size} bytes, of one that is not", recorded, 2, why=why)
        targets.at_most("  calls lost at line rate", figures.entry("recording", f"atLineRate/{size}").get("lost"), 0, why=why)


SERIES = (("oneThread", "send to receive, one thread", "#2a78d6"), ("packetPair", "packet sockets over veth", "#eb6834"),
          ("line", "line rate", "#8a8a86"), ("receive", "receive", "#1baf7a"), ("send", "send", "#9a6bd0"))


def chart(figures):
    """Nanoseconds a frame over its size, the time on a logarithmic scale: 20 ns to 20 us."""
    import math
    width, height, left, right, top, bottom = 760, 420, 64, 250, 44, 46
    low, high = math.log10(20), math.log10(20000)
    x = lambda size: left + (width - left - right) * (size - 64) / (1518 - 64)
    y = lambda ns: height - bottom - (height - top - bottom) * (math.log10(ns) - low) / (high - low)
    parts = [f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {width} {height}" role="img" '
             'aria-label="Nanoseconds a frame over frame size" font-family="sans-serif" font-size="12">',
             '<style>svg{background:#fcfcfb}text{fill:#2b2b29}.grid{stroke:#e2e2de}'
             '@media(prefers-color-scheme:dark){svg{background:#1a1a19}text{fill:#e6e6e2}.grid{stroke:#3a3a37}}</style>',
             f'<text x="{left}" y="24" font-size="15" font-weight="bold">What a frame costs, in nanoseconds</text>']
    for ns in (20, 50, 100, 200, 500, 1000, 2000, 5000, 10000, 20000):
        parts.append(f'<line class="grid" x1="{left}" x2="{width - right}" y1="{y(ns):.1f}" y2="{y(ns):.1f}"/>'
                     f'<text x="{left - 8}" y="{y(ns) + 4:.1f}" text-anchor="end">{ns:,}</text>')
    for size in SIZES:
        parts.append(f'<text x="{x(size):.1f}" y="{height - bottom + 20}" text-anchor="middle">{size:,}</text>')
    parts.append(f'<text x="{(left + width - right) / 2}" y="{height - 8}" text-anchor="middle">bytes of a frame, its check sequence included</text>')
    labels = []
    for name, label, colour in SERIES:
        values = [(size, line_ns(size) if name == "line" else figures.path(name, size)) for size in SIZES]
        values = [(size, ns) for size, ns in values if ns]
        if not values:
            continue
        points = " ".join(f"{x(size):.1f},{y(ns):.1f}" for size, ns in values)
        dash = ' stroke-dasharray="5 4"' if name == "line" else ""
        parts.append(f'<polyline fill="none" stroke="{colour}" stroke-width="2"{dash} points="{points}"/>')
        parts += [f'<circle cx="{x(size):.1f}" cy="{y(ns):.1f}" r="3.5" fill="{colour}"><title>{label}, {size} bytes: {ns:,.0f} ns</title></circle>'
                  for size, ns in values]
        labels.append([y(values[-1][1]), f"{label} {values[-1][1]:,.0f}"])
    labels.sort()
    for before, label in zip(labels, labels[1:]):
        label[0] = max(label[0], before[0] + 15)
    parts += [f'<text x="{width - right + 10}" y="{at + 4:.1f}">{text}</text>' for at, text in labels]
    return "\n".join(parts + ["</svg>"]) + "\n"


def summary(figures, targets):
    def from_to(path):
        return f"{number(figures.path(path, SIZES[0]))} to {number(figures.path(path, SIZES[-1]))} ns"

    def percent(path, size):
        return f"{number(100 * (ratio(figures.path(path, size), line_ns(size)) or 0))} %"

    four_ports = worst(ratio(figures.path("fourPorts", size), line_ns(size)) for size in SIZES)
    return "\n".join((
        f"At 1 Gbit/s a frame takes {number(line_ns(64))} ns on the line with 64 bytes, and {number(line_ns(1518))} ns with 1,518.",
        f"The plug-in takes {from_to('receive')} to receive a frame, and {from_to('send')} to send one.",
        f"From the call that sends a frame at one simulated port to the call that receives it at another, it takes "
        f"{from_to('oneThread')}: {percent('oneThread', 64)} and {percent('oneThread', 1518)} of the line's time.",
        f"Four ports that send and receive at once on two threads need at most {number(100 * (four_ports or 0))} % of the line's "
        f"time, and lose {number(lost_frames(figures))} frames.",
        f"{targets.met} of {targets.measured} targets are met; the reasons for the others are [below](#targets-that-are-missed).",
    )) + "\n"


def main():
    result, kept_file, chart_file, summary_file = sys.argv[1:5]
    with open(result) as file:
        results = json.load(file)
    with open(kept_file) as file:
        kept = {name: int(count) for name, count in (line.split() for line in file if line.strip() and line[0] != "#")}
    figures, targets = Figures(results), Targets()
    print("run " + ("ahead of everything else (" + results["precedence"] + ")" if results["precedence"]
                    else "among whatever else the machine does") + "\n")
    print_table(figures)
    print_others(figures)
    print_instructions(results["instructions"], kept)
    check_frame_paths(figures, targets)
    check_pipeline(figures, targets)
    check_replay(results["replay"], targets)
    check_bridge(results["bridge"], targets)
    check_lines(results["bridge"], targets)
    check_bodies(results["bodies"], targets)
    check_camera(results["camera"], targets)
    check_scale(results["scale"], targets)
    check_streams(results["streams"], targets)
    check_recording(figures, targets)
    print("\ntargets")
    print("\n".join("  " + line for line in targets.lines))
    with open(chart_file, "w") as file:
        file.write(chart(figures))
    with open(summary_file, "w") as file:
        file.write(summary(figures, targets))


main()
