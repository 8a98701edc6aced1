# SPDX-License-Identifier: MIT
"""Drivers of notification servers: they start one, look at its screen and act as its user. Every wait is bounded."""
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

TOP = Path(__file__).resolve().parents[2]
NAME = "org.freedesktop.Notifications"
BUS = """<busconfig><type>session</type><listen>unix:path={0}/bus</listen><servicedir>{0}/services</servicedir>
<policy context="default"><allow send_destination="*"/><allow receive_sender="*"/><allow own="*"/></policy>
</busconfig>"""
ACTIVATED = "org.a11y.Bus", "org.kde.ActivityManager", "org.gnome.Shell.Notifications"
WALLPAPER = "#8fa8c9"
SETTINGS = """[org/{0}/desktop/interface]
scaling-factor=uint32 {1}
[org/{0}/desktop/background]
picture-options='none'
primary-color='{2}'
"""
COLORS = {"face.png": (255, 0, 255), "icon.png": (0, 255, 0)}
Notified = namedtuple("Notified", "app_name replaces icon summary body actions hints timeout id since")


class Overdue(Exception):
    """An operation has taken longer than it may."""


@contextlib.contextmanager
def within(seconds):
    """Interrupts the block after so many seconds."""
    def interrupt(*_):
        raise Overdue(f"takes longer than {seconds} s")

    signal.signal(signal.SIGALRM, interrupt)
    signal.alarm(seconds)
    try:
        yield
    finally:
        signal.alarm(0)


def start(*command, **options):
    return subprocess.Popen(command, **{"stdin": subprocess.DEVNULL, **options})


def run(*command):
    with tempfile.TemporaryFile() as output:  # a pipe would stay open in processes that the command leaves behind
        subprocess.run([str(word) for word in command], stdin=subprocess.DEVNULL, stdout=output, timeout=10)
        output.seek(0)
        return output.read()


class Desktop:
    """A server under Xvfb. Its windows are read through accessibility, and clicked at the places found there."""

    needs = "xvfb xdotool at-spi2-core"
    monitor = None
    scale = 1  # 2 for pictures
    by_owner = False  # whether to end the process that owns the name, not the one that was started

    def __init__(self, packages, *commands, press="{label}", tap="{title}", dismiss="", light=True, wait=0, fails=""):
        self.packages, self.commands, self.light, self.fails = packages.split(), commands, light, fails.split()
        self.wait = wait  # until its own first windows are gone
        self.acts = {"press": press, "tap": tap, "dismiss": dismiss}  # the text to click at
        self.messages = []

    def display(self):
        number = 1000 + os.getpid() % 50000  # two servers that look for a free one may find the same
        os.environ["DISPLAY"] = f":{number}"
        start("Xvfb", f":{number}", "-screen", "0", "%dx%dx24" % self.size(), "-dpi", str(96 * self.scale),
              "-nolisten", "tcp", "-noreset")  # a reset, after the last window, refuses connections for a moment
        self.until(lambda: os.path.exists(f"/tmp/.X11-unix/X{number}"), "no display")
        if self.scale > 1:
            start("picom", "--backend", "xrender")

    def size(self):
        return 800 * self.scale, 600 * self.scale

    def connect(self):
        self.display()
        os.mkdir("services")
        os.makedirs("glib-2.0/settings")
        Path("glib-2.0/settings/keyfile").write_text(
            "".join(SETTINGS.format(name, self.scale, WALLPAPER) for name in ("gnome", "cinnamon")))
        os.mkdir("gtk-3.0")
        Path("gtk-3.0/settings.ini").write_text("[Settings]\ngtk-enable-animations=0\n")
        for service in ACTIVATED:
            with contextlib.suppress(FileNotFoundError):
                shutil.copy(f"/usr/share/dbus-1/services/{service}.service", "services")
        Path("bus.conf").write_text(BUS.format(os.getcwd()))
        address = f"unix:path={os.getcwd()}/bus"
        os.environ.update(DBUS_SESSION_BUS_ADDRESS=address, DBUS_SYSTEM_BUS_ADDRESS=address)
        start("dbus-daemon", "--nofork", "--config-file=bus.conf")
        self.bus, self.monitor = (self.until(self.reach, "no bus") for _ in range(2))
        Proxy(Monitoring(), self.monitor, timeout=5).BecomeMonitor([])

    def reach(self):
        with contextlib.suppress(OSError):
            return open_dbus_connection()

    def serve(self):
        for command in self.commands:
            self.server = start("sh", "-c", "exec " + command)
        self.until(lambda: self.served() and self.ready(), "does not start", 30)
        self.point(0, 300)
        if self.scale > 1:
            self.decorate()
        self.bare = self.still()

    def decorate(self):
        run("hsetroot", "-solid", WALLPAPER)

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

    def call(self, member, *arguments, path="/org/freedesktop/Notifications", name=NAME, interface=None):
        message = new_method_call(DBusAddress(path, name, interface or name), member, *arguments)
        return self.bus.send_and_get_reply(message, timeout=5).body

    def listen(self, seconds=0.05):
        """Reads from the bus until it is quiet for so long, or for 2 s more at most."""
        if not self.monitor:
            return time.sleep(seconds)
        deadline = time.monotonic() + seconds + 2
        with contextlib.suppress(TimeoutError):
            while time.monotonic() < deadline:
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
        self.point(*item, click=True)


