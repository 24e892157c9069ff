#!/usr/bin/env bash
# End to end, under X11: the built installer, started with named arguments from inside the
# demo product, quits a running previous copy, trashes it, installs, registers and launches
# the new copy, logs to its file and quits by itself.
set -euo pipefail
source "$(dirname "$0")/common.sh"
user_in "$work"
previous_copy
"$installed/Contents/MacOS/Velmora Demo" &
old=$!
xdotool search --sync --onlyvisible --name "^Velmora Demo$" >/dev/null

"$velmora_installer" -sourcePath "$demo" -readMePath "$build/demo/ReadMe.md" -completionQuit 1 &
installer=$!
window=$(xdotool search --sync --onlyvisible --name "Velmora Demo Installer" | head -1)
for _ in Continue Install; do # from the read-me to the installation page, then Install
    sleep 0.3
    xdotool windowactivate --sync "$window" key Return
done
until_true 60 ended "$installer" || fail "the installer did not quit by itself"
wait "$installer" || fail "the installer failed"

for line in "arguments: " "Quitting 'VDMO': Velmora Demo" "successfully copied" "registered app: 0" \
            "launched immediately: 1" "quit delay: 1.0"; do
    grep -qF "$line" "$installer_log" || fail "missing log line: $line"
done
replaced "$old"
desktop-file-validate "$XDG_DATA_HOME/applications/com.velmora.demo.desktop" || fail "invalid desktop entry"
echo "e2e: installed, previous copy trashed, product launched"
