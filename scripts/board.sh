#!/usr/bin/env bash
# The part of ./dev board that runs on its machine, in a copy of the tree at the same path. The last line is the result.
# SPDX-License-Identifier: MIT
set -euo pipefail
read -r boot _ </proc/uptime
trap 'echo "board: exit status $?"' EXIT
source "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/lib.sh"
export LC_ALL=C.UTF-8 HOME=/root ALERT_LOG=/dev/null
echo "Machine: $(uname -srm), $(nproc) processors, booted in $boot s"

for package in kavrel lumd-standins lumdsim; do
    packages+=("build/packages-armhf/${package}_"*.deb)
done
quietly dpkg --install "${packages[@]}"
plugin=$(dpkg -L kavrel | grep '/kavrel\.so$')
build/board/descriptor "$plugin"

# The day on the installed system; one notification more tells that it is over and memory can be looked at.
mkfifo /tmp/in /tmp/out
(cd /usr/share/doc/lumdsim && exec lumdsim --json --config examples/demo.ini -) </tmp/in >/tmp/out &
exec 3>/tmp/in 4</tmp/out
sed 's|"icons/|"examples/icons/|g' /usr/share/doc/lumdsim/examples/day.jsonl >&3
echo '{"do":"add","key":"evening","title":"Good night","importance":3}' >&3
shown=0
while read -r event <&4 && [[ $event != *'"evening"'* ]]; do
    [[ $event != *'"event":"shown"'* ]] || ((++shown))
done
echo "Day: $shown notifications shown"
((shown > 0))
awk '/^[0-9a-f]+-/ { plugin = /kavrel\.so$/ }
    /^Rss:/ { host += $2 }
    /^Rss:/ && plugin { resident += $2 }
    /^Private_Dirty:/ && plugin { own += $2 }
    END { printf "Memory: %d KiB of the plug-in resident, %d of them written to; all of its host %d\n", resident, own, host
          exit !resident }' "/proc/$!/smaps"
exec 3>&-
cat <&4 >/dev/null
wait $!

# Several batches, of which the fastest counts. The icon cache is in memory, as on a device.
exec 5> >(exec build/board/bin/kavrel-bench-server unix:path=/tmp/bus >/tmp/server)
until [[ -s /tmp/server ]]; do sleep 0.1; done
measure() {
    printf '%s\n' "fill 100" "$1 20"{,,,,,,,,,} | LUMD_P2P_DBUS_ADDRESS=unix:path=/tmp/bus TMPDIR=/dev/shm \
        build/board/bin/kavrel-bench-side plugin | sed 1,2d | sort -g | sed -n '1s/ .*//p'
}
new=$(measure new)
same=$(measure repeat)
awk -v new="$new" -v same="$same" 'BEGIN { printf "Add: %.0f µs, without a change %.0f µs\n", new * 1e6, same * 1e6 }'

exec 5>&- # ends the server
SECONDS=0
KAVREL_STEPS=1500 ctest --test-dir build/board --output-on-failure
echo "Suite: $SECONDS s"