class Sway(Desktop):
    needs = "sway grim at-spi2-core"

    def display(self):
        os.environ.update(WLR_BACKENDS="headless", WLR_LIBINPUT_NO_DEVICES="1", WLR_RENDERER="pixman")
        Path("sway").write_text("output * resolution %dx%d scale %d bg %s solid_color\nexec echo $WAYLAND_DISPLAY >up\n"
                                % (*self.size(), self.scale, WALLPAPER))
        start("sway", "-c", "sway")
        self.until(lambda: os.path.exists("up") and Path("up").read_text(), "no display")
        os.environ["WAYLAND_DISPLAY"] = Path("up").read_text().strip()

    def screenshot(self):
        return Image.open(io.BytesIO(run("grim", "-"))).convert("RGB")

    def items(self):
        return self.latest() + super().items()  # which lacks bodies

    def click(self, item):
        item.do_action(0)

    def point(self, x, y):
        """There is no pointer."""

    def decorate(self):
        """The compositor has drawn it."""


class Mako(Sway):
    items, perform = Desktop.latest, Dunst.perform


class Kde(Desktop):
    def decorate(self):
        self.call("evaluateScript", "s", ("""desktops().forEach(desktop => {
            desktop.wallpaperPlugin = 'org.kde.color';
            desktop.currentConfigGroup = ['Wallpaper', 'org.kde.color', 'General'];
            desktop.writeConfig('Color', '%s') })""" % WALLPAPER,), path="/PlasmaShell", name="org.kde.plasmashell",
                  interface="org.kde.PlasmaShell")


class Gnome(Desktop):
    decorate = Sway.decorate

    needs = "at-spi2-core gjs"

    def display(self):
        os.environ["SIZE"] = "%dx%d" % self.size()
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
        self.point(0, 300)  # an idle user gets no further ones
        self.script("imports.ui.main.messageTray._expandBanner(true); global.stage.set_key_focus(null)")
        return super().items()

    def point(self, x, y, click=False):
        self.script("""const {Clutter} = imports.gi;
            window.pointer ??= Clutter.get_default_backend().get_default_seat().create_virtual_device(
                Clutter.InputDeviceType.POINTER_DEVICE);
            const time = global.get_current_time() * 1000;
            pointer.notify_absolute_motion(time, 400, 599);
            pointer.notify_absolute_motion(time, %d, %d);
            for (const state of [Clutter.ButtonState.PRESSED, Clutter.ButtonState.RELEASED].slice(%d))
                pointer.notify_button(time, Clutter.BUTTON_PRIMARY, state)""" % (x, y, 0 if click else 2))


