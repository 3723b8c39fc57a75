#!/usr/bin/env bash
# Runs every fuzz target for a while, starting from its kept corpus.
#
#   scripts/fuzz.sh BUILD_DIR SECONDS [TARGET...]
#
# New inputs stay in BUILD_DIR/corpus/<target>; a crashing input is named at the end of the output. Keep it as a
# test by copying it into fuzz/corpus/<target>/.
set -euo pipefail
build=${1:?build directory} seconds=${2:?seconds}
shift 2
cd "$(dirname "$0")/.."
targets=${*:-$(cd fuzz && ls ./*_fuzz.cpp | sed 's|^\./||; s|_fuzz\.cpp$||')}
export ASAN_OPTIONS=exitcode=99:detect_leaks=1:allocator_may_return_null=1
ran=0
for target in $targets; do
    found="$build/corpus/$target"
    mkdir -p "$found"
    printf -- '--- %s for %s s\n' "$target" "$seconds"
    if ! "$build/fuzz/${target}_fuzz" -max_total_time="$seconds" -max_len=8192 -timeout=20 -rss_limit_mb=2048 \
        -print_final_stats=0 -verbosity=0 -artifact_prefix="$build/corpus/$target-" \
        "$found" "fuzz/corpus/$target" > "$build/corpus/$target.log" 2>&1; then
        tail -n 60 "$build/corpus/$target.log"
        echo "fuzz.sh: $target failed; the input is beside $build/corpus/$target" >&2
        exit 1
    fi
    ran=$((ran + 1))
done
echo "$ran targets fuzzed, no finds"
[ "$ran" -gt 0 ]
