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
[ -n "$targets" ] || { echo "fuzz.sh: no targets" >&2; exit 2; }
export ASAN_OPTIONS=exitcode=99:detect_leaks=1:allocator_may_return_null=1

# One target on a copy of its corpus; its output only when it fails.
fuzz() {
    local target=$1 found="$build/corpus/$1"
    mkdir -p "$found"
    "$build/fuzz/${target}_fuzz" -max_total_time="$seconds" -max_len=8192 -timeout=20 -rss_limit_mb=2048 \
        -print_final_stats=0 -verbosity=0 -artifact_prefix="$found-" \
        "$found" "fuzz/corpus/$target" > "$found.log" 2>&1 && return
    tail -n 60 "$found.log"
    echo "fuzz.sh: $target failed; the input is beside $found" >&2
    return 1
}
export build seconds
export -f fuzz

# shellcheck disable=SC2086
printf '%s\n' $targets | xargs -P "$(nproc)" -I '{}' bash -c 'printf -- "--- %s for %s s\n" {} "$seconds"; fuzz {}'
echo "$(wc -w <<< "$targets") targets fuzzed, no finds"
