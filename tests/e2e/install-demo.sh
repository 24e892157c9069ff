#!/usr/bin/env bash
# End to end, under X11: the built installer, started with named arguments from inside the
# demo product, quits a running previous copy, trashes it, installs, registers and launches
# the new copy, logs to its file and quits by itself.
set -euo pipefail
source "$(dirname "$0")/common.sh"

export HOME="$work/home" XDG_DATA_HOME="$work/share" VELMORA_APPLICATIONS_DIR="$work/Applications"
mkdir -p "$HOME/Library/Logs" "$VELMORA_APPLICATIONS_DIR"
installer_log="$HOME/Library/Logs/VelmoraInstaller.log"
demo="$build/demo/Velmora Demo.app"
installed="$VELMORA_APPLICATIONS_DIR/Velmora Demo.app"

# A previous copy, running.
cp -a "$demo" "$VELMORA_APPLICATIONS_DIR/"
sed -i 's/1\.2\.0/0.9.0/' "$installed/Contents/Info.plist"
"$installed/Contents/MacOS/Velmora Demo" &
old=$!
xdotool search --sync --onlyvisible --name "^Velmora Demo$" >/dev/null

"$demo/Contents/Resources/VelmoraInstaller.app/Contents/MacOS/VelmoraInstaller" \
    -sourcePath "$demo" -readMePath "$build/demo/ReadMe.md" -completionQuit 1 &
installer=$!
window=$(xdotool search --sync --onlyvisible --name "Velmora Demo Installer" | head -1)
sleep 0.3
xdotool windowactivate --sync "$window" key Return # Continue: from the read-me to the installation page
sleep 0.3
xdotool windowactivate --sync "$window" key Return # Install
until_true 60 ended "$installer" || fail "the installer did not quit by itself"
wait "$installer" || fail "the installer failed"

log="$HOME/Library/Logs/VelmoraInstaller.log"
for line in "arguments: " "Quitting 'VDMO': Velmora Demo" "successfully copied" "registered app: 0" \
            "launched immediately: 1" "quit delay: 1.0"; do
    grep -qF "$line" "$log" || fail "missing log line: $line"
done
kill -0 "$old" 2>/dev/null && fail "the previous copy still runs"
grep -q "1.2.0" "$installed/Contents/Info.plist" || fail "the new copy is not in place"
trash-list | grep -qF "$installed" || fail "the previous copy is not in the trash"
grep -rq "0.9.0" "$XDG_DATA_HOME/Trash/files/" || fail "the trashed copy is not the previous one"
pgrep -f "$installed/Contents/MacOS/Velmora Demo" >/dev/null || fail "the new copy was not launched"
desktop-file-validate "$XDG_DATA_HOME/applications/com.velmora.demo.desktop" || fail "invalid desktop entry"
echo "e2e: installed, previous copy trashed, product launched"
