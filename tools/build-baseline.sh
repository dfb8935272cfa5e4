#!/usr/bin/env bash
# Builds BrondelCLI as it was at an earlier commit, for the end-to-end benchmark to race against.
# Usage: build-baseline.sh COMMIT FOLDER [JOBS]
#   FOLDER/src holds that commit's files, FOLDER/build its Release build; FOLDER/commit names what was
#   built, so a second call with the same commit does nothing.
# Prints the baseline executable's path on the last line of standard output, or nothing when there is
# no git history to take the commit from (a release tarball, a shallow clone): the benchmark then
# measures the new build alone.
set -uo pipefail
commit=${1:?commit}
folder=${2:?folder}
jobs=${3:-2}
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
case $folder in /*) ;; *) folder=$root/$folder ;; esac
cli=$folder/build/bin/BrondelCLI

if ! command -v git >/dev/null 2>&1 || ! git -C "$root" rev-parse --git-dir >/dev/null 2>&1; then
    echo "Baseline: no git repository here, so no $commit to build; measuring the new build alone." >&2
    exit 0
fi
full=$(git -C "$root" rev-parse --verify --quiet "$commit^{commit}")
if [ -z "$full" ]; then
    echo "Baseline: commit $commit is not in this repository; measuring the new build alone." >&2
    exit 0
fi

if [ -x "$cli" ] && [ "$(cat "$folder/commit" 2>/dev/null)" = "$full" ]; then
    echo "$cli"
    exit 0
fi

echo "Baseline: building BrondelCLI at ${full:0:12} in $folder (once)..." >&2
rm -rf "$folder"
mkdir -p "$folder/src"
if ! git -C "$root" archive "$full" | tar -x -C "$folder/src"; then
    echo "Baseline: git archive $commit failed; measuring the new build alone." >&2
    exit 0
fi
# Its own warnings are not ours to fix, and a newer compiler may add some: they must not stop the build.
if ! cmake -S "$folder/src" -B "$folder/build" -DCMAKE_BUILD_TYPE=Release -DBRONDEL_BUILD_TESTS=OFF \
        -DBRONDEL_WERROR=OFF >"$folder/configure.log" 2>&1 ||
    ! cmake --build "$folder/build" -j "$jobs" --target BrondelCLI >"$folder/build.log" 2>&1; then
    echo "Baseline: the build failed (see $folder/configure.log and build.log); measuring the new build alone." >&2
    exit 0
fi
# BrondelCLI finds its placeholder images beside itself.
if [ ! -d "$folder/build/bin/BlankTextures" ]; then
    cmake -E copy_directory "$folder/src/resources" "$folder/build/bin" || true
fi
echo "$full" >"$folder/commit"
echo "$cli"
