#!/usr/bin/env bash
# lumdsim as its user meets it: transcript, faults, signals, terminals, desktops; and others' clients on our server.
# SPDX-License-Identifier: MIT
set -euo pipefail
lumdsim=$(realpath "$1") source=$2
TMPDIR=$(mktemp -d)
export TMPDIR LC_ALL=C.UTF-8 DBUS_SESSION_BUS_ADDRESS=unix:path=/nowhere
trap 'rm -rf "$TMPDIR"' EXIT
fail() { printf '%s\n' "$@" && exit 1; }

cd "$source"
day="--config examples/demo.ini examples/day.jsonl"
# shellcheck disable=SC2086
play() { "$lumdsim" $day; }
for zone in Asia/Tokyo America/St_Johns; do
    TZ=$zone play | diff docs/demo.txt - || fail "the transcript in $zone"
done
terminal() { setsid -w script -qec "$lumdsim $day" /dev/null </dev/null; }
escapes() { grep -c $'\e\\[3' || :; }
[[ $(terminal | escapes) -gt 0 && $(NO_COLOR=1 terminal | escapes) == 0 && $(play | escapes) == 0 ]] || fail "colours"

printf '[ Notifications ]\nNotifAlert = x\n' >"$TMPDIR/wrong.ini"
while IFS='|' read -r expected fault arguments first; do
    status=0
    (eval "$first timeout 60 \$lumdsim $arguments") >/dev/null 2>"$TMPDIR/said" || status=$?
    [[ $status == "$expected" && $(<"$TMPDIR/said") == *"$fault"* ]] || fail "$arguments: $status" "$(<"$TMPDIR/said")"
done <<'CASES'
1|cannot open shared object|--plugin /nowhere </dev/null
1|server cannot be started|--plugin "${1%/bin/*}/lib/kavrel.so" </dev/null|cp "$lumdsim" "$TMPDIR/alone"; lumdsim="env PATH=/ $TMPDIR/alone";
1|No temporary folder in /proc|</dev/null|TMPDIR=/proc
1|No space left|--help >/dev/full
0|wrong.ini:2: warning: NotifAlert: there is no such key|--config "$TMPDIR/wrong.ini" </dev/null
1|No notification server answers|--server unix:path=/nowhere </dev/null
1|The standard output is closed|- >&-
2|The standard input is closed|- <&-
2|Is a directory|- </
2|either --desktop or|--desktop --server unix:path=/nowhere
2|input:3: missing name separator|- <<<$'# comment\n\n{"do"}'
2|there is nothing to do that is called "dance"|- <<<'{"do":"dance"}'
2|"key" is missing|- <<<'{"do":"add","title":"t"}'
2|"key" is unknown here|- <<<'{"do":"clear","key":"k"}'
2|"title" is not a string|- <<<'{"do":"add","key":"k","actions":[{"title":1},{}]}'
2|no notification with the key "gone" is shown|- <<<'{"do":"dismiss","key":"gone"}'
CASES

for signal in INT TERM HUP; do
    coproc "$lumdsim" --json
    # shellcheck disable=SC2153
    exec 3<&"${COPROC[0]}" 4>&"${COPROC[1]}"
    echo '{"do":"add","key":"k","title":"Ada","smallIcon":"examples/icons/mail.png"}' >&4
    read -r _ <&3 && kill -s $signal "$COPROC_PID"
    [[ $(cat <&3) == *'"event":"closed"'*'"line":1'* ]] || fail "$signal: something stays on the screen"
    ! compgen -G "$TMPDIR/lumdsim*" || fail "$signal: icons are left behind"
done

timeout 120 /usr/bin/python3 - "$lumdsim" <<'PYTHON'
import dbus, os, pty, subprocess, sys
from dbusmock import DBusTestCase as bus

def start(*command, **pipes):
    return subprocess.Popen(command, stdout=subprocess.PIPE, text=True, **pipes)

def day():
    run = start(sys.argv[1], *"--desktop --config examples/demo.ini examples/day.jsonl".split())
    return run.communicate()[0] + f"exit status {run.returncode}"

def shown():
    while not user.List():
        pass
    return user.List()[0]

def until(text, seen=b""):
    while text.encode() not in seen:
        seen += os.read(terminal, 4096)

process, terminal = pty.fork()
if process == 0:
    os.execv(sys.argv[1], sys.argv[1:])
until("Ctrl-D")
for typed, told in (b'{"do":"add","key":"k"}\r', "●"), (b"\x1b[A\r", "adds k"), (b"\x1b[A\r", "adds k"), (b"\4", "✕"):
    os.write(terminal, typed)
    until(told)
assert os.waitpid(process, 0)[1] == 0
bus.start_session_bus()
other, _ = bus.spawn_server_template("notification_daemon", stdout=subprocess.DEVNULL)
played = day()
assert "Harbour Lights" in played and "skipped" in played and "exit status 0" in played, played
waiting = start(sys.argv[1], "--desktop", stdin=subprocess.PIPE)
waiting.stdin.write('{"do":"wait","ms":60000}\n')
waiting.stdin.close()
waiting.stdout.readline()
assert waiting.terminate() or waiting.wait() == 143, "a signal while the input ends"
other.terminate(), other.wait()
server = start(os.path.dirname(sys.argv[1]) + "/kavrel-notification-server", "--session", "--quiet")
server.stdout.readline()
assert day() == open("docs/demo.txt").read() + "exit status 0", "the transcript on a bus"
proxy = bus.get_dbus().get_object("org.freedesktop.Notifications", "/org/freedesktop/Notifications")
client, user = (dbus.Interface(proxy, name) for name in ("org.freedesktop.Notifications", "com.vorn.Notifications.Control"))
waiting = start(sys.argv[1], "--desktop", "--wait", stdin=subprocess.PIPE)
waiting.stdin.write('{"do":"add","key":"k","title":"Tea?","clearable":true}')
waiting.stdin.close()
user.Dismiss(shown()[0])
assert "k is gone" in waiting.stdout.read() and waiting.wait() == 0
question = start("notify-send", "-A", "yes=Yes", "Question")
user.Invoke(shown()[0], "yes")
assert question.communicate()[0] == "yes\n"
client.Notify("", 0, "", "s", "b", [], {"p": dbus.ObjectPath("/a"), "m": dbus.Dictionary({"a": 1}, "si")}, 0)
hints = shown()[6]
assert (type(hints["p"]), hints["m"].signature) == (dbus.ObjectPath, "si"), hints
for _ in range(8):
    id = client.Notify("", 0, "", "s", 2**23 * "x", [], {}, 0)
for call, reason in ((user.List, "LimitsExceeded"), (lambda: user.Invoke(id + 1, "x"), "There is no notification")):
    try:
        assert not call(), "no error"
    except dbus.DBusException as error:
        assert reason in str(error), error
bus.tearDownClass()
assert server.wait(10) == 1, "the server outlives its bus"
PYTHON
