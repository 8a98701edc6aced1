#!/usr/bin/env bash
# lumdsim as its user meets it: exit statuses, output to a program, to a terminal and to nobody, completion.
# SPDX-License-Identifier: MIT
set -euo pipefail
lumdsim=$1 source=$2
examples=$source/examples
TMPDIR=$(mktemp -d)
export TMPDIR ALERT_LOG=$TMPDIR/alerts LC_ALL=C.UTF-8
trap 'rm -rf "$TMPDIR"' EXIT
fail() { printf '%s\n' "$@"; exit 1; }

cd "$source" # the configuration names its command from here
day=(--config "$examples/demo.ini" "$examples/day.jsonl")
while read -r expected arguments; do
    status=0
    # shellcheck disable=SC2086
    timeout 60 "$lumdsim" $arguments </dev/null >/dev/null 2>"$TMPDIR/complaint" || status=$?
    [[ $status == "$expected" ]] || fail "lumdsim $arguments: exit status $status" "$(<"$TMPDIR/complaint")"
    [[ -s $TMPDIR/complaint || $status == 0 ]] || fail "lumdsim $arguments: fails in silence"
done <<CASES
0 --help
0 --version
0 -
0 ${day[*]}
1 --plugin /nowhere
1 --server unix:path=/nowhere
2 --unknown
2 one two
2 --desktop --server unix:path=/nowhere
2 --config /nowhere
2 /nowhere
2 $examples/demo.ini
CASES

printf '[Notifications]\nNotifActionInput = perhaps\n# x = y\nNotifAlert = x\nNotifAlertCommand = %s\n[Other]\nx = y\n' \
    'bin/alert "1 2"' >"$TMPDIR/ini"
warned=$("$lumdsim" --config "$TMPDIR/ini" - </dev/null 2>&1 | cut -d: -f 2 | xargs)
[[ $warned == "2 4 5" ]] || fail "warned of these lines of the configuration: $warned"

titles=$("$lumdsim" --json "${day[@]}" | jq -r 'select(.event == "shown" and (.replaced | not)).summary')
[[ $titles == Alarm* ]] || fail "through jq: $titles"

escapes() { grep -c $'\e\\[' || :; }
(($("$lumdsim" "${day[@]}" | escapes) == 0)) || fail "colours in a pipe"
terminal() { setsid -w script -qec "$lumdsim ${day[*]}" /dev/null </dev/null; }
(($(NO_COLOR='' terminal | escapes) > 0)) || fail "no colours on a terminal"
(($(NO_COLOR=1 terminal | escapes) == 0)) || fail "colours in spite of NO_COLOR"
typing=$(sleep 1 | setsid -w script -qec "$lumdsim" /dev/null)
[[ $typing == Type*Ctrl-D* ]] || fail "somebody who types is told: $typing"

# The first line is read, and nothing after it: lumdsim stops there, says nothing, and leaves nothing behind.
read -r _ < <("$lumdsim" "${day[@]}" 2>"$TMPDIR/complaint" || echo $? >"$TMPDIR/status")
for ((i = 0; i < 100; ++i)); do
    [[ ! -s $TMPDIR/status ]] || break
    sleep 0.1
done
[[ $(cat "$TMPDIR/status") == 1 && ! -s $TMPDIR/complaint ]] || fail "not read to the end: $(<"$TMPDIR/complaint")"
[[ -z $(ls "$TMPDIR/lumd/notif") ]] || fail "icons left behind"

debug=$("$lumdsim" --logging-rules '*.debug=false;com.velmo.lumd.plugin.notifications.debug=true' - </dev/null 2>&1)
[[ $debug == *notifications:* ]] || fail "no debug messages: $debug"

# shellcheck source=/dev/null
source "$source/tools/lumdsim/completion/lumdsim"
COMP_WORDS=(lumdsim --) COMP_CWORD=1
_lumdsim
options=$("$lumdsim" --help | sed -n 's/^  .*\(--[a-z-]*\).*  .*/\1/p')
[[ $(sort <<<"$options") == $(printf '%s\n' "${COMPREPLY[@]}" | sort) ]] || fail "completed: ${COMPREPLY[*]}" "$options"
for option in $options; do
    grep -qe "$option" "$source/tools/lumdsim/completion/_lumdsim" || fail "not completed in zsh: $option"
done
