#!/usr/bin/env bash
# End to end, under X11: the installer opened directly from inside the demo product, in
# German, with Alt held at the click, takes the privileged path (a stand-in for pkexec that
# runs the tool as it is) and installs. The final page is kept as a screenshot.
set -euo pipefail
source "$(dirname "$0")/common.sh"

user_in "$work"
export LANG=de_DE.UTF-8 LANGUAGE=de
stand_in_pkexec
installer_log="$work/installer.log"
"$velmora_installer" 2>"$installer_log" &
installer=$!
window=$(xdotool search --sync --onlyvisible --name "Velmora Demo installieren" | head -1) || fail "no German window"
sleep 0.3
# Alt held while the focused Install button is pressed (openbox keeps Alt+click for itself).
xdotool windowactivate --sync "$window" keydown alt key Return
until_true 30 grep -q "launched immediately" "$installer_log"
xdotool keyup alt
sleep 1
import -window root "$artifacts/final-page-de.png"
for line in "direct invocation" "enforcing authorization" "successfully copied"; do
    grep -qF "$line" "$installer_log" || fail "missing log line: $line"
done
[[ -x "$installed/Contents/MacOS/Velmora Demo" ]] || fail "not installed"
xdotool windowactivate --sync "$window" key Return # OK
until_true 10 ended "$installer" || fail "OK did not quit"
echo "e2e: direct invocation in German with Alt took the privileged path; screenshot $artifacts/final-page-de.png"
