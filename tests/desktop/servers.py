#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""The servers, and drivers of those that differ from others.

usage: servers.py [SERVER...|all]  prints the names of these servers, and the Debian packages that they take
"""
import io
import os
import sys
from pathlib import Path

from desktop import NAME, Atspi, Desktop, run, start
from PIL import Image


class Unread(Desktop):
    """A server whose screen cannot be read."""

    items = Desktop.latest


class Dunst(Unread):
    def perform(self, command):
        run("sh", "-c", command)


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
        self.point(*item, click=True)


class Ukui(Desktop):
    """Ends with its last pop-up, and is started by the bus."""

    def serve(self):
        run("cp", "/usr/share/dbus-1/services/org.ukui.freedesktop.Notification.service", "services")
        self.ask("ReloadConfig")
        self.ask("StartServiceByName", NAME)
        super().serve()

    def host(self, **event):
        self.listen(1)  # until it has ended, if it was about to
        self.until(lambda: len(self.call("GetServerInformation")) == 4, "does not start")
        super().host(**event)


class Sway(Desktop):
    needs = "sway grim at-spi2-core"

    def display(self):
        os.environ.update(WLR_BACKENDS="headless", WLR_LIBINPUT_NO_DEVICES="1", WLR_RENDERER="pixman",
                          WAYLAND_DISPLAY="wayland-1")  # the first one in a new home
        Path("sway").write_text(f"output * resolution {self.size} scale {self.scale}\n")
        start("sway", "-c", "sway")
        self.until(lambda: os.path.exists("wayland-1"), "no display")

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


class Cinnamon(Desktop):
    def items(self):
        return [item for item in super().items() if item[1].get_state_set().contains(Atspi.StateType.SHOWING)]


class Phosh(Desktop):
    """In its compositor, which shows a window under Xvfb."""

    def display(self):
        super().display()
        os.environ.update(WLR_BACKENDS="x11", WLR_RENDERER="pixman")
        Path("phoc.ini").write_text(f"[core]\nxwayland=false\n[output:X11-1]\nmode={self.size}\nscale={self.scale}\n")

    def perform(self, text):
        if not text:  # swipes it away
            run("xdotool", "mousemove", 230, 110, "sleep", 0.3, "mousedown", 1,
                *["mousemove_relative", 40, 0, "sleep", 0.1] * 9, "mouseup", 1)
        super().perform(text or "no such")

    def click(self, item):
        """Places are those within the window, which is at the top."""
        place = item.get_extents(Atspi.CoordType.SCREEN)
        self.point(175 + place.x + place.width // 2, 32 + place.y + place.height // 2, click=True)


class Gnome(Desktop):
    needs = "at-spi2-core gjs"

    def display(self):
        os.environ["SIZE"] = self.size
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


# The option "fails" names cases that a server fails by its own fault. It is an error too when one of these passes.
SERVERS = {
    "dunst": Dunst("dunst", "dunst -conf dunstrc",
                   prepare="sed 's:/usr/bin/dmenu.*:grep -F -f choice:' /etc/xdg/dunst/dunstrc >dunstrc",
                   press="echo {label} >choice; dunstctl context", tap="dunstctl action 0", dismiss="dunstctl close"),
    "mate": Desktop("mate-notification-daemon", "/usr/lib/mate-notification-daemon/mate-notification-daemon"),
    "xfce": Desktop("xfce4-notifyd", "/usr/lib/*/xfce4/notifyd/xfce4-notifyd", tap="Open", dismiss="{title}"),
    "notification-daemon": Desktop("notification-daemon", "/usr/lib/notification-daemon/notification-daemon"),
    "lxqt": Desktop("lxqt-notificationd openbox", "openbox", "lxqt-notificationd", dismiss="x"),
    "awesome": Awesome("awesome", "awesome", dismiss="{title}"),
    "mako": Mako("mako-notifier", "mako", press="makoctl invoke -n {id} '{key}'", tap="makoctl invoke -n {id}",
                 dismiss="makoctl dismiss -n {id}"),
    "swaync": Sway("sway-notification-center", "swaync"),
    "ukui": Ukui("ukui-notification-daemon", tap="Lunch", light=False, by_owner=True,
                 fails="text dismissed progress"),
    "notify-osd": Unread("notify-osd picom", "picom", "/usr/lib/*/notify-osd", fails="dismissed removed"),
    "budgie": Desktop("budgie-core openbox", "openbox", "env XDG_CURRENT_DESKTOP=Budgie:GNOME budgie-daemon",
                      dismiss="Close"),
    "enlightenment": Unread(
        "enlightenment", "env E_CONF_PROFILE=standard enlightenment_start",
        prepare="mkdir -p .e/e/config; cp -r /usr/share/enlightenment/data/config/standard .e/e/config",
        dismiss="corner", light=False, wait=8, by_owner=True),
    "phosh": Phosh("phosh phoc", "phoc -C phoc.ini -E '/usr/libexec/phosh -U'", light=False),
    "cinnamon": Cinnamon("cinnamon", "cinnamon", dismiss="corner", light=False, wait=5),
    "kde": Desktop("plasma-workspace plasma-desktop openbox", "openbox", "plasmashell --no-respawn", dismiss="Close",
                   light=False),
    "gnome": Gnome("gnome-shell", "gnome-shell --headless --virtual-monitor $SIZE --no-x11 --unsafe-mode", light=False),
}

if __name__ == "__main__":
    for name, server in SERVERS.items():
        if {name, "all"} & set(sys.argv) or server.light and not sys.argv[1:]:
            print(name, *server.packages, server.needs)
