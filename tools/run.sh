#!/usr/bin/env bash
# Starts Brondel on the example set; what can run depends on what has been built so far.
set -euo pipefail
build=${1:-build}
echo "Built in $build/bin:"
ls "$build/bin"
