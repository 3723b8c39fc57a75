#!/usr/bin/env bash
# Runs the benchmarks; each prints its ratio to the bare baseline measured in the same run.
#
#   scripts/bench.sh BUILD_DIR [NAME...]
set -euo pipefail
build=${1:?build directory}
shift
cd "$(dirname "$0")/.."
for program in "$build"/bench/*_bench; do
    name=$(basename "$program")
    [ $# -eq 0 ] || [[ " $* " == *" $name "* ]] || continue
    printf '\n--- %s\n' "$name"
    "$program"
done
