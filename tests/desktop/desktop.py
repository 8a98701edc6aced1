# SPDX-License-Identifier: MIT
"""The driver of a notification server: starts it, looks at its screen and acts as its user. Every wait is bounded."""
import contextlib
import html
import json
import os
import random
import signal
import subprocess
import sys
import tempfile
import time
from collections import namedtuple
from pathlib import Path

import gi
from jeepney import DBusAddress, HeaderFields, new_method_call
from jeepney.bus_messages import Monitoring, message_bus
from jeepney.io.blocking import Proxy, open_dbus_connection
from PIL import Image, ImageChops, ImageGrab

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi, GLib  # noqa: E402

TOP = Path(__file__).resolve().parents[2]
NAME = "org.freedesktop.Notifications"
COLORS = {"face.png": (255, 0, 255), "icon.png": (0, 255, 0)}
Notified = namedtuple("Notified", "app_name replaces icon summary body actions hints timeout id since")


def start(*command, **options):
    return subprocess.Popen(command, **{"stdin": subprocess.DEVNULL, "stdout": sys.stderr, **options})


def run(*command):
    with tempfile.TemporaryFile() as output:  # a pipe would stay open in processes that the command leaves behind
        subprocess.run([str(word) for word in command], stdin=subprocess.DEVNULL, stdout=output, timeout=10)
        output.seek(0)
        return output.read()


