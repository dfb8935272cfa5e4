#!/usr/bin/env bash
# Checks formatting and the naming and bug-prone rules over Brondel's own sources.
set -uo pipefail
build=${1:-build}
cd "$(dirname "$0")/.."
mapfile -t files < <(git ls-files 'src/*.cpp' 'src/*.h' 'tests/*.cpp' 'tests/*.h' 'bench/*.cpp' 'tools/*.cpp')
status=0
clang-format --dry-run -Werror "${files[@]}" || status=1
mapfile -t sources < <(git ls-files 'src/*.cpp')
clang-tidy -p "$build" --quiet "${sources[@]}" 2>/dev/null || status=1
exit $status
