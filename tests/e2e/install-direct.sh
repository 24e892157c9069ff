#!/usr/bin/env bash
# End to end, under X11: the installer opened directly from inside the demo product, in
# German, with Alt held at the click, takes the privileged path (a stand-in for pkexec that
# runs the tool as it is) and installs. The final page is kept as a screenshot.
set -euo pipefail
source "$(dirname "$0")/common.sh"

export HOME="$work/home" XDG_DATA_HOME="$work/share" VELMORA_APPLICATIONS_DIR="$work/Applications"
export LANG=de_DE.UTF-8 LANGUAGE=de
mkdir -p "$HOME"
printf '#!/bin/sh\nexec "$@"\n' >"$work/pkexec"
chmod +x "$work/pkexec"
export VELMORA_PKEXEC="$work/pkexec"
demo="$build/demo/Velmora Demo.app"

"$demo/Contents/Resources/VelmoraInstaller.app/Contents/MacOS/VelmoraInstaller" 2>"$work/installer.log" &
installer=$!
window=$(xdotool search --sync --onlyvisible --name "Velmora Demo installieren" | head -1) || fail "no German window"
sleep 0.3
# Alt held while the focused Install button is pressed (openbox keeps Alt+click for itself).
xdotool windowactivate --sync "$window" keydown alt key Return
until_true 30 grep -q "launched immediately" "$work/installer.log"
xdotool keyup alt
sleep 1
import -window root "$artifacts/final-page-de.png"
for line in "direct invocation" "enforcing authorization" "successfully copied"; do
    grep -qF "$line" "$work/installer.log" || fail "missing log line: $line"
done
[[ -x "$VELMORA_APPLICATIONS_DIR/Velmora Demo.app/Contents/MacOS/Velmora Demo" ]] || fail "not installed"
xdotool windowactivate --sync "$window" key Return # OK
until_true 10 ended "$installer" || fail "OK did not quit"
echo "e2e: direct invocation in German with Alt took the privileged path; screenshot $artifacts/final-page-de.png"
