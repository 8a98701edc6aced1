#!/usr/bin/python3
# SPDX-License-Identifier: MIT
# Plays notifications to real desktop servers, each on a bus and a display of its own, and is the user there.
#
# usage: cases.py [SERVER...|all]             prints a row of docs/desktops.md for each, and its faults
#        cases.py --pictures [SERVER...|all]  makes the pictures in docs/desktops/
#        cases.py --packages [SERVER...|all]  lists the Debian packages that it takes
import contextlib
import json
import os
import subprocess
import sys
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

from drivers import COLORS, SERVERS, Desktop, TOP, keep, run, start, within
from PIL import Image, ImageChops

CHAT = {"appName": "Chat", "package": "org.example.chat", "category": "msg", "importance": 3, "clearable": True,
        "title": "Ada <b>Byron</b>", "text": "Lunch at <i>Café</i> & Co?",
        "actions": [{"title": "default", "identifier": "0"},
                    {"title": "Reply", "identifier": "1", "freeInput": True, "choices": ["Yes"]},
                    {"title": "Mute", "identifier": "2"}]}


def add(s, **changes):
    text = f"{CHAT['text']} {s.key}"  # of its own: a server may leave out a text that it has just shown
    return s.notify(**{"do": "add", **CHAT, "key": s.key, "text": text, "smallIcon": os.path.abspath("icon.png"),
                       **changes})


# --- The cases. Each begins with a bare screen.

def face(s):
    add(s, largeIcon=os.path.abspath("face.png"))
    s.until(lambda: s.has("face.png"), "not shown")


def icon(s):
    add(s)
    s.until(lambda: s.has("icon.png"), "not shown")


def text(s):
    add(s, subText="family")
    buttons = ["Yes", "Mute"] if "actions" in s.capabilities else []
    s.until(lambda: s.shows(CHAT["title"], CHAT["text"], "family", *buttons), "other texts or buttons")


def headline(s):
    add(s, title="Lone <b>title</b>", text="")
    s.until(lambda: s.shows("Lone <b>title</b>"), "not the title alone")


def alike(s):
    """Two with the same texts are two."""
    first, second = add(s), add(s, key="other")
    with contextlib.suppress(AssertionError):
        s.until(lambda: s.closed(first) or s.closed(second), "", 2)
    assert not s.told(event="removed"), "counts as dismissed"


def queues(s):
    """A warning that waits behind two others gets its turn."""
    add(s), add(s, key="other")
    warning = s.notify(do="publish", text="Queued", warning=True)
    s.until(lambda: s.shows("Queued"), "never shown", 30)
    with contextlib.suppress(AssertionError):
        s.until(lambda: s.closed(warning), "", 6)
    assert (warning.id,) not in s.sent("CloseNotification", warning.since), "closed too early"


def replaced(s):
    first, second = add(s), add(s, title="Grace Hopper")
    assert first.id == second.replaces, "a second one"
    s.until(lambda: s.shows("Grace Hopper") and not s.shows("Byron"), "not the new title alone")


def button(s):
    s.user(lambda shown=add(s): s.act("press", shown, "Mute"), event="action", identifier="2")


def tap(s):
    s.user(lambda shown=add(s): s.act("tap", shown), event="action", title="default")


def choice(s):
    s.user(lambda shown=add(s): s.act("press", shown, "Yes"), event="invoked", answer="Yes")


def reply(s):
    s.user(lambda shown=add(s): (s.act("press", shown, "Reply"), s.still(), run("xdotool", "type", "Soon\n")),
           event="invoked", answer="Soon")


def dismissed(s):
    s.user(lambda shown=add(s, actions=[], subText="family"): s.act("dismiss", shown), event="removed")
    s.until(s.cleared, "still there")


def removed(s):
    shown = add(s)
    s.until(lambda: not s.cleared(), "not shown")
    s.host(do="remove", key=s.key)
    s.until(lambda: s.closed(shown) and s.cleared(), "still there")


def progress(s):
    add(s, progressMax=100, progress=25)
    before = s.still()
    body = add(s, progressMax=100, progress=75, itemCount=2).body
    s.until(lambda: s.shows("75%") if "75%" in body else s.changed(before) > 300, "not shown")


def passes(s):
    messages = [s.notify(do="publish", text="Passing"), s.notify(do="publish", text="Warning", warning=True)]
    s.until(lambda: all(map(s.closed, messages)), "messages stay", 40)


def stays(s):
    shown = add(s)
    with contextlib.suppress(AssertionError):
        s.until(lambda: s.told(event="removed"), "", 11)
    assert not s.told(event="removed"), "counts as dismissed"
    s.host(do="remove", key=s.key)
    s.until(lambda: (shown.id,) in s.sent("CloseNotification", shown.since), "not closed")


def clears(s):
    shown = [add(s), s.notify(do="publish", text="Passing"),
             s.notify(do="uninstallResult", code=0, appName="Maps", headline="Gone")]
    s.host(do="clear")
    s.until(lambda: all(map(s.closed, shown)), "not all", 3)


