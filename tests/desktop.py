#!/usr/bin/python3
"""Plays notifications to real desktop servers, each on a bus and a display of its own, and is the user there.

Prints the rows of docs/desktops.md, and what is wrong.
"""
import argparse
import contextlib
import ctypes
import html
import io
import json
import multiprocessing
import os
import pathlib
import shutil
import signal
import subprocess
import sys
import tempfile
import time
from collections import namedtuple

import gi
from jeepney import DBusAddress, HeaderFields, new_method_call
from jeepney.bus_messages import Monitoring, message_bus
from jeepney.io.blocking import Proxy, open_dbus_connection
from PIL import Image, ImageChops, ImageGrab

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi, GLib  # noqa: E402

EXAMPLES = pathlib.Path(__file__).resolve().parent.parent / "examples"
NAME = "org.freedesktop.Notifications"
SERVER = DBusAddress("/org/freedesktop/Notifications", NAME, NAME)
COLORS = {"face": (255, 0, 255), "icon": (0, 255, 0)}
CHAT = {"appName": "Chat", "package": "org.example.chat", "category": "msg", "importance": 3, "clearable": True,
        "title": "Ada <b>Byron</b>", "text": "Lunch at <i>Café</i> & Co?",
        "actions": [{"title": "default", "identifier": "0"},
                    {"title": "Reply", "identifier": "1", "freeInput": True, "choices": ["Yes"]},
                    {"title": "Mute", "identifier": "2"}]}
BUS = """<busconfig><type>session</type><listen>unix:dir={0}</listen><servicedir>{0}/services</servicedir>
<policy context="default"><allow send_destination="*"/><allow receive_sender="*"/><allow own="*"/></policy></busconfig>"""
ACTIVATED = "org.a11y.Bus", "org.kde.ActivityManager", "org.gnome.Shell.Notifications"

Notified = namedtuple("Notified", "app_name replaces icon summary body actions hints timeout id")


class Fault(Exception):
    """What a server, or what it was sent, did not do."""


def start(*command, **options):
    return subprocess.Popen(command, **{"stdin": subprocess.DEVNULL, **options})


def run(*command):
    return subprocess.run([str(word) for word in command], stdout=subprocess.PIPE, timeout=10).stdout


def write(file, text):
    pathlib.Path(file).write_text(text)


