#!/usr/bin/env python3
# lumd-adb as its user meets it: the real adb, a device that speaks its protocol, and a desktop on a bus of its own.
# SPDX-License-Identifier: MIT
import os, re, signal, socket, struct, subprocess, sys, tempfile, threading
import dbus
from dbus.mainloop.glib import DBusGMainLoop
from dbusmock import DBusTestCase
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
        magic = struct.unpack("<I", command)[0] ^ 0xFFFFFFFF
        header = struct.pack("<4s5I", command, first or number, number, len(data), 0, magic)
        self.connection.sendall(header + data)

    def handle(self, command, number, data):
        if command == b"CNXN":
            self.send(b"CNXN", 1 << 20, b"device::ro.product.name=fake;\0", 0x01000001)
        elif command == b"OPEN":
            self.send(b"OKAY", number)
            question = data.decode().rstrip("\0")
            if "logcat" in question:
                self.log = number
                return self.tell("I notification_enqueue: the latest")
            GLib.idle_add(happened.append, question)
            answer = self.dump if "dumpsys" in question else "priority=0\norg.example.chat/.Main$Tap\n"
            self.send(b"WRTE", number, answer.encode())
            self.send(b"CLSE", number)

    def tell(self, line):
        self.send(b"WRTE", self.log, line.encode() + b"\n")

    def show(self, dump):
        self.dump = dump
        self.tell("I notification_enqueue: [...]")


def until(*wanted):
    """Returns when all of this has happened. Nothing else may happen meanwhile, but that the device is asked."""
    missing = list(wanted)
    while missing:
        while not happened:
            GLib.MainContext.default().iteration(True)
        event = happened.pop(0)
        found = next((text for text in missing if text in event), None)
        assert found or "dumpsys" in event, f"{event}, not {missing}"
        missing.remove(found) if found else None


def called(method, arguments):
    if method == "Notify":
        _, replaced, _, summary, body, _, hints, _ = arguments
        called.count += 1
        ids[str(summary)] = replaced or called.count
        silently = " silently" if "suppress-sound" in hints else ""
        happened.append(f"{'replaced' if replaced else 'shown'} {summary}: {body}{silently}")


def closed(id, _):
    happened.append("closed " + next(summary for summary in ids if ids[summary] == id))


def act(summary, *signals):
    for name, signature, value in (*signals, ("NotificationClosed", "uu", 2)):
        desktop.EmitSignal(NAME, name, signature, dbus.Array([dbus.UInt32(ids[summary]), value], "v"))


def first_line(*arguments, **environment):
    with subprocess.Popen([lumd_adb, *arguments], env={**os.environ, **environment}, stderr=subprocess.PIPE) as process:
        line = process.stderr.readline().decode()
        process.terminate()
    return line


def without(package, dump):
    return re.sub(rf"    NotificationRecord\(\S+ pkg={package} .*?(?=    NotificationRecord|  \n)", "", dump, flags=re.S)


NAME, PATH = "org.freedesktop.Notifications", "/org/freedesktop/Notifications"
GLib.timeout_add_seconds(90, lambda: happened.append("a time-out"))
lumd_adb, source = os.path.realpath(sys.argv[1]), sys.argv[2]
home = tempfile.TemporaryDirectory()
with socket.create_server(("127.0.0.1", 0)) as free:
    port = free.getsockname()[1]
os.environ.update(HOME=home.name, TMPDIR=home.name, ANDROID_ADB_SERVER_PORT=str(port),
                  ADB_LOCAL_TRANSPORT_MAX_PORT="5553", LC_ALL="C")  # no phone or emulator of the developer's
DBusGMainLoop(set_as_default=True)
DBusTestCase.start_session_bus()

# Obstacles on the way to a device.
with open(home.name + "/adb", "w") as script:
    script.write('#!/bin/sh\n[ $1 != version ] && printf "%04x$LIST" $SIZE && exec sleep 60\n'
                 'echo Android Debug Bridge version 1.0.$NUMBER\n')
os.chmod(script.name, 0o755)
for number, devices, line in (
        ("31", "", "1.0.31 is too old"),
        ("41", "", "No device is connected"),
        ("41", "A\tunauthorized\n", "A is unauthorized. Allow"),
        ("41", "A\toffline\n", "A is offline"),
        ("41", "A\tdevice\nB\tdevice\n", "lumd-adb -s A, or -s B"),
        ("41", "A\tunauthorized\nB\tdevice\n", "Showing the notifications of B")):
    said = first_line(PATH=home.name + ":/bin", NUMBER=number, LIST=devices, SIZE=str(len(devices)))
    assert line in said, said
assert "sudo apt install adb" in first_line(PATH="/nowhere")

dumps = [open(f"{source}/tests/dumps/android-{release}.txt").read() for release in (8, 12, 16)]
printed = subprocess.run([lumd_adb, "--dump", "-", "--print"], input=dumps[0], capture_output=True, text=True)
assert printed.stdout == open(f"{source}/tests/dumps/android-8.jsonl").read(), printed

happened, ids = [], {}
bus = dbus.SessionBus()
bus.add_signal_receiver(called, "MethodCalled")
bus.add_signal_receiver(closed, "NotificationClosed")
called.count = 0
server = DBusTestCase.spawn_server(NAME, PATH, NAME, stdout=subprocess.DEVNULL)
desktop = dbus.Interface(bus.get_object(NAME, PATH), "org.freedesktop.DBus.Mock")
desktop.AddMethods(NAME, [
    ("GetCapabilities", "", "as", "ret = ['actions', 'body']"),
    ("GetServerInformation", "", "ssss", "ret = 'mock', '', '', ''"),
    ("Notify", "susssasa{sv}i", "u", "self.count = getattr(self, 'count', 0) + 1; ret = args[1] or self.count"),
    ("CloseNotification", "u", "", "self.EmitSignal('', 'NotificationClosed', 'uu', [args[0], 3])")])
adb = lambda *arguments: subprocess.run(["adb", *arguments], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
device = Device()
serial = f"127.0.0.1:{device.port}"
process = subprocess.Popen([lumd_adb, "-s", serial], stderr=subprocess.PIPE, text=True)
try:
    assert "is not connected" in process.stderr.readline()
    device.dump = dumps[0]
    adb("connect", serial)
    until("shown Ada (work): Are you (still) there?", "shown Library", "shown USB debugging connected")
    dump = dumps[0].replace("(still) there", "there (now)")
    device.show(dump)
    until("replaced Ada (work): Are you there (now)?")
    device.show(dump)
    until("dumpsys")
    act("Library")
    until("closed Library")
    dump = without("org.example.chat", dump)
    device.show(dump)
    until("closed Ada (work)")
    dump = dump.replace("Two books", "Three books")
    device.show(dump)
    until("shown Library: Three books are due.")
    act("Library")
    until("closed Library")
    device.connection.shutdown(socket.SHUT_RDWR)
    until("closed USB debugging connected")
    device = Device(device.port)
    device.dump = dump
    adb("disconnect")
    adb("connect", serial)
    until("shown USB debugging connected: Tap to turn off silently")
    device.show(dumps[2])
    until("closed USB", "shown Mira", "shown Anna", "shown holiday", "shown Morning")
    act("Mira", ("ActionInvoked", "us", "default"))
    until("resolve-activity --brief org.example.chat", "am start -n 'org.example.chat/.Main$Tap'", "closed Mira")
    process.terminate()
    until("closed Anna", "closed holiday", "closed Morning")
    assert process.wait() == 128 + signal.SIGTERM
finally:
    adb("kill-server")
    process.kill()
    server.kill()
    DBusTestCase.tearDownClass()