class Phosh(Desktop):
    """In its compositor, which shows a window under Xvfb."""

    def display(self):
        super().display()
        os.environ.update(WLR_BACKENDS="x11", WLR_RENDERER="pixman")
        Path("phoc.ini").write_text("[core]\nxwayland=false\n[output:X11-1]\nmode=%dx%d\nscale=%d\n"
                                % (*self.size(), self.scale))

    def perform(self, text):
        if not text:  # swipes it away
            run("xdotool", "mousemove", 230, 110, "sleep", 0.3, "mousedown", 1,
                *["mousemove_relative", 40, 0, "sleep", 0.1] * 9, "mouseup", 1)
        super().perform(text or "no such")

    def click(self, item):
        """Places are those within the window, which is at the top."""
        place = item.get_extents(Atspi.CoordType.SCREEN)
        self.point(175 + place.x + place.width // 2, 32 + place.y + place.height // 2, click=True)


class Ukui(Desktop):
    """Ends with its last pop-up, and is started by the bus."""

    by_owner = True

    def serve(self):
        os.makedirs(".config", exist_ok=True)
        shutil.copy("/usr/share/dbus-1/services/org.ukui.freedesktop.Notification.service", "services")
        self.ask("ReloadConfig")
        self.ask("StartServiceByName", NAME)
        super().serve()

    def host(self, **event):
        self.listen(1)  # until it has ended, if it was about to
        self.until(lambda: len(self.call("GetServerInformation")) == 4, "does not start")
        super().host(**event)


class Pixels(Desktop):
    """A server that cannot be read: places to click at are so many pixels from a corner."""

    items = Desktop.latest

    def perform(self, text):
        """Clicks at an X in the upper right corner."""
        box = ImageChops.difference(self.bare, self.still()).convert("L").point(lambda v: v >= 24 and 255).getbbox()
        self.point(box[2] - 20, box[1] + 20, click=True)


class Cinnamon(Desktop):
    def items(self):
        return [(text, item) for text, item in super().items()
                if item.get_state_set().contains(Atspi.StateType.SHOWING)]

    def perform(self, text):
        (super().perform if text else lambda x: Pixels.perform(self, x))(text)


class Enlightenment(Pixels):
    by_owner = True

    def display(self):
        super().display()
        shutil.copytree("/usr/share/enlightenment/data/config/standard", ".e/e/config/standard")
        os.environ["E_CONF_PROFILE"] = "standard"


# The option "fails" names cases that a server fails by its own fault. It is an error too when one of these passes.
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
    "ukui": Ukui("ukui-notification-daemon", tap="Lunch", fails="text dismissed progress", light=False),
    "notify-osd": Pixels("notify-osd picom", "picom", "/usr/lib/*/notify-osd", fails="dismissed removed"),
    "budgie": Desktop("budgie-core openbox", "openbox", "env XDG_CURRENT_DESKTOP=Budgie:GNOME budgie-daemon",
                      dismiss="Close"),
    "enlightenment": Enlightenment("enlightenment", "enlightenment_start", light=False, wait=8),
    "phosh": Phosh("phosh phoc", "phoc -C phoc.ini -E '/usr/libexec/phosh -U'", light=False),
    "cinnamon": Cinnamon("cinnamon", "cinnamon", light=False, wait=5),
    "kde": Kde("plasma-workspace plasma-desktop openbox", "openbox", "plasmashell --no-respawn", dismiss="Close",
               light=False),
    "gnome": Gnome("gnome-shell", "gnome-shell --headless --virtual-monitor $SIZE --no-x11 --unsafe-mode", light=False),
}


# --- A process and a home for each server

libc = ctypes.CDLL(None)


def play(name, work, report):
    """Does `work` with a server, and writes its result to `report`."""
    if os.getuid() == 0 and libc.unshare(0x10000000) == 0:  # compositors do not work for root
        for file, line in (("setgroups", "deny"), ("uid_map", "1000 0 1"), ("gid_map", "1000 0 1")):
            Path("/proc/self", file).write_text(line)
    with open("log", "w") as log:
        os.dup2(log.fileno(), 1)
        os.dup2(log.fileno(), 2)
    home = os.getcwd()
    for variable in ("DISPLAY", "WAYLAND_DISPLAY"):
        os.environ.pop(variable, None)
    for variable in ("HOME", "XDG_CONFIG_HOME", "XDG_CACHE_HOME", "XDG_DATA_HOME", "XDG_RUNTIME_DIR", "TMPDIR"):
        os.environ[variable] = home
    os.environ.update(GSETTINGS_BACKEND="keyfile", QT_ACCESSIBILITY="1", QT_LINUX_ACCESSIBILITY_ALWAYS_ON="1",
                      QT_QUICK_BACKEND="software")
    if SERVERS[name].scale > 1:
        os.environ.update(GDK_SCALE="2", QT_SCALE_FACTOR="2", QT_FONT_DPI="96", PLASMA_USE_QT_SCALING="1", ELM_SCALE="2")
    desktop = SERVERS[name]
    desktop.name = name
    try:
        result = work(desktop)
    except Exception as error:
        result = [], [f"{name}: {error!r}", Path("log").read_text()[-3000:]]
    Path(report).write_text(json.dumps(result))


def keep(name, work, seconds):
    """Has a child play for so long at most, and leaves no process and no file of it."""
    libc.prctl(1, signal.SIGTERM)  # ends with its parent
    libc.prctl(36, 1)  # inherits the processes that its descendants leave
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(1))
    with tempfile.TemporaryDirectory(ignore_cleanup_errors=True) as home:
        os.chdir(home)
        try:
            player = multiprocessing.Process(target=play, args=(name, work, "result"))
            player.start()
            player.join(seconds)
            return json.loads(Path("result").read_text()) if os.path.exists("result") else (
                [], [f"{name}: does not end within {seconds} s", Path("log").read_text()[-3000:]])
        finally:
            deadline = time.monotonic() + 10
            children = Path(f"/proc/self/task/{os.getpid()}/children")
            while children.read_text() and time.monotonic() < deadline:
                for child in children.read_text().split():
                    os.kill(int(child), signal.SIGKILL)
                    os.waitpid(int(child), os.WNOHANG)
                time.sleep(0.02)
