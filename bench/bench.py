#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Measures the plug-in against bare D-Bus calls and against libnotify, and prints a table with the limits.

It wants a session bus of its own.
"""
import argparse
import json
import subprocess
import sys
import time

import counts
import plots
from sides import Side

ROUNDS = 15

# The operations measured at 100 live, and their limits as multiples of the bare call. A limit stands only where the bare
# side does the same work: it deletes no files, and does nothing between its calls.
OPERATIONS = {
    "new": ("new notification", 1.25),
    "update": ("update", 1.25),
    "repeat": ("unchanged repetition", 0.10),
    "icons": ("new with two icons, bare with two QSaveFile", 1.15),
    "dismiss": ("dismissal told", None),
    "invoke": ("invocation told", 1.25),
    "remove": ("removal carried out", None),
}
FLAT = ("new", "update", "repeat", "icons", "remove")


def line(name, *columns, limit=None, value=None):
    text = f"{name:<43}" + "".join(f" {column:>9}" for column in columns)
    if limit is not None:
        text = f"{text:<80}{limit:>8,g} {'met' if value <= limit else 'NOT MET'}"
    print(text.rstrip(), flush=True)


def ratio(name, ours, other, limit=None):
    """A line for two figures."""
    line(name, f"{ours:,.1f}", f"{other:,.1f}", f"{ours / other:.2f}", limit=limit, value=ours / other)


class Stopwatch:
    """Times all sides in turn, in short batches. The fastest batch counts: other work of the machine only adds to a
    time."""

    def __init__(self):
        self.best = {}

    def run(self, key, side, operation, count):
        took = side.run(operation, count)
        self.best[key] = tuple(map(min, self.best.get(key, took), took))

    def microseconds(self, *key):
        return self.best[key][0] * 1e6

    def switches(self, *key):
        return self.best[key][1]


def time_operations():
    """The fastest of each operation by the plug-in, with 100 and with 10,000 live, and bare."""
    stopwatch = Stopwatch()
    sides = {"plugin": Side("plugin", 100), "bare": Side("bare", 100), "crowded": Side("plugin", 10000)}
    bursts = {kind: Side(kind, 0) for kind in ("plugin", "bare")}
    loads = {kind: Side(kind) for kind in ("plugin", "bare")}
    time.sleep(10)  # the client library may wait for the server again
    for number in range(ROUNDS):
        for kind, side in sides.items():
            for operation in OPERATIONS:
                stopwatch.run((kind, operation), side, operation, 100 if operation == "remove" else 10)
        for kind in bursts:
            stopwatch.run((kind, "burst"), bursts[kind], "new", 50)
            stopwatch.run((kind, "load"), loads[kind], "load", 5)
            if number % 5 == 0:
                stopwatch.run((kind, "clear"), bursts[kind], "clear", 1000)
    for side in (*sides.values(), *bursts.values(), *loads.values()):
        side.end()
    return stopwatch


def print_counts(stopwatch):
    line("counted", "instr.", "bare", "calls", "bare", "own", "bare", "switches", "bare", "sent")
    for operation, (name, _) in OPERATIONS.items():
        ours, bare = (counts.count(kind, operation) for kind in ("plugin", "bare"))
        line(name, f"{ours.instructions:,.0f}", f"{bare.instructions:,.0f}", f"{ours.calls:.1f}", f"{bare.calls:.1f}",
             f"{ours.steady:.1f}", f"{bare.steady:.1f}", f"{stopwatch.switches('plugin', operation):.1f}",
             f"{stopwatch.switches('bare', operation):.1f}", f"{ours.sent:,.0f}")
        if operation == "repeat":
            repetition = ours.instructions
    outside = counts.outside_publish()
    line("instructions of a new one outside publish()", f"{outside:,.0f}", value=outside, limit=27000)
    line("instructions of an unchanged repetition", f"{repetition:,.0f}", value=repetition, limit=30000)


def print_times(stopwatch):
    line("timed, in us", "ours", "bare", "ratio")
    for operation, (name, limit) in OPERATIONS.items():
        ratio(name, stopwatch.microseconds("plugin", operation), stopwatch.microseconds("bare", operation), limit)
    for operation, name, limit in (("burst", "each of a burst of 50", None), ("clear", "each of 1,000 cleared", None),
                                   ("load", "loading and unloading", 1.5)):
        ratio(name, stopwatch.microseconds("plugin", operation), stopwatch.microseconds("bare", operation), limit)
    line("timed, in us", "10,000 live", "100", "ratio")
    for operation in FLAT:
        ratio(OPERATIONS[operation][0], stopwatch.microseconds("crowded", operation),
              stopwatch.microseconds("plugin", operation), 1.3)


def print_libnotify():
    """Compares with libnotify, on a server that knows only the protocol."""
    server = Side("foreign", on_bus=True)
    stopwatch = Stopwatch()
    looks = set()
    sides = {"plugin": Side("plugin", 0, on_bus=True), "libnotify": Side("libnotify", on_bus=True)}
    for _ in range(10 * ROUNDS):
        for kind, side in sides.items():
            stopwatch.run((kind,), side, "new", 10)
            looks.add(server.ask("looks"))
            time.sleep(0.02)
    if len(looks) != 1:
        raise SystemExit("libnotify does not show the same as the plug-in:\n" + "".join(sorted(looks)))
    ours, other = (counts.count(kind, "new", on_bus=True) for kind in sides)
    for side in (server, *sides.values()):
        side.end()
    line("a message to another server", "ours", "libnotify", "ratio")
    ratio("us", stopwatch.microseconds("plugin"), stopwatch.microseconds("libnotify"), 0.75)
    ratio("instructions", ours.instructions, other.instructions)
    ratio("bytes sent", ours.sent, other.sent)
    ratio("system calls", ours.calls, other.calls)


def lumdsim(live):
    """Starts a lumdsim that reads line by line, and has it show `live` notifications."""
    process = subprocess.Popen([f"{Side.programs}/lumdsim", "--json"], text=True, stdin=subprocess.PIPE,
                               stdout=subprocess.PIPE)
    for number in range(live):
        play(process, number, "")
    return process


def play(process, key, text):
    process.stdin.write(json.dumps({"do": "add", "key": str(key), "title": "Ada", "text": text}) + "\n")
    process.stdin.flush()
    process.stdout.readline()


def print_lumdsim():
    best = {live: (float("inf"), lumdsim(live)) for live in (10, 1000)}
    for batch in range(ROUNDS):
        for live, (seconds, process) in best.items():
            start = time.monotonic()
            for number in range(10):
                play(process, number, str(batch))
            best[live] = (min(seconds, time.monotonic() - start), process)
    for _, process in best.values():
        process.communicate()  # it prints each removal
    line("a line of lumdsim --json, in us", "1,000 live", "10", "ratio")
    ratio("update", best[1000][0] * 1e5, best[10][0] * 1e5, 1.3)


def print_sizes():
    side = Side("plugin")
    before = side.memory()
    side.run("fill", 0)
    loaded = side.memory()
    library = side.memory("kavrel.so")
    side.run("fill", 10000)
    each = (side.memory() - loaded) / 10000 / 1024
    side.end()
    line("KiB")
    line("kavrel.so, stripped", f"{counts.stripped_size() / 1024:.1f}")
    line("its private memory once loaded", f"{library / 1024:.1f}")
    line("added to the process by loading", f"{(loaded - before) / 1024:.1f}")
    line("one live notification", f"{each:.2f}", value=each, limit=6)


def print_table(idle):
    sleeper = Side("plugin", 100)
    time.sleep(1)
    start, before = time.monotonic(), sleeper.wakeups()
    stopwatch = time_operations()
    print_counts(stopwatch)
    print_times(stopwatch)
    print_libnotify()
    print_lumdsim()
    print_sizes()
    time.sleep(max(0, start + idle - time.monotonic()))
    woken = sleeper.wakeups() - before
    line(f"wake-ups in {time.monotonic() - start:.0f} s idle with 100 live", woken, value=woken, limit=0)
    sleeper.end()


def main():
    parser = argparse.ArgumentParser(prog="./dev bench", description=__doc__)
    parser.add_argument("programs", help=argparse.SUPPRESS)
    parser.add_argument("--idle", type=int, default=60, metavar="SECONDS", help="how long to look for wake-ups")
    parser.add_argument("--check", action="store_true", help="fail when a count is more than 3 %% above the recorded one")
    parser.add_argument("--record", action="store_true", help="record the counts that --check compares with")
    parser.add_argument("--plot", action="store_true", help="draw the pictures of docs/performance.md")
    arguments = parser.parse_args()
    Side.programs = arguments.programs
    if arguments.record:
        counts.record(counts.collect(OPERATIONS))
    elif arguments.check:
        if counts.check(counts.collect(OPERATIONS)):
            print("If that is meant: ./dev bench --record, on Debian 12 and amd64.")
            return 1
    elif arguments.plot:
        plots.draw()
    else:
        print_table(arguments.idle)
    return 0


if __name__ == "__main__":
    sys.exit(main())