def restarts(s):
    add(s)
    before = len(s.notified())
    s.restart()
    s.until(lambda: s.notified()[before:], "not shown again", 30)


def plain(s):
    """Sends nothing that only our own server understands."""
    s.notify(do="publish", text="Passing")
    private = [hint for hint in add(s).hints if hint.startswith("x-vorn")] + s.sent("GetNotifications")
    assert not private, f"private hints or calls: {private}"
    assert all(each.app_name for each in s.notified()), "no application name"


CASES = (face, icon, text, headline, alike, replaced, button, tap, choice, reply, dismissed, removed, progress, queues,
         passes, stays, clears, restarts, plain)
NEEDED = {"button": "actions", "tap": "actions", "choice": "actions", "reply": "inline-reply"}


def picture(s):
    """Cuts a chat message of the day in examples/, which sends a photo, out of the screen."""
    day = (TOP / "examples/day.jsonl").read_text().replace('"icons/', f'"{TOP}/examples/icons/')
    lunch = json.loads(next(line for line in day.splitlines() if "Lunch at" in line))
    lunch["actions"][1]["choices"] = []
    s.notify(**{**lunch, "text": "Photo of <Corner Café> & Co 🍜", "subText": "Hiking friends", "progressMax": 4,
                "progress": 3})
    s.until(lambda: not s.cleared(), "not shown")
    s.items()
    screen = s.still()
    box = ImageChops.difference(s.bare, screen).convert("L").point(lambda v: v >= 8 and 255).getbbox()
    box = max(box[0] - 8, 0), max(box[1] - 8, 0), min(box[2] + 8, screen.width), min(box[3] + 8, screen.height)
    screen.crop(box).quantize(256).save(TOP / f"docs/desktops/{s.name}.png", optimize=True)


def judge(s, case):
    """A cell of the table, and a fault that is not expected."""
    s.key = case.__name__
    expected = "fails by itself" if s.key in s.fails else ""
    if NEEDED.get(s.key, s.capabilities[0]) not in s.capabilities:
        return "–", ""
    try:
        with within(60):
            case(s)
        return "✓", expected and f"no more {expected}"
    except Exception as fault:  # the other cases go on
        return "✗", "" if expected else str(fault) or repr(fault)
    finally:
        with within(60):
            s.host(do="clear")
            with contextlib.suppress(AssertionError):
                s.until(s.cleared, "", 2)
            if not s.cleared():
                s.restart()


def play(s):
    with within(60):
        s.connect()
        s.serve()
        s.capabilities = s.call("GetCapabilities")[0]
    for name, color in COLORS.items():
        Image.new("RGB", (64, 64), color).save(name)
    Path("ini").write_text("[Notifications]\nNotifActionInput = true\n")
    s.lumdsim = start(TOP / "build/release/bin/lumdsim", "--desktop", "--json", "--config", "ini", "-",
                      stdin=subprocess.PIPE, stdout=open("events", "w"))
    results = [(case.__name__, *judge(s, case)) for case in ([picture] if s.scale > 1 else CASES)]
    s.lumdsim.stdin.close()
    assert s.lumdsim.wait(10) == 0, "lumdsim failed"
    return [cell for _, cell, _ in results], [f"{s.name}: {case}: {fault}" for case, _, fault in results if fault]


def serve(name):
    """Plays in a process of its own, since a server's home and display are in its environment."""
    command = [sys.executable, __file__, "--alone", name, *sys.argv[1:]]
    done = subprocess.run(command, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, timeout=700)
    return json.loads(done.stdout or '[[], ["no result"]]')


def main():
    words = [word for word in sys.argv[1:] if not word.startswith("--")]
    if unknown := set(words) - {"all", *SERVERS}:
        print("No such server:", *unknown, file=sys.stderr)
        sys.exit(2)
    if "--pictures" in sys.argv:
        Desktop.scale = 2
    if "--alone" in sys.argv:
        return print(json.dumps(keep(words[0], play, 600)))
    names = list(SERVERS) if "all" in words else words or [name for name in SERVERS if SERVERS[name].light]
    if "--packages" in sys.argv:
        pictures = {"picom", "hsetroot", "swaybg"} if Desktop.scale > 1 else set()
        return print(*pictures.union(*(SERVERS[name].packages + SERVERS[name].needs.split() for name in names)))
    print("| |", *(case.__name__ + " |" for case in CASES), "\n|---|" + ":-:|" * len(CASES))
    faults = []
    with ThreadPoolExecutor(3) as pool:
        for name, (cells, wrong) in zip(names, pool.map(serve, names)):
            version = run("dpkg-query", "-W", "-f", "${Version}", SERVERS[name].packages[0]).decode()
            print("|", name, version, "|", *(cell + " |" for cell in cells), flush=True)
            faults += wrong
    sys.exit("\n".join(faults) or 0)


if __name__ == "__main__":
    main()
