#!/usr/bin/env bash
# End to end, under X11 with the accessibility bus: the real window's tree as a screen
# reader reads it (every shown control named, in its role), then a run from the read-me page
# to the final page with the keyboard alone.
set -euo pipefail
source "$(dirname "$0")/common.sh"
user_in "$work"
"$velmora_installer" -sourcePath "$demo" -readMePath "$build/demo/ReadMe.md" &
installer=$!
window=$(xdotool search --sync --onlyvisible --name "Velmora Demo Installer" | head -1)

# Every shown control of a page has a name; the expected ones are there in their roles.
check_tree() {
    local page=$1
    shift
    "$press" --list "$installer" >"$work/tree-$page" || fail "no accessible tree ($page)"
    awk -F'\t' '$1 ~ /push button|label|image|progress bar|text|document/ && $2 == "" { print; bad = 1 } END { exit bad }' \
        "$work/tree-$page" || fail "unnamed controls on the $page page"
    for expected in "$@"; do
        grep -qF "$expected" "$work/tree-$page" || { cat "$work/tree-$page" >&2; fail "no \"$expected\" on the $page page"; }
    done
}
sleep 0.3
check_tree read-me $'push button\tContinue' $'push button\tCancel' $'label\tRead me'
key() { xdotool windowactivate --sync "$window" key "$1"; sleep 0.3; }
key Return # Continue, the default button
check_tree installation $'push button\tInstall' $'push button\tGo Back' $'graphic\tProduct icon' \
    $'label\tVelmora Demo 1.2.0' "Applications/Velmora Demo"
key Escape # Go Back, as the Cancel button would
check_tree read-me-again $'push button\tContinue'
key Return
key Return # Install
until_true 30 grep -q "launched immediately" "$installer_log" || fail "not installed"
sleep 0.5
check_tree final $'push button\tOK' $'graphic\tInstallation complete'
key Return # OK
until_true 10 ended "$installer" || fail "OK did not quit"
wait "$installer" || fail "the installer ended with a failure"
cp "$work/tree-installation" "$artifacts/accessible-tree.txt"
echo "e2e: every shown control named on the accessibility bus; read-me to final page with the keyboard alone"
