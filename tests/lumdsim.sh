#!/usr/bin/env bash
# lumdsim as its user meets it: transcript, faults, terminals, signals, desktops; and other programs' clients on our server.
# SPDX-License-Identifier: MIT
set -euo pipefail
lumdsim=$(realpath "$1") source=$2
TMPDIR=$(mktemp -d)
export TMPDIR ALERT_LOG=$TMPDIR/alerts LC_ALL=C.UTF-8 DBUS_SESSION_BUS_ADDRESS=unix:path=/nowhere
trap 'rm -rf "$TMPDIR"' EXIT
fail() { printf '%s\n' "$@" && exit 1; }

cd "$source" # the configuration names its command from here
day="--config examples/demo.ini examples/day.jsonl"
for zone in Asia/Tokyo America/St_Johns; do
    # shellcheck disable=SC2086
    TZ=$zone "$lumdsim" $day | diff docs/demo.txt - || fail "the transcript in $zone"
done

while IFS='|' read -r expected fault arguments; do
    status=0
    eval "timeout 60 $lumdsim $arguments" >/dev/null 2>"$TMPDIR/complaint" || status=$?
    [[ $status == "$expected" && $(<"$TMPDIR/complaint") == *"$fault"* ]] || fail "$arguments: $status" "$(<"$TMPDIR/complaint")"
done <<'CASES'
0||--version
1|cannot open shared object|--plugin /nowhere </dev/null
1|No notification server answers|--server unix:path=/nowhere </dev/null
1|There is no session bus|--desktop </dev/null
1|The standard output is closed|- >&-
2|The standard input is closed|- <&-
2|Is a directory|- </
2|either --desktop or|--desktop --server unix:path=/nowhere
2|/nowhere|--config /nowhere
2|input:3: missing name separator|- <<<$'# comment\n\n{"do"}'
2|there is nothing to do that is called "dance"|- <<<'{"do":"dance"}'
2|"key" is missing|- <<<'{"do":"add","title":"t"}'
2|"key" is unknown here|- <<<'{"do":"clear","key":"k"}'
2|"ms" is not an integer|- <<<'{"do":"wait","ms":1.5}'
2|"title" is not a string|- <<<'{"do":"add","key":"k","actions":[{"title":1}]}'
2|no notification with the key "gone" is shown|- <<<'{"do":"dismiss","key":"gone"}'
CASES

printf '[Notifications]\nNotifActionInput = perhaps\n# x = y\nNotifAlert = x\nNotifAlertCommand = %s\n[Other]\nx = y\n' \
    'bin/alert "1 2"' >"$TMPDIR/ini"
warned=$("$lumdsim" --config "$TMPDIR/ini" - </dev/null 2>&1 | cut -d: -f 2 | xargs)
[[ $warned == "2 4 5" ]] || fail "warned of these lines of the configuration: $warned"

terminal() { setsid -w script -qec "$lumdsim $1" /dev/null; }
escapes() { grep -c $'\e\\[3' || :; }
# shellcheck disable=SC2086
(($("$lumdsim" $day | escapes) == 0 && $(NO_COLOR=1 terminal "$day" </dev/null | escapes) == 0)) || fail "colours"
(($(terminal "$day" </dev/null | escapes) > 0)) || fail "no colours on a terminal"


# Whatever ends it, the plug-in is unloaded: the end of a reader, or of a script that is played on, or a signal.
for signal in PIPE INT TERM HUP; do
    coproc "$lumdsim" --json 2>&1
    # shellcheck disable=SC2153
    pid=$COPROC_PID && exec 3<&"${COPROC[0]}" 4>&"${COPROC[1]}"
    echo '{"do":"add","key":"k","title":"Ada","smallIcon":"examples/icons/mail.png"}' >&4
    read -r _ <&3
    if [[ $signal == PIPE ]]; then
        eval "exec 3<&- ${COPROC[0]}<&-" && echo '{"do":"clear"}' >&4
    else
        kill -s $signal "$pid"
        read -r closed <&3
        [[ $closed == *'"event":"closed"'*'"line":1'* ]] || fail "$signal: $closed"
    fi
    ! wait "$pid" || fail "$signal: as if all were well"
    ! compgen -G "$TMPDIR/lumdsim*" >/dev/null || fail "$signal: icons are left behind"
done

# On session buses: servers of others, and clients of others (notify-send, dbus-python) on ours.
/usr/bin/python3 - "$lumdsim" <<'PYTHON'
import dbus, os, subprocess, sys
from dbusmock import DBusTestCase as bus

def start(*command):
    return subprocess.Popen(command, stdout=subprocess.PIPE, text=True)

def day():
    run = start(sys.argv[1], *"--desktop --config examples/demo.ini examples/day.jsonl".split())
    return run.communicate()[0] + f"exit status {run.returncode}"

bus.start_session_bus()
other, _ = bus.spawn_server_template("notification_daemon", stdout=subprocess.DEVNULL)
played = day()
assert "Harbour Lights" in played and "skipped" in played and "exit status 0" in played, played
other.terminate()
other.wait()
server = start(os.path.dirname(sys.argv[1]) + "/kavrel-notification-server", "--session", "--quiet")
server.stdout.readline()
assert day() == open("docs/demo.txt").read() + "exit status 0", "the transcript on a bus"
proxy = bus.get_dbus().get_object("org.freedesktop.Notifications", "/org/freedesktop/Notifications")
client, user = (dbus.Interface(proxy, name) for name in ("org.freedesktop.Notifications", "com.vorn.Notifications.Control"))
question = start("notify-send", "-A", "yes=Yes", "Question")
while not user.List():
    pass
user.Invoke(user.List()[0][0], "yes")
assert question.communicate()[0] == "yes\n"
deep = dbus.Array(["x"], signature="v")
for _ in range(16):
    deep = dbus.Array([deep], signature="v")
client.GetCapabilities()
client.Notify("", 0, "", "s", "b", [], {"p": dbus.ObjectPath("/a"), "m": dbus.Dictionary({"a": 1}, "si"), "d": deep}, 0)
hints = user.List()[0][6]
assert (type(hints["p"]), hints["m"].signature, hints["d"]) == (dbus.ObjectPath, "si", deep), hints
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
