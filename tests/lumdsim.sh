#!/usr/bin/env bash
# lumdsim as its user meets it: transcript, terminals, messages, signals, a desktop.
# SPDX-License-Identifier: MIT
set -euo pipefail
lumdsim=$(realpath "$1") source=$2
TMPDIR=$(mktemp -d)
bus=$DBUS_SESSION_BUS_ADDRESS # for the last part
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

{ printf 'hello\n'; echo '{"do":"add","key":"k"}'; } | script -qec "$lumdsim" /dev/null >"$TMPDIR/typed"
[[ $(<"$TMPDIR/typed") == *:1:*'such as {"do"'*'●'*'✕'* ]] || fail "a terminal" "$(<"$TMPDIR/typed")"

printf 'above = 1\n[Notification]\na=1\nb=1\n[Notifications]\nNotifAlert = x\nNotifActionInput = yse\n' >"$TMPDIR/wrong.ini"
while IFS='|' read -r expected said arguments first; do
    status=0
    (eval "$first timeout 60 \$lumdsim $arguments") >/dev/null 2>"$TMPDIR/said" || status=$?
    # shellcheck disable=SC2053
    [[ $status == "$expected" && $(<"$TMPDIR/said") == $said ]] || fail "$arguments: $status" "$(<"$TMPDIR/said")"
done <<'CASES'
1|*cannot open shared object*|--plugin /nowhere </dev/null
1|*No temporary folder in /proc*|</dev/null|TMPDIR=/proc
0|*ini: warning: above: *section*[Notification]: *only*] NotifAlert: *no such key*"yse"*false|--config "$TMPDIR/wrong.ini" </dev/null
1|*output is closed*|- >&-
1|*input or*is closed*|- <&-
1|*No space left*|- >/dev/full <<<'{"do":"clear"}'
2|*takes milliseconds, not "x".*|--pace x
2|*input:3: not a JSON object (*)*{"do":"add"*|- <<<$'# comment\n\n{"do"}'
2|*unknown "do": "dance"*add, remove,*|- <<<'{"do":"dance"}'
2|*"key" is missing|- <<<'{"do":"add","title":"t"}'
2|*"key" is unknown here, "clear" takes nothing|- <<<'{"do":"clear","key":"k"}'
2|*"title" takes a string, not 1|- <<<'{"do":"add","key":"k","actions":[{"title":1},{}]}'
2|*"importance" takes 0 to 5, not 6|- <<<'{"do":"add","key":"k","color":"#ff336699","importance":6}'
2|*"timestamp" takes*"2024-05-06T07:00", not "noon"|- <<<'{"do":"add","key":"k","timestamp":"noon"}'
2|*/nowhere.png: No such file*|- <<<'{"do":"add","key":"k","smallIcon":"/nowhere.png"}'
2|*README.md is not a PNG file|- <<<'{"do":"add","key":"k","smallIcon":"README.md"}'
2|*"k" has no action "Go"; it has: Yes, No|- <<<$'{"do":"add","key":"k","actions":[{"title":"Yes"},{"title":"No"}]}\n{"do":"invoke","key":"k","action":"Go"}'
2|*no notification with the key "gone" is shown|- <<<'{"do":"dismiss","key":"gone"}'
0|*Nobody can answer k*|--wait <<<'{"do":"add","key":"k"}'
CASES

for signal in INT TERM HUP; do
    coproc setsid "$lumdsim" --json 2>"$TMPDIR/said"
    # shellcheck disable=SC2153
    exec 3<&"${COPROC[0]}" 4>&"${COPROC[1]}"
    echo '{"do":"add","key":"k","title":"Ada","smallIcon":"examples/icons/mail.png"}' >&4
    read -r _ <&3 && kill -s $signal -- "-$COPROC_PID"
    [[ $(cat <&3) == *'"event":"closed"'* && ! -s $TMPDIR/said ]] || fail "$signal: something stays" "$(<"$TMPDIR/said")"
    wait
    ! compgen -G "$TMPDIR/lumdsim*" || fail "$signal: icons are left behind"
done

DBUS_SESSION_BUS_ADDRESS=$bus
/usr/bin/python3 -m dbusmock --session --template notification_daemon >/dev/null &
gdbus wait --session --timeout 60 org.freedesktop.Notifications
"$lumdsim" --desktop --wait >"$TMPDIR/told" <<<'{"do":"add","key":"k"}' &
while kill -0 $! 2>/dev/null; do # its first notification has the identifier 1
    timeout 10 gdbus call --session -d org.freedesktop.Notifications -o /org/freedesktop/Notifications \
        -m org.freedesktop.DBus.Mock.EmitSignal '""' NotificationClosed uu '[<uint32 1>, <uint32 2>]' >/dev/null
done
{ wait $! && [[ $(<"$TMPDIR/told") == *"k is gone"* ]]; } || fail "--wait" "$(<"$TMPDIR/told")"
# shellcheck disable=SC2086
played=$("$lumdsim" --desktop $day && "$lumdsim" --desktop 2>&1 <<<'{"do":"add","key":"k"}')
[[ $played == *"adds 0|org.example.clock"*skipped*"taken down again"* ]] || fail "a desktop" "$played"
