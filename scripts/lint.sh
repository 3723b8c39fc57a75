#!/usr/bin/env bash
# Layout, rules and clang-tidy. A clang build with its compilation database must stand in BUILD_DIR.
#
#   scripts/lint.sh BUILD_DIR [--no-tidy]
set -euo pipefail
build=${1:?build directory}
cd "$(dirname "$0")/.."
sources=$(git ls-files '*.h' '*.cpp')

echo "clang-format: $(wc -w <<< "$sources") files"
# shellcheck disable=SC2086
clang-format --dry-run -Werror $sources
python3 scripts/check-rules.py
[ "${2:-}" != --no-tidy ] || exit 0

checked=$(git ls-files 'core/*.cpp' 'messages/*.cpp' 'xml/*.cpp' 'subscriptions/*.cpp' 'registrar/*.cpp' \
    'platform/*.cpp' 'daemons/*.cpp' 'tools/*.cpp' 'examples/*.cpp')
echo "clang-tidy: $(wc -w <<< "$checked") files"
# shellcheck disable=SC2086
printf '%s\n' $checked | xargs -P "$(nproc)" -n 1 clang-tidy --quiet -p "$build" 2> "$build/tidy.log" ||
    { cat "$build/tidy.log" >&2; exit 1; }
