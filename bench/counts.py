# SPDX-License-Identifier: MIT
"""Counts, which are the same on every machine with the same compiler and libraries."""
import os
import subprocess
import tempfile
from collections import namedtuple

from sides import Counted, Side, Traced

RECORD = os.path.join(os.path.dirname(os.path.abspath(__file__)), "counts.txt")
TOLERANCE = 0.03
LIVE = 20
UNSTEADY = "dismiss", "invoke", "remove"  # they include the user's part, or turns of the event loop
BATCH = {"repeat": 100}  # how many in a row, when it is not ten

# Where an add's instructions go: each function's with all that it calls.
ADD = "NotificationsImpl::addNotification"
PUBLISH = "Notification::publish"

Counts = namedtuple("Counts", "instructions calls steady sent")


def count(kind, operation, on_bus=False):
    """Counts one operation, in processes of its own: the client library's time for waiting is limited."""
    live = None if kind == "libnotify" else LIVE
    batch = BATCH.get(operation, 10)
    counted = Counted(kind, live, on_bus)
    instructions = counted.instructions(operation, batch)
    counted.end()
    traced = Traced(kind, live, on_bus)
    called = traced.calls(operation, batch)
    traced.end()
    return Counts(instructions, *called)


def outside_publish():
    """The instructions of an add outside the client library's publish()."""
    counted = Counted("plugin", LIVE)
    costs = [counted.inclusive("new", 10, [ADD, PUBLISH]) for _ in range(5)]
    counted.end()
    return min(cost[ADD] - cost[PUBLISH] for cost in costs)


def stripped_size():
    with tempfile.NamedTemporaryFile() as file:
        subprocess.run(["strip", "-o", file.name, f"{Side.programs}/../lib/kavrel.so"], check=True)
        return os.path.getsize(file.name)


def collect(operations):
    """All recorded counts, by name."""
    figures = {"kavrel.so: bytes, stripped": stripped_size(), "new: instructions outside publish": outside_publish()}
    foreign = Side("foreign", on_bus=True)
    for operation, on_bus in [*((operation, False) for operation in operations), ("new", True)]:
        if operation in UNSTEADY:
            continue
        counts = count("plugin", operation, on_bus)
        name = operation + (" to another server" if on_bus else "")
        figures[f"{name}: instructions"] = counts.instructions
        figures[f"{name}: system calls"] = counts.steady
        figures[f"{name}: bytes sent"] = counts.sent
    foreign.end()
    return figures


def record(figures):
    with open(RECORD, "w") as file:
        file.writelines(f"{name} = {value:.1f}\n" for name, value in figures.items())


def check(figures):
    """Prints the changes; returns whether one is an increase or a name that only one of both has."""
    recorded = dict(line.rstrip().rsplit(" = ", 1) for line in open(RECORD) if " = " in line)
    failed = False
    for name in {**recorded, **figures}:
        before, now = float(recorded.get(name, "nan")), figures.get(name, float("nan"))
        if not abs(now - before) <= TOLERANCE * before:
            print(f"{name}: {before:.1f} recorded, {now:.1f} counted".replace("nan", "nothing"))
            failed = failed or not now < before
    return failed