class Desktop:
    """A server under Xvfb. Its windows are read through accessibility, and clicked at the places found there."""

    needs = "xvfb xdotool at-spi2-core"
    size, scale = "800x600", 1

    def __init__(self, packages, *commands, prepare="", press="{label}", tap="{title}", dismiss="", light=True, wait=0,
                 fails="", by_owner=False):
        self.packages, self.light, self.fails = packages.split(), light, fails.split()
        self.prepare, self.commands = prepare, commands
        self.wait = wait  # until its own first windows are gone
        self.by_owner = by_owner  # whether to end the process that owns the name, not the one that was started
        self.acts = {"press": press, "tap": tap, "dismiss": dismiss}  # the text to click at
        self.messages = []

    def display(self):
        number = random.randrange(1000, 50000)  # two servers that look for a free one may find the same
        os.environ["DISPLAY"] = f":{number}"
        start("Xvfb", f":{number}", "-screen", "0", self.size + "x24", "-dpi", str(96 * self.scale), "-nolisten",
              "tcp", "-noreset")  # a reset, after the last window, refuses connections for a moment
        self.until(lambda: os.path.exists(f"/tmp/.X11-unix/X{number}"), "no display")

    def connect(self):
        os.environ["DBUS_SYSTEM_BUS_ADDRESS"] = os.environ["DBUS_SESSION_BUS_ADDRESS"]
        self.bus, self.monitor = open_dbus_connection(), open_dbus_connection()
        Proxy(Monitoring(), self.monitor, timeout=5).BecomeMonitor([])
        self.display()
        self.ask("UpdateActivationEnvironment", dict(os.environ))

    def serve(self):
        run("sh", "-c", self.prepare)
        for command in self.commands:
            self.server = start("sh", "-c", "exec " + command)
        self.until(lambda: self.served() and self.ready(), "does not start", 30)
        self.point(0, 300)
        self.bare = self.still()

    def ready(self):
        self.listen(self.wait)
        return True

    def ask(self, method, *arguments):
        return getattr(Proxy(message_bus, self.bus, timeout=5), method)(*arguments)

    def served(self):
        return self.ask("NameHasOwner", NAME)[0]

    def restart(self):
        self.listen(0.3)  # calls under way would fail
        if self.served():
            process = self.ask("GetConnectionUnixProcessID", NAME)[0] if self.by_owner else self.server.pid
            os.kill(process, signal.SIGTERM)
            self.until(lambda: not self.served(), "does not end")
        self.serve()

    # --- The calls and signals on the bus, and the reports to the host

    def call(self, member, *arguments, path="/org/freedesktop/Notifications", name=NAME):
        message = new_method_call(DBusAddress(path, name, name), member, *arguments)
        return self.bus.send_and_get_reply(message, timeout=5).body

    def listen(self, seconds=0.05):
        """Reads from the bus until it is quiet for so long, or for 2 s more at most."""
        deadline = time.monotonic() + seconds + 2
        with contextlib.suppress(TimeoutError):
            while time.monotonic() < deadline:
                self.messages.append(self.monitor.receive(timeout=seconds))

    def soon(self, condition, seconds):
        """The condition's value, once it is true or so many seconds have passed."""
        deadline = time.monotonic() + seconds
        while not (result := condition()) and time.monotonic() < deadline:
            self.listen()
        return result

    def until(self, condition, fault, seconds=10):
        result = self.soon(condition, seconds)
        assert result, fault
        return result

    def sent(self, member, since=0):
        return [message.body for message in self.messages[since:]
                if message.header.fields.get(HeaderFields.member) == member]

    def notified(self):
        """Every Notify that was answered."""
        calls, answered = {}, []
        for i, message in enumerate(self.messages):
            fields = message.header.fields
            call = fields.get(HeaderFields.destination), fields.get(HeaderFields.reply_serial)
            if call in calls and len(message.body) == 1:
                answered.append(Notified(*calls[call], *message.body, i))
            elif fields.get(HeaderFields.member) == "Notify":
                calls[fields[HeaderFields.sender], message.header.serial] = message.body
        return answered

    def closed(self, notified):
        return notified.id in [body[0] for body in self.sent("NotificationClosed", notified.since)]

    def play(self, *options):
        """Starts a host for this server."""
        self.capabilities = self.call("GetCapabilities")[0]
        self.lumdsim = start(TOP / "build/release/bin/lumdsim", "--desktop", "--json", *options, "-",
                             stdin=subprocess.PIPE, stdout=open("events", "w"))

    def host(self, **event):
        self.lumdsim.stdin.write(json.dumps(event).encode() + b"\n")
        self.lumdsim.stdin.flush()

    def notify(self, **event):
        """Plays an event of the host, and returns its Notify call."""
        before = len(self.notified())
        self.host(**event)
        return self.until(lambda: self.notified()[before:], "no Notify")[0]

    def told(self, **event):
        with open("events") as lines:
            told = [json.loads(line) for line in lines if line.endswith("\n")]
        return [each for each in told if {**event, "key": self.key}.items() <= each.items()]

    # --- The screen, and the user's acts there

    def screenshot(self):
        return ImageGrab.grab(xdisplay=os.environ["DISPLAY"])

    def has(self, picture):
        return 100 < sum(count for count, color in self.screenshot().getcolors(1 << 24)
                         if all(a > 140 if b else a < 60 for a, b in zip(color, COLORS[picture])))

    def changed(self, before):
        """The number of changed pixels."""
        return sum(ImageChops.difference(before, self.screenshot()).convert("L").histogram()[24:])

    def still(self):
        """The screen, once it changes no more."""
        def same():
            before = self.screenshot()
            self.listen(0.2)
            return not self.changed(before) and before
        return self.until(same, "the screen keeps changing", 30)

    def news(self, screen, least):
        """The box of pixels that differ from those of the bare screen."""
        return ImageChops.difference(self.bare, screen).convert("L").point(lambda v: v >= least and 255).getbbox()

    def cleared(self):
        return self.changed(self.bare) < 1000

    def items(self):
        """Labels and buttons, with their texts."""
        def collect(node):
            for i in range(node.get_child_count()):
                with contextlib.suppress(GLib.Error):  # some have just gone
                    child = node.get_child_at_index(i)
                    if (child and child.get_role() in (Atspi.Role.LABEL, Atspi.Role.PUSH_BUTTON, Atspi.Role.TEXT)
                            and child.get_extents(Atspi.CoordType.SCREEN).width > 0):
                        yield child.get_name() or Atspi.Text.get_text(child, 0, -1), child
                    yield from collect(child) if child else ()

        while GLib.MainContext.default().iteration(False):
            pass
        Atspi.get_desktop(0).clear_cache()
        return list(collect(Atspi.get_desktop(0)))

    def latest(self):
        """The texts that were sent last: a substitute for those on screens that cannot be read."""
        sent = self.notified()[-1]
        body = html.unescape(sent.body) if "body-markup" in self.capabilities else sent.body
        return [(text, None) for text in (sent.summary, body, *sent.actions[1::2])]

    def shows(self, *texts):
        shown = [text for text, _ in self.items()]
        return all(any(text in each for each in shown) for text in texts)

    def act(self, what, notified, label=""):
        key = dict(zip(notified.actions[1::2], notified.actions[::2])).get(label)
        self.perform(self.acts[what].format(id=notified.id, title=notified.summary, label=label, key=key))

    def perform(self, text):
        """Clicks at an item with this text, or at one without any, or at an X in the corner of the screen's change."""
        if text == "corner":
            box = self.news(self.still(), 24)
            return self.point(box[2] - 20, box[1] + 20, click=True)
        for shown, item in reversed(self.items()):
            if item and (text in shown if text else not shown):
                return self.click(item)

    def click(self, item):
        place = item.get_extents(Atspi.CoordType.SCREEN)
        self.point(place.x + place.width // 2, place.y + place.height // 2, click=True)

    def point(self, x, y, click=False):
        press = ["sleep", 0.3, "mousedown", 1, "sleep", 0.1, "mouseup", 1]  # not too fast for some
        run("xdotool", "mousemove", x, y, *(press if click else []))

    def user(self, act, **event):
        """Acts until the host has heard: a window that has just come takes no clicks."""
        def heard():
            self.still()
            act()
            return self.soon(lambda: self.told(**event), 1)

        self.until(heard, f"not told {event}")
        self.point(0, 300)
        self.listen(0.2)
        assert len(self.told(**event)) == 1, "told twice"
