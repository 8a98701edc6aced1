#!/usr/bin/env python3
# lumd-adb as its user meets it: the real adb, a device that speaks its protocol, and a desktop on a bus of its own.
# SPDX-License-Identifier: MIT
import itertools, os, re, signal, socket, struct, subprocess, sys, tempfile, threading
import dbusmock
from dbus.mainloop.glib import DBusGMainLoop
from gi.repository import GLib


class Device(threading.Thread):
    """A device on TCP, until it is disconnected. Its streams have the numbers that adb gives them."""

    def __init__(self, port=0):
        super().__init__(daemon=True)
        self.listener = socket.create_server(("127.0.0.1", port))
        self.port = self.listener.getsockname()[1]
        self.dump, self.log = "", 0
        self.start()

    def run(self):
        with self.listener:
            self.connection = self.listener.accept()[0]
        stream = self.connection.makefile("rb")
        while header := stream.read(24):
            command, number, _, length, _, _ = struct.unpack("<4s5I", header)
            self.handle(command, number, stream.read(length))

    def send(self, command, number, data=b"", first=None):
        magic = bytes(byte ^ 0xFF for byte in command)
        self.connection.sendall(struct.pack("<4s4I4s", command, first or number, number, len(data), 0, magic) + data)

    def handle(self, command, number, data):
        if command == b"CNXN":
            self.send(b"CNXN", 1 << 20, b"device::ro.product.name=fake;\0", 0x01000001)
        elif command == b"OPEN":
            self.send(b"OKAY", number)
            question = data.decode().rstrip("\0")
            if "logcat" in question:
                self.log = number
                return self.show(self.dump)
            GLib.idle_add(happened.append, question)
            answer = self.dump if "dumpsys" in question else "priority=0\norg.example.chat/.Main$Tap\n"
            self.send(b"WRTE", number, answer.encode())
            self.send(b"CLSE", number)

    def show(self, dump):
        self.dump = dump
        self.send(b"WRTE", self.log, b"I notification_enqueue: [...]\n")


def called(method, arguments):
    """The desktop answers a call."""
    if method == "Notify":
        _, old, _, summary, body, _, hints, _ = arguments
        ids[summary] = old or next(numbers)
        verb, sound = "replaced" if old else "shown", " silently" if "suppress-sound" in hints else ""
        happened.append(f"{verb} {summary}: {body}{sound}")
    elif method == "CloseNotification":
        happened.append("closed " + next(summary for summary in ids if ids[summary] == arguments[0]))


def signal_from_desktop(name, *arguments):
    desktop.EmitSignal("", name, "us" if name == "ActionInvoked" else "uu", arguments)


def until(*wanted):
    """Returns when all of this has happened. Nothing else may happen on the desktop meanwhile."""
    missing = list(wanted)
    while missing:
        while not happened:
            GLib.MainContext.default().iteration(True)
        event = happened.pop(0)
        found = [text for text in missing if text in event]
        assert found or "dumpsys" in event or "lumd-adb:" in event, f"{event}, not {missing}"
        missing = [text for text in missing if text not in found]


def first_line(**environment):
    with subprocess.Popen([lumd_adb], env={**os.environ, **environment}, stderr=subprocess.PIPE, text=True) as process:
        return process.stderr.readline(), process.terminate()


def without(package, dump):
    return re.sub(rf"    NotificationRecord\(\S+ pkg={package} .*?(?=    NotificationRecord|  \n)", "", dump, flags=re.S)


GLib.timeout_add_seconds(90, lambda: happened.append("a time-out"))
lumd_adb, source = os.path.realpath(sys.argv[1]), sys.argv[2]
home = tempfile.TemporaryDirectory()
port = socket.create_server(("127.0.0.1", 0)).getsockname()[1]
os.environ.update(HOME=home.name, TMPDIR=home.name, ANDROID_ADB_SERVER_PORT=str(port),
                  ADB_LOCAL_TRANSPORT_MAX_PORT="5553", LC_ALL="C")  # no phone or emulator of the developer's
DBusGMainLoop(set_as_default=True)

# Obstacles on the way to a device.
with open(home.name + "/adb", "w") as script:
    script.write('#!/bin/sh\n[ $1 != version ] && printf "%04x$LIST" $SIZE && exec sleep 60\n'
                 'echo Android Debug Bridge version 1.0.$NUMBER\n')
os.chmod(script.name, 0o755)
for number, devices, line in (
        ("31", "", "1.0.31 is too old"),
        ("41", "", "No device is connected"),
        ("41", "A\tunauthorized\n", "A is unauthorized. Allow"),
        ("41", "A\tdevice\nB\tdevice\n", "lumd-adb -s A, or -s B")):
    said, _ = first_line(PATH=home.name + ":/bin", NUMBER=number, LIST=devices, SIZE=str(len(devices)))
    assert line in said, said
assert "sudo apt install adb" in first_line(PATH="/nowhere")[0]

dumps = [open(f"{source}/tests/dumps/android-{release}.txt").read() for release in (8, 12, 16)]
printed = subprocess.run([lumd_adb, "--dump", "-", "--print"], input=dumps[0], capture_output=True, text=True)
assert printed.stdout == open(f"{source}/tests/dumps/android-8.jsonl").read(), printed

happened, ids, numbers = [], {}, itertools.count(1)
_, desktop = dbusmock.DBusTestCase.spawn_server_template(
    "notification_daemon", {"capabilities": "body actions"}, subprocess.DEVNULL)
desktop.connect_to_signal("MethodCalled", called, dbus_interface=dbusmock.MOCK_IFACE)
adb = lambda *arguments: subprocess.run(["adb", *arguments], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
device = Device()
serial = f"127.0.0.1:{device.port}"
process = subprocess.Popen([lumd_adb, "-s", serial], stderr=subprocess.PIPE, text=True)
threading.Thread(target=lambda: [GLib.idle_add(happened.append, line) for line in process.stderr], daemon=True).start()
try:
    until(serial + " is not connected")
    dump = device.dump = dumps[0]
    adb("connect", serial)
    until("Showing", "shown Ada (work): Are you (still) there?", "shown Library", "shown USB debugging connected")
    dump = dump.replace("(still) there", "there (now)")
    device.show(dump)
    until("replaced Ada (work): Are you there (now)?")
    device.show(dump)
    until("dumpsys")
    signal_from_desktop("NotificationClosed", ids["Library"], 2)
    dump = without("org.example.chat", dump)
    device.show(dump)
    until("closed Ada (work)")
    dump = dump.replace("Two books", "Three books")
    device.show(dump)
    until("shown Library: Three books are due.")
    signal_from_desktop("NotificationClosed", ids["Library"], 2)
    device.connection.shutdown(socket.SHUT_RDWR)
    until("closed USB debugging connected")
    device = Device(device.port)
    device.dump = dump
    adb("disconnect")
    adb("connect", serial)
    until("Showing", "shown USB debugging connected: Tap to turn off silently")
    device.show(dumps[2])
    until("closed USB", "shown Mira", "shown Anna", "shown holiday", "shown Morning")
    signal_from_desktop("ActionInvoked", ids["Mira"], "default")
    until("resolve-activity --brief org.example.chat", "am start -n 'org.example.chat/.Main$Tap'")
    process.terminate()
    until("closed Mira", "closed Anna", "closed holiday", "closed Morning")
    assert process.wait() == 128 + signal.SIGTERM
finally:
    adb("kill-server")
    process.kill()
