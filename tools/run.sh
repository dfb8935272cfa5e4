#!/usr/bin/env bash
# `make run`: starts Brondel on the example set when there is a display; without one, processes the
# example set with BrondelCLI, writing every map into <build>/example-output/.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build=${1:-build}
case $build in /*) ;; *) build=$root/$build ;; esac

cli=$build/bin/BrondelCLI
gui=$build/bin/Brondel

if [ -n "${DISPLAY:-}${WAYLAND_DISPLAY:-}" ] && [ -x "$gui" ]; then
    exec "$gui"
fi
echo "No display: running BrondelCLI on the example set instead of the window."
examples=$root/resources/Examples
output=$build/example-output

if [ ! -x "$cli" ]; then
    echo "BrondelCLI has not been built in $build/bin." >&2
    exit 1
fi
shopt -s nullglob
inputs=("$examples"/ExampleHead_*.png)
if [ ${#inputs[@]} -eq 0 ]; then
    echo "The example set (resources/Examples/ExampleHead_*.png) is missing." >&2
    exit 1
fi

# Fresh copies of the inputs only, so maps left by an earlier run are not read back as inputs.
rm -rf "$output"
mkdir -p "$output"
for input in "${inputs[@]}"; do
    case $input in
    *_Normal.png | *_Depth.png | *_NormalDepth.png | *_NormalOpacity.png) ;;
    *_AO.png | *_Aniso.png | *_Index.png | *_Palette.png) ;;
    *) cp "$input" "$output/" ;;
    esac
done

status=0
"$cli" -source "$output/ExampleHead_Left.png" -nSave -noSave -dSave -ndSave -aoSave -aSave -pSave -iSave || status=$?

echo
echo "Maps written to $output:"
for map in Normal NormalOpacity Depth NormalDepth AO Aniso Palette Index; do
    file=$output/ExampleHead_$map.png
    if [ -f "$file" ]; then
        echo "  $file"
    fi
done
exit $status
