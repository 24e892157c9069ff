#!/usr/bin/env bash
# Runs the installer from inside the demo product, installing into a folder under the build
# tree. With a display the window is yours to click; without one it runs under Xvfb with
# openbox, clicks through, and saves screenshots.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${BUILD_DIR:-$root/build}
out="$build/demo-run"
installer="$build/demo/Velmora Demo.app/Contents/Resources/VelmoraInstaller.app/Contents/MacOS/VelmoraInstaller"

if [[ "${1:-}" != --inner ]]; then
    rm -rf "$out"
    mkdir -p "$out/Applications" "$out/share"
    if [[ -n "${DISPLAY:-}" && "${VELMORA_DEMO_HEADLESS:-}" != 1 ]]; then
        VELMORA_APPLICATIONS_DIR="$out/Applications" XDG_DATA_HOME="$out/share" "$installer"
        exit $?
    fi
    exec "$root/tests/x11/with-x11.sh" "$0" --inner
fi

export VELMORA_APPLICATIONS_DIR="$out/Applications" XDG_DATA_HOME="$out/share"
"$installer" 2>"$out/installer.log" &
pid=$!
window=$(xdotool search --sync --onlyvisible --name "Velmora Demo" | head -1)
sleep 0.5
import -window root "$out/1-install-page.png"
xdotool windowactivate --sync "$window" key Return
for _ in $(seq 1 100); do
    grep -q "successfully copied" "$out/installer.log" && break
    sleep 0.1
done
sleep 1.5
xdotool windowactivate --sync "$window" 2>/dev/null || true
import -window root "$out/2-final-page.png"
xdotool windowactivate --sync "$window" key Return 2>/dev/null || true
wait "$pid" || true
pkill -f "$out/Applications/Velmora Demo.app/Contents/MacOS/Velmora Demo" 2>/dev/null || true

echo "installer log: $out/installer.log"
echo "screenshots:   $out/1-install-page.png $out/2-final-page.png"
if [[ -x "$out/Applications/Velmora Demo.app/Contents/MacOS/Velmora Demo" ]]; then
    echo "installed:     $out/Applications/Velmora Demo.app"
else
    echo "demo: the product was not installed" >&2
    cat "$out/installer.log" >&2
    exit 1
fi
