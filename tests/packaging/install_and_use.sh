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
libdir=$(dirname "$(find "$work/root" -name 'libimsua.so' | head -n 1)")

cmake -G Ninja -S "$source/tests/packaging/consumer" -B "$work/consumer" -DCMAKE_PREFIX_PATH="$work/root" \
    > "$work/configure.log" || { cat "$work/configure.log"; exit 1; }
cmake --build "$work/consumer" > "$work/build.log" || { cat "$work/build.log"; exit 1; }
"$work/consumer/consumer"
"$work/consumer/consumer_graph" | grep -q "s0 -> s1 .*START"

# The example agent is what newcomers copy: it must build by itself.
cmake -G Ninja -S "$source/examples/telephony_agent" -B "$work/example" -DCMAKE_PREFIX_PATH="$work/root" \
    > "$work/configure.log" || { cat "$work/configure.log"; exit 1; }
cmake --build "$work/example" > "$work/build.log" || { cat "$work/build.log"; exit 1; }
"$work/example/telephony_agent" -stategraph | grep -q "s1 -> s2 .*REGISTER"
"$work/example/telephony_agent" -help 2>&1 | grep -q tacsock

sed -i "s|^prefix=.*|prefix=$work/root|" "$libdir/pkgconfig/imsua.pc"
export PKG_CONFIG_PATH="$libdir/pkgconfig"
# shellcheck disable=SC2046
c++ -std=c++17 "$source/tests/packaging/consumer/main.cpp" -o "$work/by-pkg-config" $(pkg-config --cflags --libs imsua)
LD_LIBRARY_PATH="$libdir" "$work/by-pkg-config"
