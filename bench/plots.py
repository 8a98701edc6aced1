# SPDX-License-Identifier: MIT
"""Draws the pictures of docs/performance.md, readable on light and on dark."""
import os
import subprocess
import time

from counts import ADD, PUBLISH
from sides import Counted

FOLDER = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "docs", "performance")
LIVE = (10, 30, 100, 300, 1000, 3000, 10000)
CURVES = {"new": "new notification", "update": "update", "dismiss-newest": "dismissal", "remove": "removal",
          "repeat": "unchanged repetition"}
STYLE = """
set terminal svg size 760,{height} font "sans-serif,14" dynamic
set border 3 lc "#808080"
set tics nomirror textcolor "#808080"
set key textcolor "#808080"
set xlabel textcolor "#808080"
set ylabel textcolor "#808080"
set title textcolor "#808080"
set grid lc "#808080" lw 0.3
set linetype 1 lc "#3987e5" lw 2 pt 7 ps 0.6
set linetype 2 lc "#d95926" lw 2 pt 7 ps 0.6
set linetype 3 lc "#199e70" lw 2 pt 7 ps 0.6
set linetype 4 lc "#c98500" lw 2 pt 7 ps 0.6
set linetype 5 lc "#d55181" lw 2 pt 7 ps 0.6
set linetype 6 lc "#9085e9" lw 2 pt 7 ps 0.6
"""

# The steps of an add: the cost of each first function, without the functions after it, which it calls.
STEPS = {
    "plug-in: fields and hints": (ADD, "remoteActions(", "setSmallIcon", "setLargeIcon", PUBLISH),
    "plug-in: actions": ("remoteActions(",),
    "plug-in: icons": ("setSmallIcon", "setLargeIcon"),
    "client library": (PUBLISH, "remoteActionsText", "QDBusConnection::callWithCallback", "Inbox::await"),
    "client library: actions as JSON": ("remoteActionsText",),
    "Qt and libdbus: writing and sending the message": ("QDBusConnection::callWithCallback",),
    "waiting for the identifier": ("Inbox::await",),
}


def gnuplot(name, script, height=380):
    os.makedirs(FOLDER, exist_ok=True)
    with open(os.path.join(FOLDER, name), "w") as file:
        subprocess.run(["gnuplot"], input=STYLE.format(height=height) + script, text=True, check=True, stdout=file)


def block(name, rows):
    return f"${name} << END\n" + "".join(" ".join(map(str, row)) + "\n" for row in rows) + "END\n"


def draw_cost():
    """Instructions of each operation."""
    rows = []
    for live in LIVE:
        counted = Counted("plugin", live)
        time.sleep(min(10, 2 + live / 200))  # the client library may wait for the server again
        rows.append([live, *(counted.instructions(operation, 10) for operation in CURVES)])
        counted.end()
        print(rows[-1], flush=True)
    curves = ", ".join(f'$data using 1:(${number}/1000) with linespoints title "{title}"'
                       for number, title in enumerate(CURVES.values(), 2))
    gnuplot("cost.svg", block("data", rows) + 'set logscale x\nset xlabel "live notifications"\nset format x "%.0f"\n'
            'set ylabel "thousand instructions"\nset yrange [0:]\nset key outside top center horizontal\nplot ' + curves)


def steps(operation):
    counted = Counted("plugin", 20)
    inclusive = counted.inclusive(operation, 10, {name for names in STEPS.values() for name in names})
    counted.end()
    rows = {}
    for step, (first, *rest) in STEPS.items():
        sign = 1 if step == "plug-in: icons" else -1
        rows[step] = inclusive[first] + sign * sum(inclusive[name] for name in rest)
    return rows


def draw_steps():
    bars = {name: steps(operation) for operation, name in
            (("new", "new"), ("icons", "with two icons"), ("update", "update"), ("repeat", "repetition"))}
    rows = [[f'"{name}"', *(values[step] / 1000 for step in STEPS)] for name, values in bars.items()]
    for name, values in bars.items():
        print(name, {step: round(value) for step, value in values.items()}, round(sum(values.values())))
    series = ", ".join(f'$data using {number}:xtic(1) title "{step}"' for number, step in enumerate(STEPS, 2))
    gnuplot("steps.svg", block("data", rows) + 'set style data histograms\nset style histogram rowstacked\n'
            'set style fill solid\nset boxwidth 0.6\nset ylabel "thousand instructions"\nset yrange [0:]\n'
            "unset grid\nset grid y\nset key outside top center maxcols 2\nplot " + series, height=460)


def draw():
    draw_steps()
    draw_cost()
