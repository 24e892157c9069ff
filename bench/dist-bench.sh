#!/usr/bin/env bash
# make bench: the demo's one file against a makeself archive of the same product bundle.
#   dist-bench.sh BUILD
set -euo pipefail
build=$1
cmake --build "$build" --target dist dist_bench >/dev/null
dist=$(ls "$build"/dist/Velmora\ Demo-*-* | grep -v partial | head -1)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir "$work/content" "$work/unpack"
cp -a "$build/demo/Velmora Demo.app" "$work/content/"
makeself --quiet "$work/content" "$work/velmora-demo.run" "Velmora Demo" \
    "./Velmora Demo.app/Contents/Resources/VelmoraInstaller.app/Contents/MacOS/VelmoraInstaller" >/dev/null
chmod 0700 "$work/unpack"
export XDG_RUNTIME_DIR="$work/unpack" TMPDIR="$work/unpack"
export VELMORA_APPLICATIONS_DIR="$work/Applications"
"$build/bench/dist_bench" "$dist" "$work/velmora-demo.run"
