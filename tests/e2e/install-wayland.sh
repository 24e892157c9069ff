#!/usr/bin/env bash
# End to end in a Wayland session (weston, headless): the installer runs as a native Wayland
# client; a previous copy of the product runs, once as a Wayland client and once as an X
# client under XWayland; Install is pressed through the accessibility bus. Then the old copy
# has quit, the new copy is in place and running, and the previous copy is in the Trash.
set -euo pipefail
source "$(dirname "$0")/common.sh"
cd "$work"

for client in wayland xcb; do
    user_in "$work/$client"
    previous_copy
    QT_QPA_PLATFORM=$client "$installed/Contents/MacOS/Velmora Demo" &
    old=$!
    until_true 10 grep -q "libq$client" "/proc/$old/maps" || fail "the previous copy is no $client client"

    "$velmora_installer" -sourcePath "$demo" -completionQuit 2 &
    installer=$!
    "$press" "$installer" "Install" 30 >/dev/null || fail "no Install button on the accessibility bus"
    grep -q "libqwayland" "/proc/$installer/maps" || fail "the installer is no Wayland client"
    if [[ $client == wayland ]]; then
        until_true 30 grep -q "quit delay" "$installer_log"
        weston-screenshooter >/dev/null 2>&1 && mv wayland-screenshot-*.png "$artifacts/wayland-final-page.png" ||
            fail "no screenshot"
    fi
    until_true 60 ended "$installer" || fail "the installer did not quit by itself ($client)"
    wait "$installer" || fail "the installer failed ($client)"
    replaced "$old" "($client)"
    pkill -f "$installed/Contents/MacOS/Velmora Demo" || true
done
echo "e2e: in a Wayland session, a Wayland and an XWayland previous copy quit, trashed, replaced and launched;" \
     "screenshot $artifacts/wayland-final-page.png"
