#!/usr/bin/env bash
# Compares the stripped libraries of a 32-bit ARM build with their budgets.
#
#   scripts/check-sizes.sh BUILD_DIR
set -euo pipefail
build=${1:?build directory}
strip=arm-linux-gnueabihf-strip
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

stripped_size() { # library file names...
    local total=0
    for name in "$@"; do
        local file
        file=$(find "$build" -name "$name" -type f -o -name "$name" -type l | head -n 1)
        [ -n "$file" ] || { echo "check-sizes.sh: $name not found in $build" >&2; exit 1; }
        cp -L "$file" "$work/$name"
        $strip --strip-unneeded "$work/$name"
        total=$((total + $(stat -c %s "$work/$name")))
    done
    echo $total
}

check() { # what, size, budget
    printf '%-45s %7d of %7d bytes\n' "$1" "$2" "$3"
    [ "$2" -le "$3" ] || { echo "check-sizes.sh: $1 is over its budget" >&2; exit 1; }
}

check "libimsua.so" "$(stripped_size libimsua.so)" 200000
check "libpelgo_siplib.so + libpelgo_baseuafw.so" "$(stripped_size libpelgo_siplib.so libpelgo_baseuafw.so)" 200000
