# SPDX-License-Identifier: MIT
# What the commands share. They run in the top folder, from wherever they are started.
# shellcheck shell=bash
cd "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/.."

# The plug-in, and all that holds C++ of ours.
product=(plugin bridge translation feedback alert packages)
# shellcheck disable=SC2034
sources=("${product[@]}" standins tools tests bench)

# (FOLDER...): matches one of them.
any_of() {
    local IFS="|"
    echo "($*)"
}

build_packages=(g++ cmake ninja-build qtbase5-dev libboost-dev libdbus-1-dev libedit-dev)
# shellcheck disable=SC2034
test_packages=(binutils dbus-daemon libnotify-bin python3-dbusmock)

# Runs a command without showing its output, unless it fails.
quietly() {
    local log
    log=$(mktemp)
    if ! "$@" >"$log" 2>&1; then
        cat "$log" >&2
        rm -f "$log"
        exit 1
    fi
    rm -f "$log"
}

# Installs those of the given Debian packages that are missing, and says which.
need() {
    local missing=() root=() package
    for package in "$@"; do
        [[ $(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null) == installed ]] || missing+=("$package")
    done
    ((${#missing[@]})) || return 0
    if ! command -v apt-get >/dev/null; then
        echo "This is not a Debian system: install what these packages hold first: ${missing[*]}" >&2
        exit 1
    fi
    echo "Installing: ${missing[*]}" >&2
    ((EUID == 0)) || root=(sudo)
    quietly "${root[@]}" apt-get update -q
    quietly "${root[@]}" env DEBIAN_FRONTEND=noninteractive \
        apt-get install -y -q --no-install-recommends "${missing[@]}"
}

# Configures and builds a preset.
build() {
    echo "Building ($1) ..." >&2
    quietly cmake --preset "$1"
    quietly cmake --build --preset "$1"
}
