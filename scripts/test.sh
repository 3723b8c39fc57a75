#!/usr/bin/env bash
# Installs what is missing, builds, and runs all tests.
#
#   scripts/test.sh [--asan] [--tsan] [--armhf] [--lint] [--fuzz SECONDS] [--bench] [--all] [--only]
#
# The release lane always runs first; --only leaves it out. Each lane has its own build/<lane> folder.
#   --asan     address, leak and undefined-behaviour sanitizers
#   --tsan     data races
#   --armhf    cross build for 32-bit ARM, tests under qemu-arm, library sizes against their budgets
#   --lint     clang build, clang-tidy, clang-format, folder and header rules
#   --fuzz N   every fuzz target for N seconds on a copy of its corpus
#   --bench    the benchmarks, each beside its bare baseline
#   --all      everything, fuzzing for 30 seconds a target
set -euo pipefail
cd "$(dirname "$0")/.."

lanes="" release=yes fuzz_seconds=30
while [ $# -gt 0 ]; do
    case $1 in
    --asan | --tsan | --armhf | --lint | --bench) lanes="$lanes ${1#--}" ;;
    --fuzz) lanes="$lanes fuzz"; fuzz_seconds=${2:?--fuzz needs seconds}; shift ;;
    --all) lanes="asan tsan armhf lint fuzz bench" ;;
    --only) release=no ;;
    -h | --help) sed -n '2,15s/^# \{0,1\}//p' "$0"; exit 0 ;;
    *) echo "test.sh: unknown option '$1' (--help tells)" >&2; exit 2 ;;
    esac
    shift
done
[ $release = no ] || lanes="release $lanes"
jobs=$(nproc)
summary=""

# A sanitizer report ends a process with 99, so that it is never taken for an exit status that a test wants.
export ASAN_OPTIONS=exitcode=99:detect_stack_use_after_return=1:strict_string_checks=1
export LSAN_OPTIONS=exitcode=99:print_suppressions=0
export UBSAN_OPTIONS=exitcode=99:print_stacktrace=1:halt_on_error=1
export TSAN_OPTIONS=exitcode=99:second_deadlock_stack=1:suppressions=$PWD/tests/tsan.supp

say() { printf '\n=== %s (%s s)\n' "$*" "$SECONDS"; }

build() { # preset
    cmake --preset "$1" > "build-$1.log" 2>&1 || { cat "build-$1.log"; exit 1; }
    rm -f "build-$1.log"
    cmake --build "build/$1" -j "$jobs" -- --quiet
}

run_tests() { # preset, parallel jobs
    ctest --test-dir "build/$1" -j "$2" --output-on-failure --no-tests=error
}

lane_release() { scripts/setup.sh build test; build release; run_tests release $((jobs * 2)); }
lane_asan() { scripts/setup.sh build test; build asan; run_tests asan $((jobs * 2)); }
lane_tsan() { scripts/setup.sh build test; build tsan; run_tests tsan $((jobs * 2)); }

lane_armhf() {
    scripts/setup.sh build test armhf
    export IMSUA_ARMHF_SYSROOT=${IMSUA_ARMHF_SYSROOT:-$HOME/.cache/imsua/sysroot-armhf}
    scripts/armhf-sysroot.sh "$IMSUA_ARMHF_SYSROOT"
    build armhf
    run_tests armhf "$jobs"
    scripts/check-sizes.sh build/armhf
}

lane_lint() { scripts/setup.sh build test lint; build clang; scripts/lint.sh build/clang; }
lane_fuzz() { scripts/setup.sh build fuzz; build fuzz; scripts/fuzz.sh build/fuzz "$fuzz_seconds"; }
lane_bench() { scripts/setup.sh build test bench; build bench; scripts/bench.sh build/bench; }

for lane in $lanes; do
    say "lane $lane"
    started=$SECONDS
    "lane_$lane"
    summary="$summary $lane($((SECONDS - started))s)"
done
say "all lanes passed:$summary"
