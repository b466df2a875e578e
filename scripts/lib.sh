# Sourced by the other scripts: what they share. Needs nothing but bash.
# shellcheck shell=bash

set -euo pipefail
CDPATH='' cd -- "$(dirname "${BASH_SOURCE[0]}")/.."

# What a build of the libraries, the program, tests and examples takes on a Debian machine.
# shellcheck disable=SC2034  # the scripts that source this use it
BUILD_PACKAGES=(g++ cmake ninja-build pkg-config libgtest-dev libpcap-dev zlib1g-dev libzstd-dev
    libcli11-dev libfmt-dev rapidjson-dev python3 python3-jsonschema locales)

say() { printf '\n== %s\n' "$*"; }

die() {
    printf '%s: %s\n' "${0##*/}" "$*" >&2
    exit 1
}

# need_packages PACKAGE...: installs those that are missing, or says what is needed.
need_packages() {
    local package missing=()
    if ! command -v apt-get >/dev/null; then
        command -v g++ >/dev/null && command -v cmake >/dev/null && return
        die "this is not a Debian system; install what these of its packages contain, then run again: $*"
    fi
    for package in "$@"; do
        dpkg-query -W -f '${Status}' "$package" 2>/dev/null | grep -q ' installed$' ||
            missing+=("$package")
    done
    [ ${#missing[@]} -gt 0 ] || return 0
    local root=()
    if [ "$(id -u)" -ne 0 ]; then
        command -v sudo >/dev/null ||
            die "as root or with sudo, install first: apt-get install ${missing[*]}"
        root=(sudo)
    fi
    say "installing ${missing[*]}"
    # A mirror may lack one list for a while: what counts is that the packages are found.
    "${root[@]}" apt-get update -qq || say "not all lists of packages could be fetched"
    "${root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -o Acquire::Retries=3 \
        install -qq -y --no-install-recommends "${missing[@]}" >/dev/null
}

# configure PRESET: into build/PRESET, with Ninja when it is there. In continuous integration warnings
# are errors, and the program's units are compiled a dozen at once, as nothing is compiled again.
configure() {
    local arguments=(-DCMAKE_COMPILE_WARNING_AS_ERROR=OFF)
    if command -v ninja >/dev/null; then
        export CMAKE_GENERATOR=Ninja
    fi
    [ "${CI:-}" != true ] || arguments=(-DCMAKE_COMPILE_WARNING_AS_ERROR=ON -DVEKTRACE_UNITY=ON)
    [[ $(cmake --list-presets) == *"\"$1\""* ]] ||
        die "$1: no such preset; cmake --list-presets tells them"
    # A build folder of a tree that was moved or copied is of no use.
    if [ -f "build/$1/CMakeCache.txt" ] &&
        ! grep -qxF "CMAKE_HOME_DIRECTORY:INTERNAL=$PWD" "build/$1/CMakeCache.txt"; then
        arguments+=(--fresh)
    fi
    mkdir -p "build/$1"
    cmake --preset "$1" "${arguments[@]}" >"build/$1/configure.log" 2>&1 ||
        { cat "build/$1/configure.log" >&2; die "configuring $1 failed"; }
}

build() { cmake --build "build/$1" --parallel "$(nproc)"; }

# copy_sources FOLDER: as they are here, into a new one.
copy_sources() {
    mkdir -p "$1"
    git ls-files --cached --others --exclude-standard -z |
        tar --create --null --files-from=- --ignore-failed-read | tar --extract -C "$1"
}
