#!/usr/bin/env bash
# Installs what is missing of the Debian packages that a task needs; does nothing when all are there.
#
#   scripts/setup.sh build|test|armhf|fuzz|lint|bench|demo ...
#
# Needs root, or sudo. Every name is an ordinary Debian 12 package.
set -euo pipefail

build="g++ cmake ninja-build pkg-config ccache libxml2-dev libsofia-sip-ua-dev libmnl-dev libsystemd-dev
       libcli11-dev nlohmann-json3-dev googletest"
demo="iproute2 graphviz"
test="iproute2 graphviz sip-tester sipsak tshark libxml2-utils python3"
armhf="g++-arm-linux-gnueabihf qemu-user binutils-arm-linux-gnueabihf"
fuzz="clang libclang-rt-14-dev"
lint="clang clang-tidy clang-format python3 python3-yaml"
bench="libbenchmark-dev"

wanted=""
for task in "$@"; do
    case $task in
    build | demo | test | armhf | fuzz | lint | bench) wanted="$wanted ${!task}" ;;
    *) echo "setup.sh: unknown task '$task'" >&2; exit 2 ;;
    esac
done

missing=""
for package in $wanted; do
    state=$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null || true)
    [ "$state" = installed ] || missing="$missing $package"
done
[ -n "$missing" ] || exit 0

root=""
[ "$(id -u)" = 0 ] || root=sudo
echo "installing:$missing"
# A third-party source of this machine may be out of reach; Debian's own are what we need.
$root apt-get -q update || echo "setup.sh: some package lists could not be fetched; trying with what is there" >&2
# shellcheck disable=SC2086
$root env DEBIAN_FRONTEND=noninteractive apt-get -q install -y --no-install-recommends $missing