class Desktop:
    """A server under Xvfb. Its windows are read as a screen reader does, and clicked at where that found something."""

    display_packages = "xvfb xdotool at-spi2-core"
    readable = True

    def __init__(self, packages, *commands, tap="{title}", dismiss="", press="{label}", short=None):
        self.packages = packages.split() + self.display_packages.split()
        self.commands = commands
        self.acts = {"press": press, "tap": tap, "dismiss": dismiss}  # what to click at
        self.short = {**SHORT, **(short or {})}
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
        write("bus.conf", BUS.format(os.getcwd()))
        bus = start("dbus-daemon", "--nofork", "--print-address", "--config-file=bus.conf", stdout=subprocess.PIPE)
        address = bus.stdout.readline().decode().strip()
        os.environ.update(DBUS_SESSION_BUS_ADDRESS=address, DBUS_SYSTEM_BUS_ADDRESS=address)
        self.bus, self.monitor = open_dbus_connection(), open_dbus_connection()
        Proxy(Monitoring(), self.monitor).BecomeMonitor([])

    def serve(self):
        for command in self.commands:
            self.server = start("sh", "-c", "exec " + command)
        self.until(lambda: Proxy(message_bus, self.bus).NameHasOwner(NAME)[0] and self.ready(), "does not start", 20)
        self.point(0, 599)
        self.bare = self.still()

    def ready(self):
        return True

    def stop(self):
        self.listen(0.3)  # what is under way would fail
        self.server.terminate()
        self.server.wait()

    # --- What goes over the bus, and what the host is told

    def call(self, member, *arguments, address=SERVER):
        return self.bus.send_and_get_reply(new_method_call(address, member, *arguments)).body

    def listen(self, seconds=0.05):
        """Takes in what goes over the bus until nothing does for so long."""
        with contextlib.suppress(TimeoutError):
            while True:
                self.messages.append(self.monitor.receive(timeout=seconds))

    def until(self, condition, what, seconds=5):
        deadline = time.monotonic() + seconds
        while not (result := condition()):
            if time.monotonic() > deadline:
                raise Fault(what)
            self.listen()
        return result

    def sent(self, member):
        return [message.body for message in self.messages
                if message.header.fields.get(HeaderFields.member) == member]

    def notified(self):
        """Every Notify that was answered."""
        calls, answered = {}, []
        for message in self.messages:
            fields = message.header.fields
            call = fields.get(HeaderFields.destination), fields.get(HeaderFields.reply_serial)
            if call in calls and len(message.body) == 1:
                answered.append(Notified(*calls[call], *message.body))
            elif fields.get(HeaderFields.member) == "Notify":
                calls[fields[HeaderFields.sender], message.header.serial] = message.body
        return answered

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
        return self.notify(do="add", **{**CHAT, "key": self.key, "text": text, "smallIcon": os.path.abspath("icon.png"),
                                        **changes})

    def told(self, **event):
        with open("events") as events:
            told = [json.loads(line) for line in events if line.endswith("\n")]
        return [each for each in told if event.items() <= each.items()]

    def closed(self, notified):
        return notified.id in [body[0] for body in self.sent("NotificationClosed")]

    # --- What is on the screen, and what the user does there

    def screenshot(self):
        return ImageGrab.grab(xdisplay=os.environ["DISPLAY"])

    def pixels(self, color):
        return sum(count for count, each in self.screenshot().getcolors(1 << 24)
                   if all(abs(a - b) < 24 for a, b in zip(each, color)))

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
        """Labels and buttons, and their texts."""
        found = []

        def collect(node):
            for i in range(node.get_child_count()):
                with contextlib.suppress(GLib.Error):  # some have just gone
                    child = node.get_child_at_index(i)
                    if (child.get_role() in (Atspi.Role.LABEL, Atspi.Role.PUSH_BUTTON, Atspi.Role.TEXT)
                            and child.get_extents(Atspi.CoordType.SCREEN).width > 0):
                        found.append((child.get_name() or Atspi.Text.get_text(child, 0, -1), child))
                    collect(child)

        while GLib.MainContext.default().iteration(False):
            pass
        desktop = Atspi.get_desktop(0)
        desktop.clear_cache()
        collect(desktop)
        return found

    def shows(self, *texts):
        """Whether these are among the texts on the screen; where those cannot be read, among the latest sent."""
        shown = [text for text, _ in self.items()]
        if not self.readable:
            sent = self.notified()[-1]
            body = html.unescape(sent.body) if "body-markup" in self.capabilities else sent.body
            shown = [sent.summary, body, *sent.actions[1::2]]
        return all(any(text in each for each in shown) for text in texts)

    def act(self, what, notified, label=""):
        key = dict(zip(notified.actions[1::2], notified.actions[::2])).get(label)
        self.perform(self.acts[what].format(id=notified.id, title=notified.summary, label=label, key=key))

    def perform(self, text):
        for shown, item in reversed(self.items()):
            if text in shown if text else not shown:
                return self.click(item)

    def click(self, item):
        place = item.get_extents(Atspi.CoordType.SCREEN)
        self.point(place.x + place.width // 2, place.y + place.height // 2, "click", 1)
        self.point(0, 599)

    def point(self, x, y, *click):
        run("xdotool", "mousemove", x, y, *click)

    def user(self, act, **event):
        """Acts until the host has heard: a window that has just come takes no clicks."""
        event["key"] = self.key

        def heard():
            self.still()
            act()
            with contextlib.suppress(Fault):
                return self.until(lambda: self.told(**event), "", 1)

        self.until(heard, f"not told {event}")
        self.listen(0.2)
        if len(self.told(**event)) > 1:
            raise Fault("told twice")


class Commanded:
    """Paints its texts itself, and has commands for what the user does."""

    readable = False

    def perform(self, command):
        run("sh", "-c", command)


class Dunst(Commanded, Desktop):
    def display(self):
        super().display()
        write("dunstrc", "[global]\ndmenu = grep -F -f choice\n")


class Awesome(Desktop):
    """Has no accessibility, but a language of its own to look at widgets with."""

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
    display_packages = "sway grim at-spi2-core"
    readable = False  # but for titles and buttons

    def display(self):
        os.environ.update(WLR_BACKENDS="headless", WLR_LIBINPUT_NO_DEVICES="1", WLR_RENDERER="pixman")
        os.mkfifo("up")
        write("sway", "output * resolution 800x600\nexec echo $WAYLAND_DISPLAY >up\n")
        start("sway", "-c", "sway")
        os.environ["WAYLAND_DISPLAY"] = pathlib.Path("up").read_text().strip()

    def screenshot(self):
        return Image.open(io.BytesIO(run("grim", "-"))).convert("RGB")

    def click(self, item):
        item.do_action(0)

    def point(self, x, y):
        """There is no pointer."""


class Mako(Commanded, Sway):
    pass


class Gnome(Desktop):
    display_packages = "at-spi2-core gjs"

    def display(self):
        os.mkdir("gnome-shell")
        write("gnome-shell/lock-warning-shown", "")

    def script(self, text):
        return self.call("Eval", "s", (text,), address=DBusAddress("/org/gnome/Shell", "org.gnome.Shell", "org.gnome.Shell"))

    def ready(self):
        return self.script("""const {overview, layoutManager} = imports.ui.main;
            overview.hide();
            !overview.visible && !layoutManager._startingUp""")[-1] == "true"

    def screenshot(self):
        shell = DBusAddress("/org/gnome/Shell/Screenshot", "org.gnome.Shell.Screenshot", "org.gnome.Shell.Screenshot")
        self.call("Screenshot", "bbs", (False, False, os.path.abspath("screen.png")), address=shell)
        return Image.open("screen.png").convert("RGB")

    def items(self):
        self.point(400, 60)  # shows all of it
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


# What falls short: the case, and how. One of these that passes is an error too.
SHORT = {"clears": "messages and package results stay",
         "restarts": "shown again only when something changes",
         "plain": "private calls and hints, no application name"}
WARNING, BOTH = {"passes": "a warning stays"}, {"passes": "messages stay"}
FACE = {"picture": "the icon instead of the face"}

SERVERS = {
    "dunst": Dunst("dunst", "dunst -conf dunstrc", press="echo {label} >choice; dunstctl context",
                   tap="dunstctl action 0", dismiss="dunstctl close", short=WARNING),
    "mate": Desktop("mate-notification-daemon", "/usr/lib/mate-notification-daemon/mate-notification-daemon"),
    "xfce": Desktop("xfce4-notifyd", "/usr/lib/*/xfce4/notifyd/xfce4-notifyd", tap="Open", dismiss="{title}",
                    short=WARNING),
    "notification-daemon": Desktop("notification-daemon", "/usr/lib/notification-daemon/notification-daemon"),
    "lxqt": Desktop("lxqt-notificationd openbox", "openbox", "lxqt-notificationd", dismiss="x",
                    short={**FACE, "stays": "a pop-up that expires counts as dismissed"}),
    "awesome": Awesome("awesome", "awesome", dismiss="{title}", short={**FACE, **WARNING}),
    "mako": Mako("mako-notifier", "mako", press="makoctl invoke -n {id} '{key}'", tap="makoctl invoke -n {id}",
                 dismiss="makoctl dismiss -n {id}", short=BOTH),
    "swaync": Sway("sway-notification-center", "swaync", short={**FACE, **BOTH}),
    "kde": Desktop("plasma-workspace plasma-desktop openbox", "openbox", "plasmashell --no-respawn", dismiss="Close",
                   short={"stays": "a pop-up that expires counts as dismissed"}),
    "gnome": Gnome("gnome-shell", "gnome-shell --headless --virtual-monitor 800x600 --no-x11 --unsafe-mode",
                   short=BOTH),
}
LIGHT = list(SERVERS)[:8]


# --- The cases. Each begins with a bare screen, and may give what is to be said of it.

def picture(s):
    s.add(largeIcon=os.path.abspath("face.png"))
    s.until(lambda: s.pixels(COLORS["face"]) > 300, "no face")


def icon(s):
    s.add()
    s.until(lambda: s.pixels(COLORS["icon"]) > 100, "no icon")


def texts(s):
    s.add(subText="family")
    s.until(lambda: s.shows(CHAT["title"], CHAT["text"], "family"), "other texts")


def buttons(s):
    s.add()
    s.until(lambda: s.shows("Yes", "Mute"), "no such buttons")


def replaces(s):
    first, second = s.add(), s.add(title="Grace Hopper")
    if not first.id == second.replaces == second.id:
        raise Fault("a second one")
    s.until(lambda: s.shows("Grace Hopper"), "not the new title")


def button(s):
    notified = s.add()
    s.user(lambda: s.act("press", notified, "Mute"), event="action", identifier="2")


def tap(s):
    notified = s.add()
    s.user(lambda: s.act("tap", notified), event="action", title="default")


def choice(s):
    notified = s.add()
    s.user(lambda: s.act("press", notified, "Yes"), event="invoked", answer="Yes")


def reply(s):
    if "inline-reply" not in s.capabilities:
        return "–"
    notified = s.add()
    s.user(lambda: (s.act("press", notified, "Reply"), s.still(), run("xdotool", "type", "Soon\n")),
           event="invoked", answer="Soon")


def dismissal(s):
    notified = s.add(actions=[])
    s.user(lambda: s.act("dismiss", notified), event="removed")
    s.until(s.cleared, "still there")


def removal(s):
    notified = s.add()
    s.until(lambda: not s.cleared(), "not shown")
    s.host(do="remove", key=s.key)
    s.until(lambda: s.closed(notified) and s.cleared(), "still there")


def progress(s):
    s.add(progressMax=100, progress=25)
    before = s.still()
    body = s.add(progressMax=100, progress=75, itemCount=2).body
    s.until(lambda: s.shows("75%") if "75%" in body else s.changed(before) > 300, "no progress")


def passes(s):
    messages = [s.notify(do="publish", text="Passing"), s.notify(do="publish", text="Warning", warning=True)]
    s.until(lambda: all(map(s.closed, messages)), "messages stay", 11)


def stays(s):
    notified = s.add()
    with contextlib.suppress(Fault):
        s.until(lambda: s.told(event="removed", key=s.key), "", 11)
    if s.told(event="removed", key=s.key):
        raise Fault("counts as dismissed")
    s.host(do="remove", key=s.key)
    s.until(lambda: (notified.id,) in s.sent("CloseNotification"), "not closed")


def clears(s):
    notified = [s.add(), s.notify(do="publish", text="Passing"),
                s.notify(do="uninstallResult", code=0, appName="Maps", headline="Gone")]
    s.host(do="clear")
    s.until(lambda: all(map(s.closed, notified)), "not all")


def restarts(s):
    s.add()
    before = len(s.notified())
    s.stop()
    s.serve()
    s.until(lambda: s.notified()[before:], "not shown again")


def plain(s):
    """Sends nothing that only our own server understands."""
    s.notify(do="publish", text="Passing")
    private = [hint for hint in s.add().hints if hint.startswith("x-vorn")]
    if private or s.sent("GetNotifications") or not all(each.app_name for each in s.notified()):
        raise Fault(f"private calls or hints {private}, or no application name")


CASES = (picture, icon, texts, buttons, replaces, button, tap, choice, reply, dismissal, removal, progress, passes,
         stays, clears, restarts, plain)


def portrait(s):
    """Cuts the chat message of the day in examples/ out of the screen."""
    with open(EXAMPLES / "day.jsonl") as day:
        line = next(line for line in day if "Lunch at" in line)
    s.notify(**json.loads(line.replace('"icons/', f'"{EXAMPLES}/icons/')))
    s.until(lambda: not s.cleared(), "not shown")
    s.items()
    screen = s.still()
    left, top, right, bottom = ImageChops.difference(s.bare, screen).convert("L").point(lambda v: v > 24 and 255).getbbox()
    screen.crop((left - 8, top - 8, right + 8, bottom + 8)).quantize(128).save("portrait.png", optimize=True)


def judge(s, case):
    """A cell of the table, what is wrong, and whether that was expected."""
    s.key = case.__name__
    expected = s.short.get(s.key)
    try:
        said = case(s) or "✓"
        return said, "works now" if expected else "", not expected
    except Fault as fault:
        return "✗", expected or str(fault), bool(expected)
    finally:
        s.host(do="clear")
        with contextlib.suppress(Fault):
            s.until(s.cleared, "", 2)
        if not s.cleared():
            s.stop()
            s.serve()


def play(s, lumdsim, cases):
    s.connect()
    s.serve()
    s.capabilities, information = s.call("GetCapabilities")[0], s.call("GetServerInformation")
    write("ini", "[Notifications]\nNotifActionInput = true\n")
    for name, color in COLORS.items():
        Image.new("RGB", (64, 64), color).save(name + ".png")
    with open("events", "w") as events:
        s.lumdsim = start(lumdsim, "--desktop", "--json", "--config", "ini", "-", stdin=subprocess.PIPE, stdout=events)
    results = {case.__name__: judge(s, case) for case in cases}
    s.lumdsim.stdin.close()
    return information[2].split()[0], results, s.lumdsim.wait(10) == 0


def serve(name, lumdsim, cases, pictures):
    """In a process of its own, and with nothing left of it afterwards."""
    libc = ctypes.CDLL(None)
    libc.prctl(1, signal.SIGTERM)  # ends with its parent
    libc.prctl(36, 1)  # is left what its children leave
    if os.getuid() == 0 and libc.unshare(0x10000000) == 0:  # compositors do not work for root
        for file, line in (("setgroups", "deny"), ("uid_map", "1000 0 1"), ("gid_map", "1000 0 1")):
            write(f"/proc/self/{file}", line)
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(1))
    home = tempfile.mkdtemp()
    os.chdir(home)
    with open("log", "w") as log:
        os.dup2(log.fileno(), 1)
        os.dup2(log.fileno(), 2)
    for variable in ("HOME", "XDG_CONFIG_HOME", "XDG_CACHE_HOME", "XDG_DATA_HOME", "XDG_RUNTIME_DIR", "TMPDIR"):
        os.environ[variable] = home
    os.environ.pop("DISPLAY", None)
    os.environ.update(GSETTINGS_BACKEND="memory", QT_ACCESSIBILITY="1", QT_LINUX_ACCESSIBILITY_ALWAYS_ON="1",
                      QT_QUICK_BACKEND="software")
    began = time.monotonic()
    try:
        version, results, good = play(SERVERS[name], lumdsim, cases)
        if pictures:
            shutil.copy("portrait.png", f"{pictures}/{name}.png")
        row = [f"{name} {version}", *(cell for cell, _, _ in results.values())]
        faults = [f"{name}: {case}: {what}{' (expected)' if expected else ''}"
                  for case, (_, what, expected) in results.items() if what]
        return good and all(expected for _, _, expected in results.values()), row, faults, time.monotonic() - began
    except Exception as error:  # whatever it is, the others go on
        return False, [name], [f"{name}: {error!r}", pathlib.Path("log").read_text()[-3000:]], time.monotonic() - began
    finally:
        while children := pathlib.Path(f"/proc/self/task/{os.getpid()}/children").read_text().split():
            for child in children:
                os.kill(int(child), signal.SIGKILL)
            os.wait()
        shutil.rmtree(home)


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--packages", action="store_true", help="list the Debian packages that it takes")
    parser.add_argument("--pictures", metavar="FOLDER", help="make a picture of the same message on each")
    parser.add_argument("--lumdsim", default="build/release/bin/lumdsim", type=os.path.abspath)
    parser.add_argument("servers", nargs="*", metavar="SERVER", help="of those in the table; all; if none, the light ones")
    options = parser.parse_args()
    names = list(SERVERS) if options.servers == ["all"] else options.servers or LIGHT
    if options.packages:
        print(*sorted({package for name in names for package in SERVERS[name].packages}), sep="\n")
        return
    cases = [portrait] if options.pictures else CASES
    pictures = options.pictures and os.path.abspath(options.pictures)
    print("| |", *(case.__name__ + " |" for case in cases))
    print("|---|" + ":-:|" * len(cases))
    with multiprocessing.Pool(3, maxtasksperchild=1) as pool:
        results = [pool.apply_async(serve, (name, options.lumdsim, cases, pictures)) for name in names]
        for result in results:
            _, row, faults, seconds = result.get()
            print("|", *(cell + " |" for cell in row), f"{seconds:.0f} s", *("\n" + fault for fault in faults), flush=True)
    sys.exit(not all(result.get()[0] for result in results))


if __name__ == "__main__":
    main()
