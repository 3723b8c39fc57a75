#!/usr/bin/env bash
# Shows a device at work on this machine: the framework daemon with its configuration store, the link-event
# notifier on real network interfaces and two subscribers, then an agent and its telephony controller, in a network
# namespace of its own. Leaves the message ladders and the agent's state machine in build/demo/pictures.
#
#   scripts/demo.sh [--keep]
#
# Installs what is missing and builds first. Exits 0 only if every expected NOTIFY and telephony message
# arrived with the right content.
# --keep leaves everything running and says how to look at it and how to end it.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh build demo
echo "building (the first time takes a few minutes)"
cmake --preset release -DIMSUA_TESTS=OFF -B build/demo > build-demo.log 2>&1 || { cat build-demo.log; exit 1; }
rm -f build-demo.log
cmake --build build/demo -j "$(nproc)" -- --quiet

story=(scripts/demo/story.sh build/demo/bin --pictures build/demo/pictures "$@")
# Network namespaces need root.
[ "$(id -u)" = 0 ] || story=(sudo "${story[@]}")
exec "${story[@]}"
