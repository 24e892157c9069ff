#!/usr/bin/env bash
# Runs a command on a private Xvfb display with openbox as the window manager, then stops both.
set -euo pipefail

fifo=$(mktemp -u)
mkfifo "$fifo"
Xvfb -displayfd 3 -screen 0 1280x800x24 -nolisten tcp 3>"$fifo" &
xvfb=$!
read -r display <"$fifo"
rm -f "$fifo"
export DISPLAY=":$display"

cleanup() {
    kill "${openbox:-}" "$xvfb" 2>/dev/null || true
    wait 2>/dev/null || true
}
trap cleanup EXIT

openbox --sm-disable >/dev/null 2>&1 &
openbox=$!
# The window manager announces itself before it manages windows; it is ready once a probe
# window shows up on its client list.
xmessage -timeout 20 probe >/dev/null 2>&1 &
probe=$!
for _ in $(seq 1 200); do
    if xprop -root _NET_CLIENT_LIST 2>/dev/null | grep -q '0x'; then
        break
    fi
    sleep 0.05
done
kill "$probe" 2>/dev/null || true
wait "$probe" 2>/dev/null || true
for _ in $(seq 1 100); do
    xprop -root _NET_CLIENT_LIST 2>/dev/null | grep -q '0x' || break
    sleep 0.02
done

"$@"
