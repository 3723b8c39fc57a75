#!/usr/bin/env bash
# Runs the benchmarks: ratios to the bare baselines, a million NOTIFYs over each transport, and the budgets of an
# agent at rest. Figures mean something only on a machine that does nothing else.
#
#   scripts/bench.sh BUILD_DIR [NAME...]      e.g. queue_bench, notify_soak, agent_budget
#
# Exits 1 when the soak loses a message or grows, or a budget is missed; a ratio below its target is only marked.
set -euo pipefail
build=${1:?build directory}
shift
cd "$(dirname "$0")/.."
names=${*:-queue_bench dispatch_bench documents_bench registrar_bench notify_bench notify_soak agent_budget}
for name in $names; do
    printf '\n--- %s\n' "$name"
    case $name in
    notify_soak)
        "$build/bench/notify_soak" udp
        "$build/bench/notify_soak" tcp
        ;;
    agent_budget)
        "$build/bench/agent_budget" "$build/bin/imsfwkd" "$build/bin/imslinkevd" daemons/imsfwkd/store
        ;;
    *) "$build/bench/$name" ;;
    esac
done
