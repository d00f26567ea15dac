# shellcheck shell=bash
# Shared by demo.sh, test.sh and bench.sh, which source it: strict mode, the repository's root as working folder, and
# the packages that a build needs.

set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

fail() {
    echo "$(basename "$0"): $*" >&2
    exit 1
}

say() { echo "== $*"; }

# missing_packages LIST...: the packages of these files that are not installed, one a line.
missing_packages() {
    sed 's/#.*//' "$@" | while read -r package; do
        [[ -z $package ]] && continue
        [[ $(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null || true) == installed ]] || echo "$package"
    done
}

# install_packages [LIST...]: installs what is missing of packages/apt.txt, or of the files given.
install_packages() {
    [[ $# -gt 0 ]] || set -- packages/apt.txt
    command -v dpkg-query >/dev/null ||
        fail "this is not a Debian system: install what $* lists by hand, then use the CMake presets"
    local missing as_root=()
    mapfile -t missing < <(missing_packages "$@")
    [[ ${#missing[@]} -eq 0 ]] && return
    say "installing ${missing[*]}"
    if [[ $EUID -ne 0 ]]; then
        command -v sudo >/dev/null || fail "installing packages takes root or sudo; install: ${missing[*]}"
        if [[ ! -t 0 ]] && ! sudo -n true 2>/dev/null; then
            fail "sudo asks for a password, but there is no terminal; install: ${missing[*]}"
        fi
        as_root=(sudo)
    fi
    local log
    log=$(mktemp)
    if ! {
        "${as_root[@]}" apt-get update -qq &&
            "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
                apt-get install -y -qq --no-install-recommends "${missing[@]}"
    } >"$log" 2>&1 </dev/null; then
        tail -20 "$log" >&2
        fail "the packages could not be installed; the whole log is $log"
    fi
    rm -f "$log"
}

# build PRESET TARGET...: configures, and builds the targets (all of them without any). Shows its log only if it fails.
build() {
    local preset=$1
    shift
    local log=build/$preset.log cmake=(cmake --preset "$preset" -DZUN_WERROR=ON)
    command -v ccache >/dev/null && cmake+=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
    mkdir -p build
    say "building $preset${*:+ ($*)}; the log is $log"
    if ! { "${cmake[@]}" && cmake --build --preset "$preset" ${1:+--target "$@"}; } >"$log" 2>&1 </dev/null; then
        grep -E -A5 'error|FAILED|Error' "$log" | head -60 >&2 || true
        fail "the build of $preset failed; the whole log is $log"
    fi
}
