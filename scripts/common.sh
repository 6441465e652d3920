# Shared by the scripts beside it: where the tree is, what to install, how to build.
# shellcheck shell=bash

set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd -P)
cd "$root"
jobs=$(nproc)

PACKAGES_BUILD="cmake ninja-build g++ ccache pkg-config libgtest-dev libbenchmark-dev libsqlite3-dev libleveldb-dev libicu-dev libssl-dev nlohmann-json3-dev rapidjson-dev zlib1g-dev liblz4-dev libpixman-1-dev"
PACKAGES_CLANG="clang-14 libclang-rt-14-dev llvm-14"
PACKAGES_WINDOWS="g++-mingw-w64-x86-64-posix wine64 googletest"
PACKAGES_ARM64="g++-aarch64-linux-gnu qemu-user googletest"
# Programs that tests/peers and tests/front talk to, which leave out what is missing.
PACKAGES_PEERS="python3 curl chromium haproxy nginx-light"
# Programs that scripts/bench-http measures beside.
PACKAGES_HTTP="python3 wrk nginx-light libcpp-httplib-dev"
PACKAGES_BROWSER="chromium chromium-driver python3"
PACKAGES_WEB="eslint tidy python3 python3-tinycss2"
PACKAGES_CHECK="git clang-14 clang-format-14 clang-tidy-14"

say() { printf '== %s\n' "$*"; }
fail() { printf '%s: %s\n' "$(basename "$0")" "$*" >&2; exit 1; }

# need PACKAGE...: installs those Debian packages that are missing.
need() {
    local missing=() package
    for package in "$@"; do
        [ "$(dpkg-query -W -f='${db:Status-Abbrev}' "$package" 2>/dev/null | cut -c1-2)" = ii ] || missing+=("$package")
    done
    [ ${#missing[@]} -gt 0 ] || return 0
    local sudo=()
    if [ "$(id -u)" -ne 0 ]; then
        command -v sudo >/dev/null || fail "these packages are missing, and there is no sudo: ${missing[*]}"
        sudo=(sudo)
    fi
    say "installing ${missing[*]}"
    local log
    log=$(mktemp)
    if ! { "${sudo[@]}" apt-get update -qq &&
           "${sudo[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}"; } \
         >"$log" 2>&1 </dev/null; then
        cat "$log" >&2
        rm -f "$log"
        fail "could not install ${missing[*]}"
    fi
    rm -f "$log"
}

# configure PRESET
configure() {
    local log=build/$1/configure.log
    mkdir -p "build/$1"
    if ! cmake --preset "$1" >"$log" 2>&1; then
        cat "$log" >&2
        fail "could not configure build/$1"
    fi
}

# build PRESET [TARGET...]: prints the compiler's words only when something is wrong.
build() {
    local preset=$1 log=build/$1/build.log
    shift
    configure "$preset"
    if ! cmake --build "build/$preset" -j "$jobs" ${1:+--target "$@"} >"$log" 2>&1; then
        grep -v '^\[[0-9]*/[0-9]*\] \(Building\|Linking\|Re-checking\)' "$log" | tail -n 200 >&2
        fail "the build in build/$preset failed"
    fi
}
