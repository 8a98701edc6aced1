#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""Plays notifications to real desktop servers, each on a bus and a display of its own, and is the user there.

usage: desktop.py [SERVER...|all]             prints a row of docs/desktops.md for each, and what is wrong
       desktop.py --pictures [SERVER...|all]  makes the pictures in docs/desktops/
       desktop.py --packages [SERVER...|all]  lists the Debian packages that it takes
"""
import contextlib
import ctypes
import html
import io
import json
import multiprocessing
import os
import shutil
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

TOP = Path(__file__).resolve().parent.parent
NAME = "org.freedesktop.Notifications"
BUS = """<busconfig><type>session</type><listen>unix:dir={0}</listen><servicedir>{0}/services</servicedir>
<policy context="default"><allow send_destination="*"/><allow receive_sender="*"/><allow own="*"/></policy>
</busconfig>"""
ACTIVATED = "org.a11y.Bus", "org.kde.ActivityManager", "org.gnome.Shell.Notifications"
COLORS = {"face.png": (255, 0, 255), "icon.png": (0, 255, 0)}
CHAT = {"appName": "Chat", "package": "org.example.chat", "category": "msg", "importance": 3, "clearable": True,
        "title": "Ada <b>Byron</b>", "text": "Lunch at <i>Café</i> & Co?",
        "actions": [{"title": "default", "identifier": "0"},
                    {"title": "Reply", "identifier": "1", "freeInput": True, "choices": ["Yes"]},
                    {"title": "Mute", "identifier": "2"}]}
Notified = namedtuple("Notified", "app_name replaces icon summary body actions hints timeout id since")


def start(*command, **options):
    return subprocess.Popen(command, **{"stdin": subprocess.DEVNULL, **options})


def run(*command):
    return subprocess.run([str(word) for word in command], stdout=subprocess.PIPE, timeout=10).stdout


class Desktop:
    """A server under Xvfb. Its windows are read as a screen reader does, and clicked at where that found something."""

    needs = "xvfb xdotool at-spi2-core"

    def __init__(self, packages, *commands, press="{label}", tap="{title}", dismiss="", short=None):
        self.packages, self.commands, self.short = packages.split(), commands, short or {}
        self.acts = {"press": press, "tap": tap, "dismiss": dismiss}  # what to click at
        self.messages = []

    def display(self):
        reading, writing = os.pipe()
        start("Xvfb", "-displayfd", str(writing), "-screen", "0", "800x600x24", "-nolisten", "tcp", pass_fds=[writing])
        os.environ["DISPLAY"] = ":" + os.read(reading, 20).decode().strip()

    def connect(self):
        self.display()
        os.mkdir("services")
        for service in ACTIVATED:
            with contextlib.suppress(FileNotFoundError):
                shutil.copy(f"/usr/share/dbus-1/services/{service}.service", "services")
        Path("bus.conf").write_text(BUS.format(os.getcwd()))
        bus = start("dbus-daemon", "--nofork", "--print-address", "--config-file=bus.conf", stdout=subprocess.PIPE)
        address = bus.stdout.readline().decode().strip()
        os.environ.update(DBUS_SESSION_BUS_ADDRESS=address, DBUS_SYSTEM_BUS_ADDRESS=address)
        self.bus, self.monitor = open_dbus_connection(), open_dbus_connection()
        Proxy(Monitoring(), self.monitor).BecomeMonitor([])

    def serve(self):
        for command in self.commands:
            self.server = start("sh", "-c", "exec " + command)
        self.until(lambda: Proxy(message_bus, self.bus).NameHasOwner(NAME)[0] and self.ready(), "does not start", 20)
        self.point(0, 300)
        self.bare = self.still()

    def ready(self):
        return True

    def restart(self):
        self.listen(0.3)  # what is under way would fail
        self.server.terminate()
        self.server.wait()
        self.serve()

    # --- What goes over the bus, and what the host is told

    def call(self, member, *arguments, path="/org/freedesktop/Notifications", name=NAME):
        return self.bus.send_and_get_reply(new_method_call(DBusAddress(path, name, name), member, *arguments)).body

    def listen(self, seconds=0.05):
        """Takes in what goes over the bus until nothing does for so long."""
        with contextlib.suppress(TimeoutError):
            while True:
                self.messages.append(self.monitor.receive(timeout=seconds))

    def until(self, condition, what, seconds=10):
        deadline = time.monotonic() + seconds
        while not (result := condition()):
            assert time.monotonic() < deadline, what
            self.listen()
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

    def host(self, **event):
        self.lumdsim.stdin.write(json.dumps(event).encode() + b"\n")
        self.lumdsim.stdin.flush()

    def notify(self, **event):
        """Has the host do something, and gives what it notifies of."""
        before = len(self.notified())
        self.host(**event)
        return self.until(lambda: self.notified()[before:], "no Notify")[0]

    def add(self, **changes):
        text = f"{CHAT['text']} {self.key}"  # of its own: a server may leave out what it has just shown
        return self.notify(**{"do": "add", **CHAT, "key": self.key, "text": text,
                              "smallIcon": os.path.abspath("icon.png"), **changes})

    def told(self, **event):
        with open("events") as lines:
            told = [json.loads(line) for line in lines if line.endswith("\n")]
        return [each for each in told if {**event, "key": self.key}.items() <= each.items()]

    # --- What is on the screen, and what the user does there

    def screenshot(self):
        return ImageGrab.grab(xdisplay=os.environ["DISPLAY"])

    def has(self, picture):
        return 100 < sum(count for count, color in self.screenshot().getcolors(1 << 24)
                         if all(abs(a - b) < 24 for a, b in zip(color, COLORS[picture])))

    def changed(self, before):
        """How many pixels are not what they were."""
        return sum(ImageChops.difference(before, self.screenshot()).convert("L").histogram()[24:])

    def still(self):
        """The screen, once it changes no more."""
        before = None
        while not before or self.changed(before):
            before = self.screenshot()
            self.listen(0.2)
        return before

    def cleared(self):
        return self.changed(self.bare) < 1000

    def items(self):
        """Labels and buttons, with their texts."""
        def collect(node):
            for i in range(node.get_child_count()):
                with contextlib.suppress(GLib.Error):  # some have just gone
                    child = node.get_child_at_index(i)
                    if (child.get_role() in (Atspi.Role.LABEL, Atspi.Role.PUSH_BUTTON, Atspi.Role.TEXT)
                            and child.get_extents(Atspi.CoordType.SCREEN).width > 0):
                        yield child.get_name() or Atspi.Text.get_text(child, 0, -1), child
                    yield from collect(child)

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
        for shown, item in reversed(self.items()):
            if item and (text in shown if text else not shown):
                return self.click(item)

    def click(self, item):
        place = item.get_extents(Atspi.CoordType.SCREEN)
        self.point(place.x + place.width // 2, place.y + place.height // 2, "click", 1)

    def point(self, x, y, *click):
        run("xdotool", "mousemove", x, y, *click)

    def user(self, act, **event):
        """Acts until the host has heard: a window that has just come takes no clicks."""
        def heard():
            self.still()
            act()
            with contextlib.suppress(AssertionError):
                return self.until(lambda: self.told(**event), "", 1)

        self.until(heard, f"not told {event}")
        self.point(0, 300)
        self.listen(0.2)
        assert len(self.told(**event)) == 1, "told twice"


class Dunst(Desktop):
    needs = "xvfb"
    items = Desktop.latest

    def display(self):
        super().display()
        settings = Path("/etc/xdg/dunst/dunstrc").read_text()
        Path("dunstrc").write_text(settings.replace("/usr/bin/dmenu -p dunst:", "grep -F -f choice"))

    def perform(self, command):
        run("sh", "-c", command)


class Awesome(Desktop):
    """Has no accessibility, but a language of its own to look at widgets with."""

    needs = "xvfb xdotool"
    widgets = """
        local lines = ''
        for s in screen do for _, corner in pairs(require('naughty').notifications[s]) do for _, n in ipairs(corner) do
            local place = n.box:geometry()
            for y = 1, place.height, 9 do for x = 1, place.width, 9 do
                for _, hit in ipairs(n.box:find_widgets(x, y)) do
                    local text = (hit.widget.text or ''):gsub('\\n', ' ')
                    lines = lines .. place.x + x .. ' ' .. place.y + y .. ' ' .. text .. '\\n'
                end
            end end
        end end end
        return lines"""

    def items(self):
        lines = run("awesome-client", self.widgets).decode().splitlines()
        return [(words[2], words[:2]) for words in (line.split(" ", 2) for line in lines) if len(words) == 3]

    def click(self, item):
        self.point(*item, "click", 1)


class Sway(Desktop):
    needs = "sway grim at-spi2-core"

    def display(self):
        os.environ.update(WLR_BACKENDS="headless", WLR_LIBINPUT_NO_DEVICES="1", WLR_RENDERER="pixman")
        os.mkfifo("up")
        Path("sway").write_text("output * resolution 800x600\nexec echo $WAYLAND_DISPLAY >up\n")
        start("sway", "-c", "sway")
        os.environ["WAYLAND_DISPLAY"] = Path("up").read_text().strip()

    def screenshot(self):
        return Image.open(io.BytesIO(run("grim", "-"))).convert("RGB")

    def items(self):
        return self.latest() + super().items()  # which lacks bodies

    def click(self, item):
        item.do_action(0)

    def point(self, x, y):
        """There is no pointer."""


class Mako(Sway):
    items, perform = Desktop.latest, Dunst.perform


class Gnome(Desktop):
    needs = "at-spi2-core gjs"

    def display(self):
        os.mkdir("gnome-shell")
        Path("gnome-shell/lock-warning-shown").touch()

    def script(self, text):
        return self.call("Eval", "s", (text,), path="/org/gnome/Shell", name="org.gnome.Shell")[-1]

    def ready(self):
        return self.script("""const {overview, layoutManager} = imports.ui.main;
            overview.hide();
            !overview.visible && !layoutManager._startingUp""") == "true"

    def screenshot(self):
        self.call("Screenshot", "bbs", (False, False, os.path.abspath("screen.png")),
                  path="/org/gnome/Shell/Screenshot", name="org.gnome.Shell.Screenshot")
        return Image.open("screen.png").convert("RGB")

    def items(self):
        self.point(400, 60)  # which unfolds it
        return super().items()

    def point(self, x, y, *click):
        self.script("""const {Clutter} = imports.gi;
            window.pointer ??= Clutter.get_default_backend().get_default_seat().create_virtual_device(
                Clutter.InputDeviceType.POINTER_DEVICE);
            const time = global.get_current_time() * 1000;
            pointer.notify_absolute_motion(time, 400, 599);
            pointer.notify_absolute_motion(time, %d, %d);
            for (const state of [Clutter.ButtonState.PRESSED, Clutter.ButtonState.RELEASED].slice(%d))
                pointer.notify_button(time, Clutter.BUTTON_PRIMARY, state)""" % (x, y, 0 if click else 2))


# "short" is what falls short: the case, and how. One of these that passes is an error too.
SERVERS = {
    "dunst": Dunst("dunst", "dunst -conf dunstrc", press="echo {label} >choice; dunstctl context",
                   tap="dunstctl action 0", dismiss="dunstctl close"),
    "mate": Desktop("mate-notification-daemon", "/usr/lib/mate-notification-daemon/mate-notification-daemon"),
    "xfce": Desktop("xfce4-notifyd", "/usr/lib/*/xfce4/notifyd/xfce4-notifyd", tap="Open", dismiss="{title}"),
    "notification-daemon": Desktop("notification-daemon", "/usr/lib/notification-daemon/notification-daemon"),
    "lxqt": Desktop("lxqt-notificationd openbox", "openbox", "lxqt-notificationd", dismiss="x"),
    "awesome": Awesome("awesome", "awesome", dismiss="{title}"),
    "mako": Mako("mako-notifier", "mako", press="makoctl invoke -n {id} '{key}'", tap="makoctl invoke -n {id}",
                 dismiss="makoctl dismiss -n {id}"),
    "swaync": Sway("sway-notification-center", "swaync"),
    "kde": Desktop("plasma-workspace plasma-desktop openbox", "openbox", "plasmashell --no-respawn", dismiss="Close"),
    "gnome": Gnome("gnome-shell", "gnome-shell --headless --virtual-monitor 800x600 --no-x11 --unsafe-mode"),
}
LIGHT = list(SERVERS)[:8]


# --- The cases. Each begins with a bare screen.

def face(s):
    s.add(largeIcon=os.path.abspath("face.png"))
    s.until(lambda: s.has("face.png"), "not shown")


def icon(s):
    s.add()
    s.until(lambda: s.has("icon.png"), "not shown")


def text(s):
    s.add(subText="family")
    s.until(lambda: s.shows(CHAT["title"], CHAT["text"], "family", "Yes", "Mute"), "other texts or buttons")


def replaced(s):
    first, second = s.add(), s.add(title="Grace Hopper")
    assert first.id == second.replaces == second.id, "a second one"
    s.until(lambda: s.shows("Grace Hopper"), "not the new title")


def button(s):
    s.user(lambda shown=s.add(): s.act("press", shown, "Mute"), event="action", identifier="2")


def tap(s):
    s.user(lambda shown=s.add(): s.act("tap", shown), event="action", title="default")


def choice(s):
    s.user(lambda shown=s.add(): s.act("press", shown, "Yes"), event="invoked", answer="Yes")


def reply(s):
    if "inline-reply" not in s.capabilities:
        return "–"
    s.user(lambda shown=s.add(): (s.act("press", shown, "Reply"), s.still(), run("xdotool", "type", "Soon\n")),
           event="invoked", answer="Soon")


def dismissed(s):
    s.user(lambda shown=s.add(actions=[]): s.act("dismiss", shown), event="removed")
    s.until(s.cleared, "still there")


def removed(s):
    shown = s.add()
    s.until(lambda: not s.cleared(), "not shown")
    s.host(do="remove", key=s.key)
    s.until(lambda: s.closed(shown) and s.cleared(), "still there")


def progress(s):
    s.add(progressMax=100, progress=25)
    before = s.still()
    body = s.add(progressMax=100, progress=75, itemCount=2).body
    s.until(lambda: s.shows("75%") if "75%" in body else s.changed(before) > 300, "not shown")


def passes(s):
    messages = [s.notify(do="publish", text="Passing"), s.notify(do="publish", text="Warning", warning=True)]
    s.until(lambda: all(map(s.closed, messages)), "messages stay", 11)


def stays(s):
    shown = s.add()
    with contextlib.suppress(AssertionError):
        s.until(lambda: s.told(event="removed"), "", 11)
    assert not s.told(event="removed"), "counts as dismissed"
    s.host(do="remove", key=s.key)
    s.until(lambda: (shown.id,) in s.sent("CloseNotification", shown.since), "not closed")


def clears(s):
    shown = [s.add(), s.notify(do="publish", text="Passing"),
             s.notify(do="uninstallResult", code=0, appName="Maps", headline="Gone")]
    s.host(do="clear")
    s.until(lambda: all(map(s.closed, shown)), "not all", 3)


def restarts(s):
    s.add()
    before = len(s.notified())
    s.restart()
    s.until(lambda: s.notified()[before:], "not shown again", 30)


def plain(s):
    """Sends nothing that only our own server understands."""
    s.notify(do="publish", text="Passing")
    private = [hint for hint in s.add().hints if hint.startswith("x-vorn")] + s.sent("GetNotifications")
    assert not private, f"private hints or calls: {private}"
    assert all(each.app_name for each in s.notified()), "no application name"


CASES = (face, icon, text, replaced, button, tap, choice, reply, dismissed, removed, progress, passes, stays, clears,
         restarts, plain)


def picture(s):
    """Cuts the chat message of the day in examples/ out of the screen."""
    day = (TOP / "examples/day.jsonl").read_text().replace('"icons/', f'"{TOP}/examples/icons/')
    s.notify(**json.loads(next(line for line in day.splitlines() if "Lunch at" in line)))
    s.until(lambda: not s.cleared(), "not shown")
    s.items()
    screen = s.still()
    box = ImageChops.difference(s.bare, screen).convert("L").point(lambda v: v >= 24 and 255).getbbox()
    screen.crop(box).quantize(128).save(TOP / f"docs/desktops/{s.name}.png", optimize=True)


def judge(s, case):
    """A cell of the table, and what is wrong and unexpected."""
    s.key = case.__name__
    expected = s.short.get(s.key)
    try:
        return case(s) or "✓", f"no more {expected}" if expected else ""
    except AssertionError as fault:
        return expected or "✗", "" if expected else str(fault)
    finally:
        s.host(do="clear")
        with contextlib.suppress(AssertionError):
            s.until(s.cleared, "", 2)
        if not s.cleared():
            s.restart()


def play(s, cases):
    s.connect()
    s.serve()
    s.capabilities = s.call("GetCapabilities")[0]
    for name, color in COLORS.items():
        Image.new("RGB", (64, 64), color).save(name)
    Path("ini").write_text("[Notifications]\nNotifActionInput = true\n")
    s.lumdsim = start(TOP / "build/release/bin/lumdsim", "--desktop", "--json", "--config", "ini", "-",
                      stdin=subprocess.PIPE, stdout=open("events", "w"))
    results = [(case.__name__, *judge(s, case)) for case in cases]
    s.lumdsim.stdin.close()
    assert s.lumdsim.wait(10) == 0, "lumdsim failed"
    return [cell for _, cell, _ in results], [f"{s.name}: {case}: {fault}" for case, _, fault in results if fault]


def serve(name, cases):
    """In a process and a home of its own, of which nothing is left afterwards."""
    libc = ctypes.CDLL(None)
    libc.prctl(1, signal.SIGTERM)  # ends with its parent
    libc.prctl(36, 1)  # is left what its children leave
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(1))
    if os.getuid() == 0 and libc.unshare(0x10000000) == 0:  # compositors do not work for root
        for file, line in (("setgroups", "deny"), ("uid_map", "1000 0 1"), ("gid_map", "1000 0 1")):
            Path("/proc/self", file).write_text(line)
    home = tempfile.mkdtemp()
    os.chdir(home)
    with open("log", "w") as log:
        os.dup2(log.fileno(), 1)
        os.dup2(log.fileno(), 2)
    os.environ.pop("DISPLAY", None)
    for variable in ("HOME", "XDG_CONFIG_HOME", "XDG_CACHE_HOME", "XDG_DATA_HOME", "XDG_RUNTIME_DIR", "TMPDIR"):
        os.environ[variable] = home
    os.environ.update(GSETTINGS_BACKEND="memory", QT_ACCESSIBILITY="1", QT_LINUX_ACCESSIBILITY_ALWAYS_ON="1",
                      QT_QUICK_BACKEND="software")
    desktop = SERVERS[name]
    desktop.name = name
    try:
        return play(desktop, cases)
    except Exception as error:  # whatever it is, the others go on
        return [], [f"{name}: {error!r}", Path("log").read_text()[-3000:]]
    finally:
        while children := Path(f"/proc/self/task/{os.getpid()}/children").read_text().split():
            for child in children:
                os.kill(int(child), signal.SIGKILL)
            os.wait()
        shutil.rmtree(home)


def main():
    words = set(sys.argv[1:])
    names = list(SERVERS) if "all" in words else [name for name in SERVERS if name in words] or LIGHT
    if "--packages" in words:
        return print(*{package for name in names for package in SERVERS[name].packages + SERVERS[name].needs.split()})
    cases = [picture] if "--pictures" in words else CASES
    print("| |", *(case.__name__ + " |" for case in cases), "\n|---|" + ":-:|" * len(cases))
    with multiprocessing.Pool(3, maxtasksperchild=1) as pool:
        results = [(name, pool.apply_async(serve, (name, cases))) for name in names]
        for name, result in results:
            print("|", name, run("dpkg-query", "-W", "-f", "${Version}", SERVERS[name].packages[0]).decode(), "|",
                  *(cell + " |" for cell in result.get()[0]), flush=True)
    faults = [fault for _, result in results for fault in result.get()[1]]
    sys.exit("\n".join(faults) or 0)


if __name__ == "__main__":
    main()
