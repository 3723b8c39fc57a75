#!/usr/bin/env bash
# Installs the build into an empty folder and builds and runs outside programs against it: a small one, once through
# the CMake package and once through pkg-config, and the example agent.
#
#   install_and_use.sh BUILD_DIR SOURCE_DIR
set -euo pipefail
build=$1 source=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cmake --install "$build" --prefix "$work/root" > "$work/install.log"
# Does a program say this? It says all it has: a reader that leaves early would end it by SIGPIPE.
says() { # pattern, program, arguments
    local pattern=$1
    shift
    "$@" > "$work/said.log" 2>&1 && grep -q -- "$pattern" "$work/said.log" || { cat "$work/said.log"; exit 1; }
}
libdir=$(dirname "$(find "$work/root" -name 'libimsua.so' | head -n 1)")

cmake -G Ninja -S "$source/tests/packaging/consumer" -B "$work/consumer" -DCMAKE_PREFIX_PATH="$work/root" \
    > "$work/configure.log" || { cat "$work/configure.log"; exit 1; }
cmake --build "$work/consumer" > "$work/build.log" || { cat "$work/build.log"; exit 1; }
"$work/consumer/consumer"
says "s0 -> s1 .*START" "$work/consumer/consumer_graph"

# The example agent is what newcomers copy: it must build by itself.
cmake -G Ninja -S "$source/examples/telephony_agent" -B "$work/example" -DCMAKE_PREFIX_PATH="$work/root" \
    > "$work/configure.log" || { cat "$work/configure.log"; exit 1; }
cmake --build "$work/example" > "$work/build.log" || { cat "$work/build.log"; exit 1; }
says "s1 -> s2 .*REGISTER" "$work/example/telephony_agent" -stategraph
says tacsock "$work/example/telephony_agent" -help

sed -i "s|^prefix=.*|prefix=$work/root|" "$libdir/pkgconfig/imsua.pc"
export PKG_CONFIG_PATH="$libdir/pkgconfig"
# shellcheck disable=SC2046
c++ -std=c++17 "$source/tests/packaging/consumer/main.cpp" -o "$work/by-pkg-config" $(pkg-config --cflags --libs imsua)
LD_LIBRARY_PATH="$libdir" "$work/by-pkg-config"
