#!/usr/bin/env bash
# Plays notifications to real desktop servers, on a bus and a display of their own, and is the user there.
# SPDX-License-Identifier: MIT
# usage: desktop.sh LUMDSIM [SERVER...]
# shellcheck disable=SC2317 # most functions are called by name
set -euo pipefail

# Name; command; the class of its windows, "-" where it says itself what it shows; how far from a notification's
# right edge and from its top or (-) bottom a lone button is; the same for what dismisses it.
servers="
dunst  dunst_quiet                                                        -                         0   0   0   0
mate   /usr/lib/mate-notification-daemon/mate-notification-daemon         mate-notification-daemon  55 -30 32  32
xfce   /usr/lib/$(uname -m)-linux-gnu/xfce4/notifyd/xfce4-notifyd         xfce4-notifyd             45 -30 60  20
gnome  /usr/lib/notification-daemon/notification-daemon                   notification-daemon       70 -35 32  26
"
cases="shown replaced invoked dismissed closed cleared"
icon_color=#ff00ff
bar_color=#00ff00

dunst_quiet() {
    printf '[global]\nprogress_bar = true\n[urgency_normal]\nhighlight = "%s"\ntimeout = 0\n' "$bar_color" >"$HOME/dunstrc"
    dunst -conf "$HOME/dunstrc"
}

# Whether the command succeeds before long.
eventually() {
    local deadline=$((SECONDS + 20))
    until "$@"; do
        ((SECONDS < deadline)) || return 1
        sleep 0.05
    done
}

# --- What can be seen

windows() { # those of notifications; daemons have small ones for other purposes
    local window WIDTH
    for window in $(xdotool search --onlyvisible --class "$class" 2>/dev/null); do
        WIDTH=0
        eval "$(xdotool getwindowgeometry --shell "$window" 2>/dev/null)"
        ((WIDTH < 100)) || echo "$window"
    done
}

displayed() {
    if [[ $class == - ]]; then
        dunstctl count displayed
    else
        windows | wc -l
    fi
}
displays() { [[ $(displayed) == "$1" ]]; }

pixels() { # of a colour
    import -silent -window root miff:- |
        convert - -fill black +opaque "$1" -fill white -opaque "$1" -format '%[fx:round(mean*w*h)]' info:
}
sees() { (($(pixels "$1") >= ${2:-100})); }

# One line for every Notify that was answered: what it replaces, its identifier.
notified() {
    awk '/member=Notify$/ { match($0, /serial=[0-9]+/); serial = substr($0, RSTART + 7, RLENGTH - 7); call = 1; next }
         /reply_serial=/ { sub(/.*reply_serial=/, ""); answer = ($1 in replaces) ? $1 : ""; call = 0; next }
         /^[a-z]/ { call = 0; answer = "" }
         /^   uint32 / && call { replaces[serial] = $2; call = 0 }
         /^   uint32 / && answer { print replaces[answer], $2; answer = "" }' "$HOME/bus"
}
received() { grep -qF -- "$1" "$HOME/bus"; }
told() { grep -qF -- "{\"event\":\"$1\",\"key\":\"$2\"" "$HOME/events"; }

# --- What happens

host() { printf '%s\n' "$1" >&3; }
add() { # KEY TITLE PROGRESS
    host "$(printf '{"do":"add","key":"%s","appName":"Chat","title":"%s","text":"Done","progressMax":100,"progress":%s,' "$@"
        printf '"smallIcon":"%s","importance":3,"clearable":true,"actions":[{"title":"Reply","identifier":"1"}]}' \
            "$HOME/icon.png")"
}

click() { # a spot of the newest notification: # RIGHT DOWN
    local window X Y WIDTH HEIGHT
    window=$(windows | tail -n 1)
    eval "$(xdotool getwindowgeometry --shell "${window:-0}" 2>/dev/null)" && [[ -n ${HEIGHT:-} ]] || return 0
    xdotool mousemove $((X + WIDTH - $1)) $((Y + ($2 < 0 ? HEIGHT : 0) + $2)) click 1 2>/dev/null || true
}
# Acts, and says whether the host has heard. To be tried again: a window that has just come takes no clicks.
user() { # invokes|dismisses KEY
    case $1,$class in
    invokes,-) dunstctl action 0 ;;
    dismisses,-) dunstctl close ;;
    invokes,*) click "$button_x" "$button_y" ;;
    dismisses,*) click "$close_x" "$close_y" ;;
    esac
    case $1 in
    invokes) told invoked "$2" ;;
    dismisses) told removed "$2" ;;
    esac
}

