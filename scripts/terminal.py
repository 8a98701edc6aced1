# Makes an SVG picture of a command's output on a terminal: terminal.py COLUMNS COMMAND >PICTURE
# SPDX-License-Identifier: MIT
import html, re, subprocess, sys, unicodedata

COLOURS = {"31": "#ff7b72", "32": "#7ee787", "33": "#e3b341", "34": "#79c0ff"}
CELL, LINE, MARGIN, TEXT = 8.43, 19, 18, "#e6edf3"


def cells(text):
    return sum(0 if unicodedata.combining(c) else 2 if unicodedata.east_asian_width(c) in "WF" else 1 for c in text)


def spans(line):
    """The parts of a line, in the style that their escape sequences ask for."""
    style = ""
    for part in re.split(r"(\x1b\[[\d;]*m)", line):
        if part.startswith("\x1b"):
            codes = part[2:-1].split(";")
            style = "".join(
                f' fill="{COLOURS[code]}"' if code in COLOURS else {"1": ' font-weight="bold"', "2": ' fill-opacity="0.65"'}.get(code, "")
                for code in codes)
        elif part:
            yield f"<tspan{style}>{html.escape(part)}</tspan>"


columns, command = sys.argv[1:]
shell = f"stty cols {columns}; {command}"
printed = subprocess.run(["script", "-qec", shell, "/dev/null"], stdin=subprocess.DEVNULL, capture_output=True, check=True)
lines = [f"\x1b[2m$\x1b[0m {command}", *printed.stdout.decode().replace("\r", "").rstrip("\n").split("\n")]
width = MARGIN * 2 + CELL * max(cells(re.sub(r"\x1b\[[\d;]*m", "", line)) for line in lines)
height = MARGIN * 2 + LINE * len(lines)
print(f'<svg xmlns="http://www.w3.org/2000/svg" width="{width:.0f}" height="{height}" font-size="14" fill="{TEXT}"'
      ' font-family="ui-monospace, SFMono-Regular, Menlo, Consolas, DejaVu Sans Mono, monospace" xml:space="preserve">')
print('<rect width="100%" height="100%" rx="10" fill="#0d1117"/>')
for number, line in enumerate(lines, 1):
    print(f'<text x="{MARGIN}" y="{MARGIN + LINE * number - 5}">{"".join(spans(line))}</text>')
print("</svg>")
