#!/usr/bin/env bash
# Compiles one source of this folder. Without "// wanted:" lines it must compile silently; with them it must
# fail, every wanted text must stand in what the compiler says, and nothing else may be wrong. Messages
# (the wanted texts with a colon) must also stand in the manual.
#
#   check.sh COMPILER SOURCE MANUAL FLAG...
set -uo pipefail
compiler=$1 source=$2 manual=$3
shift 3
flags=(-std=c++17 -fsyntax-only -fno-diagnostics-color -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror "$@")
said=$("$compiler" "${flags[@]}" "$source" 2>&1)
status=$?
fail() { printf '%s\n%s\n' "$source: $1" "$said"; exit 1; }

wanted=$(sed -n 's|^// wanted: ||p' "$source")
if [ -z "$wanted" ]; then
    [ $status = 0 ] && [ -z "$said" ] || fail "must compile silently"
    exit 0
fi
[ $status = 1 ] || fail "must not compile (status $status)"
while IFS= read -r text; do
    grep -qF -- "$text" <<< "$said" || fail "the compiler must say '$text'"
    [[ $text != *:* ]] || grep -qF -- "$text" "$manual" || fail "'$text' must stand in $manual"
done <<< "$wanted"
[ "$(grep -c 'error:' <<< "$said")" = 1 ] || fail "exactly one error, please"
