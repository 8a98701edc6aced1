#!/usr/bin/python3
# SPDX-License-Identifier: MIT
# Plays notifications to real desktop servers, and is the user there.
#
# usage: cases.py          prints the heads of the table in docs/desktops.md
#        cases.py SERVER   prints its row, and its faults; works on the session's bus, in the current folder
import os
import sys
from pathlib import Path

from desktop import COLORS, run
from PIL import Image
from servers import SERVERS

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
    s.soon(lambda: s.closed(first) or s.closed(second), 2)
    assert not s.told(event="removed"), "counts as dismissed"


def queues(s):
    """A warning that waits behind two others gets its turn."""
    add(s), add(s, key="other")
    warning = s.notify(do="publish", text="Queued", warning=True)
    s.until(lambda: s.shows("Queued"), "never shown", 30)
    s.soon(lambda: s.closed(warning), 6)
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
    assert not s.soon(lambda: s.told(event="removed"), 11), "counts as dismissed"
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


def judge(s, case):
    """A cell of the table, and a fault that is not expected."""
    s.key = case.__name__
    expected = "fails by itself" if s.key in s.fails else ""
    if NEEDED.get(s.key, s.capabilities[0]) not in s.capabilities:
        return "–", ""
    try:
        case(s)
        return "✓", expected and f"no more {expected}"
    except Exception as fault:  # the other cases go on
        return "✗", "" if expected else str(fault) or repr(fault)
    finally:
        s.host(do="clear")
        if not s.soon(s.cleared, 2):
            s.restart()


def play(name):
    s = SERVERS[name]
    s.connect()
    s.serve()
    for file, color in COLORS.items():
        Image.new("RGB", (64, 64), color).save(file)
    Path("ini").write_text("[Notifications]\nNotifActionInput = true\n")
    s.play("--config", "ini")
    results = [(case.__name__, *judge(s, case)) for case in CASES]
    s.lumdsim.stdin.close()
    assert s.lumdsim.wait(10) == 0, "lumdsim failed"
    version = run("dpkg-query", "-W", "-f", "${Version}", s.packages[0]).decode()
    print("|", name, version, "|", *(cell + " |" for _, cell, _ in results))
    print(*(f"{name}: {case}: {fault}\n" for case, _, fault in results if fault), sep="", end="")


if sys.argv[1:]:
    play(sys.argv[1])
else:
    print("| |", *(case.__name__ + " |" for case in CASES), "\n|---|" + ":-:|" * len(CASES))