# --- The cases

shown() {
    add a "Ada Byron" 25
    eventually displays 1
    eventually sees "$icon_color"
    if [[ $class == - ]]; then
        eventually sees "$bar_color"
    else
        received 'string "Done · 25%"'
    fi
}

replaced() {
    local before after
    before=$(pixels "$bar_color")
    add a "Ada Lovelace" 75
    eventually received "Ada Lovelace"
    answered_twice() { (($(notified | wc -l) == 2)); }
    eventually answered_twice
    after=$(notified)
    [[ $after =~ ^0\ ([0-9]+).([0-9]+)\ ([0-9]+)$ && ${BASH_REMATCH[1]} == "${BASH_REMATCH[2]}" &&
        ${BASH_REMATCH[1]} == "${BASH_REMATCH[3]}" ]]
    eventually displays 1
    [[ $class != - ]] || eventually sees "$bar_color" $((2 * before))
}

invoked() {
    eventually user invokes a
    grep -qF '{"event":"action","identifier":"1","key":"a","title":"Reply"}' "$HOME/events"
    host '{"do":"remove","key":"a"}'
    eventually displays 0
}

dismissed() {
    add b "Grace Hopper" 50
    eventually displays 1
    eventually user dismisses b
    eventually displays 0
}

closed() {
    add c "Mary Somerville" 50
    eventually displays 1
    host '{"do":"remove","key":"c"}'
    eventually displays 0
}

cleared() {
    add d "Emmy Noether" 50
    eventually displays 1
    add e "Sofja Kowalewskaja" 50
    host '{"do":"clear"}'
    eventually displays 0
}

# --- One server, on a bus and in a home of its own

has_owner() {
    dbus-send --print-reply --dest=org.freedesktop.DBus / org.freedesktop.DBus.NameHasOwner "string:$1" 2>/dev/null |
        grep -q true
}

serve() { # a line of the table
    local server command class button_x button_y close_x close_y case lumdsim_pid failed=0
    read -r server command class button_x button_y close_x close_y <<<"$1"
    convert -size 64x64 "xc:$icon_color" "$HOME/icon.png"
    mkfifo "$HOME/host"
    $command >"$HOME/log" 2>&1 &
    eventually has_owner org.freedesktop.Notifications
    dbus-monitor --session "interface='org.freedesktop.Notifications'" "type='method_return'" >"$HOME/bus" &
    eventually test -s "$HOME/bus"
    "$lumdsim" --desktop --json - <"$HOME/host" >"$HOME/events" 2>>"$HOME/log" &
    lumdsim_pid=$!
    exec 3>"$HOME/host"
    for case in $cases; do
        (set -e && "$case") & # "set -e" does not reach into a condition
        if wait $!; then
            echo "$server: $case"
            continue
        fi
        failed=1
        echo "$server: $case FAILED"
        tail -n 5 "$HOME/events" "$HOME/log"
    done
    exec 3>&-
    wait $lumdsim_pid || { failed=1 && echo "$server: lumdsim FAILED" && cat "$HOME/log"; }
    return $failed
}

if [[ $1 == --serve ]]; then
    lumdsim=$2
    trap 'kill $(jobs -p)' EXIT
    serve "$3"
    exit
fi

scratch=$(mktemp -d)
trap 'kill $(jobs -p); rm -rf "$scratch"' EXIT
Xvfb -displayfd 4 -screen 0 800x600x24 -nolisten tcp 4>"$scratch/display" 2>/dev/null &
eventually test -s "$scratch/display"
DISPLAY=:$(<"$scratch/display")
export DISPLAY GSETTINGS_BACKEND=memory NO_AT_BRIDGE=1
failed=0
while read -r name line; do
    [[ -n $name && (-z ${2:-} || " ${*:2} " == *" $name "*) ]] || continue
    export HOME="$scratch/$name"
    export XDG_CONFIG_HOME=$HOME XDG_CACHE_HOME=$HOME XDG_DATA_HOME=$HOME XDG_RUNTIME_DIR=$HOME TMPDIR=$HOME
    mkdir -m 700 "$HOME"
    timeout 100 dbus-run-session -- "$0" --serve "$(realpath "$1")" "$name $line" 2>"$HOME/errors" </dev/null || failed=1
done <<<"$servers"
exit $failed
