#!/usr/bin/env bash
# Fills a folder with the 32-bit ARM libraries that the cross build links and the emulator loads.
#
#   scripts/armhf-sysroot.sh DIR
#
# The packages come from this machine's own Debian sources, through an apt state of their own, and are only
# unpacked: nothing is installed, so the host's packages cannot be disturbed by a version skew between the two.
set -euo pipefail
dir=${1:?usage: armhf-sysroot.sh DIR}
packages=(libxml2 libxml2-dev liblzma5 libicu72 zlib1g
          libsofia-sip-ua0 libsofia-sip-ua-dev libssl3 libglib2.0-0
          libmnl0 libmnl-dev)
stamp="$dir/.complete"
[ "$(cat "$stamp" 2>/dev/null)" = "${packages[*]}" ] && exit 0

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir -p "$work"/{lists/partial,archives/partial,sources,debs}
: > "$work/status"
# The main archive only: its packages fit each other, and it is there for every architecture.
if [ -s /etc/apt/sources.list ]; then
    { grep -v security /etc/apt/sources.list || true; } > "$work/sources/host.list"
fi
if [ -s /etc/apt/sources.list.d/debian.sources ]; then
    sed '/^#/d' /etc/apt/sources.list.d/debian.sources |
        awk 'BEGIN { RS = ""; ORS = "\n\n" } !/security/' > "$work/sources/host.sources"
fi
options=(-q
    -o APT::Architecture=armhf -o APT::Architectures=armhf
    -o Dir::State="$work" -o Dir::State::Lists="$work/lists" -o Dir::State::status="$work/status"
    -o Dir::Cache="$work" -o Dir::Cache::archives="$work/archives"
    -o Dir::Etc::sourcelist=/dev/null -o Dir::Etc::sourceparts="$work/sources"
    -o APT::Sandbox::User=root)
apt-get "${options[@]}" update
(cd "$work/debs" && apt-get "${options[@]}" download "${packages[@]}")
rm -rf "$dir"
mkdir -p "$dir"
for deb in "$work"/debs/*.deb; do dpkg -x "$deb" "$dir"; done
printf '%s' "${packages[*]}" > "$stamp"
