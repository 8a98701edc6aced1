# SPDX-License-Identifier: MIT
# Functions of all commands. Each command runs in the top folder, whatever folder it is started in.
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

build_packages=(g++ cmake ninja-build qtbase5-dev libboost-dev scdoc)
# shellcheck disable=SC2034
test_packages=(adb binutils dbus-daemon libglib2.0-bin python3-dbusmock)

fail() { # MESSAGE
    echo "$1" >&2
    exit 1
}

# Lists all files of the project, also in a tree without a git repository.
tracked() {
    if [[ -e .git ]]; then
        git ls-files
    else
        find . -path ./build -prune -o -type f -printf '%P\n'
    fi
}

# Shows only the latest line of its input, and only on a terminal, which cuts it at its edge.
show_progress() {
    [[ -t 2 ]] || exec cat >/dev/null
    local line
    while IFS= read -r line; do
        printf '\r\e[K\e[?7l%s\e[?7h' "$line" >&2
    done
    printf '\r\e[K' >&2
}

# Runs a command, shows its progress, and keeps its output on the screen only if it fails.
quietly() {
    local log
    log=$(mktemp)
    if ! "$@" 2>&1 | tee "$log" | show_progress; then
        cat "$log" >&2
        rm -f "$log"
        exit 1
    fi
    rm -f "$log"
}

# Without a terminal, nobody could type a password.
as_root() { # COMMAND...
    local sudo=(sudo)
    [[ -t 0 ]] || sudo+=(-n)
    ((EUID != 0)) || sudo=()
    "${sudo[@]}" "$@"
}

# Waits for another apt: apt itself waits for dpkg's lock, but not for that of the lists.
update_lists() {
    local output
    for _ in {1..120}; do
        output=$(as_root env LC_ALL=C apt-get update -q 2>&1) && return
        [[ $output == *"Could not get lock"* ]] || break
        sleep 5
    done
    echo "$output"
    return 1
}

# Installs those of the given Debian packages that are missing, and says which.
need() {
    local missing=() package answer by_hand
    for package in "$@"; do
        [[ $(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null) == installed ]] || missing+=("$package")
    done
    ((${#missing[@]})) || return 0
    echo "These Debian packages are missing: ${missing[*]}" >&2
    command -v apt-get >/dev/null || fail "This is not a Debian system: install the content of these packages, then try again."
    by_hand="Install them as root, then try again: apt-get install ${missing[*]}"
    ((EUID == 0)) || command -v sudo >/dev/null || fail "$by_hand"
    if [[ -t 0 ]]; then
        read -rp "Install them now? [Y/n] " answer
        [[ ${answer:-y} == [yY]* ]] || fail "$by_hand"
    fi
    as_root true || fail "$by_hand"
    echo "Installing them ..." >&2
    quietly update_lists
    quietly as_root env DEBIAN_FRONTEND=noninteractive \
        apt-get install -y -q --no-install-recommends -o DPkg::Lock::Timeout=600 "${missing[@]}"
}

# Configures and builds a preset.
build() {
    echo "Building ($1) ..." >&2
    quietly cmake --preset "$1"
    quietly cmake --build --preset "$1"
}

# Makes a root folder of armhf packages: mmdebstrap's arguments, with the folder last. They are extracted only, nothing
# of another architecture runs, so this needs no privileges.
extract_armhf() {
    # shellcheck source=/dev/null
    source /etc/os-release
    local archives
    # shellcheck disable=SC2016 # apt's own variables
    archives=$(apt-get indextargets --format 'deb $(REPO_URI) $(RELEASE) $(COMPONENT)' \
        'Created-By: Packages' 'Origin: Debian' "Codename: $VERSION_CODENAME" 'Component: main')
    quietly mmdebstrap --mode=chrootless --variant=extract --architectures=armhf \
        --aptopt=<(apt-config dump Acquire) "${@:1:$#-1}" '' "${@: -1}" - <<<"$archives"
}

# Prepares a build for armhf: a cross-compiler, and build/arm-sysroot with the libraries.
arm_sysroot() {
    need cmake ninja-build g++-arm-linux-gnueabihf mmdebstrap qtbase5-dev-tools scdoc
    local sysroot=build/arm-sysroot packages
    packages=$(printf '%s\n' "${build_packages[@]}" | grep -e -dev && echo valgrind)
    [[ $(cat "$sysroot/packages" 2>&1) != "$packages" ]] || return 0
    echo "Collecting the libraries for ARM ..." >&2
    rm -rf "$sysroot" "$sysroot.part"
    mkdir -p build
    extract_armhf "--include=$packages" "$sysroot.part"
    # Code generators run on this machine.
    rm -r "$sysroot.part/usr/lib/qt5/bin"
    ln -s /usr/lib/qt5/bin "$sysroot.part/usr/lib/qt5/bin"
    arm-linux-gnueabihf-gcc --sysroot="$PWD/$sysroot.part" -shared -fPIC -O2 scripts/armprocesses.c \
        -o "$sysroot.part/usr/lib/armprocesses.so"
    echo /usr/lib/armprocesses.so >"$sysroot.part/etc/ld.so.preload"
    echo "$packages" >"$sysroot.part/packages"
    mv "$sysroot.part" "$sysroot" # complete from now on
}
