# SPDX-License-Identifier: MIT
# A few notifications of the day in examples/, on the desktop of a session or on one made for the picture.
# shellcheck shell=bash disable=SC2030,SC2031,SC2034

screen_packages=(dbus-daemon dbus-bin dunst xvfb picom hsetroot xdotool imagemagick fonts-noto-core
    fonts-noto-color-emoji adwaita-icon-theme)

desktop_there() {
    [[ -n ${DISPLAY:-}${WAYLAND_DISPLAY:-} ]] && dbus-send --session --print-reply \
        --dest=org.freedesktop.Notifications /org/freedesktop/Notifications \
        org.freedesktop.Notifications.GetServerInformation >/dev/null 2>&1
}

# Shows them on the session's desktop until a line comes in, and prints the user's acts.
play_on_desktop() {
    {
        grep -e '"Morning Ferry"' -e '"111 of 148 MB"' -e '"3 new messages".*T08:10' -e '"Lunch at ' \
            examples/day.jsonl | sed 's#"icons/#"examples/icons/#g'
        read -r _ || true
    } | ALERT_LOG=/dev/null build/release/bin/lumdsim --config examples/demo.ini --desktop -
}

# Shows those of a recorded phone until a line comes in.
play_phone() {
    build/release/bin/lumd-adb --dump tests/dumps/android-16.txt &
    # shellcheck disable=SC2064
    trap "kill $!" EXIT
    read -r _ || true
}

# Makes a picture of PLAYER's notifications in FILE: starts a display, a session bus and dunst for it, and ends them again.
picture() ( # FILE PLAYER
    scratch=$(mktemp -d)
    trap 'kill $(jobs -p) 2>/dev/null; wait; rm -rf "$scratch"' EXIT
    export HOME=$scratch XDG_CONFIG_HOME=$scratch XDG_CACHE_HOME=$scratch XDG_RUNTIME_DIR=$scratch TMPDIR=$scratch
    Xvfb -displayfd 4 -screen 0 1200x1600x24 -dpi 192 -nolisten tcp 4>"$scratch/display" 2>/dev/null &
    dbus-daemon --session --nofork --print-address=4 4>"$scratch/bus" 2>/dev/null &
    soon test -s "$scratch/display" -a -s "$scratch/bus"
    DISPLAY=:$(<"$scratch/display")
    DBUS_SESSION_BUS_ADDRESS=$(<"$scratch/bus")
    export DISPLAY DBUS_SESSION_BUS_ADDRESS
    hsetroot -solid '#8fa8c9'
    picom --backend xrender >"$scratch/log" 2>&1 & # for smooth corners
    dunst -conf examples/dunstrc 2>>"$scratch/log" &
    soon dunstctl count displayed >/dev/null
    mkfifo "$scratch/end"
    "$2" <"$scratch/end" >/dev/null &
    exec 5>"$scratch/end"
    soon four_displayed
    soon unchanged_screen
    eval "$(xdotool search --onlyvisible --class dunst getwindowgeometry --shell)"
    convert "$scratch/screen.png" -crop "$((WIDTH + 96))x$((HEIGHT + 96))+$((X - 48))+$((Y - 48))" +repage \
        -colors 256 -strip "$1"
)

soon() { # COMMAND...
    local deadline=$((SECONDS + 20))
    until "$@" 2>/dev/null; do
        ((SECONDS <= deadline)) || fail "Waited in vain for: $*"
        sleep 0.1
    done
}

four_displayed() { [[ $(dunstctl count displayed) == 4 ]]; }

unchanged_screen() {
    import -silent -window root "$scratch/new.png"
    cmp -s "$scratch/new.png" "$scratch/screen.png" || {
        mv "$scratch/new.png" "$scratch/screen.png"
        return 1
    }
}
