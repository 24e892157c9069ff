#!/usr/bin/env bash
# Runs a command inside a private Wayland session: weston on its headless backend (drawn
# with pixman, so that screenshots hold pixels), with XWayland for X clients and the
# screenshot protocol of --debug. WAYLAND_DISPLAY and DISPLAY name the two; both stop after.
set -euo pipefail

runtime=$(mktemp -d)
chmod 0700 "$runtime"
export XDG_RUNTIME_DIR="$runtime"
socket="velmora-$$"
log="$runtime/weston.log"
weston --backend=headless-backend.so --use-pixman --width=1280 --height=800 --socket="$socket" \
    --xwayland --debug --idle-time=0 >"$log" 2>&1 &
weston=$!
cleanup() {
    kill "$weston" 2>/dev/null || true
    wait 2>/dev/null || true
    rm -rf "$runtime"
}
trap cleanup EXIT

display=
for _ in $(seq 1 200); do
    display=$(sed -n 's/.*xserver listening on display \(:[0-9]*\).*/\1/p' "$log" | head -1)
    [[ -S "$runtime/$socket" && -n "$display" ]] && break
    kill -0 "$weston" 2>/dev/null || { cat "$log" >&2; exit 1; }
    sleep 0.05
done
[[ -S "$runtime/$socket" ]] || { echo "with-weston: no compositor" >&2; cat "$log" >&2; exit 1; }
export WAYLAND_DISPLAY="$socket" DISPLAY="$display" XDG_SESSION_TYPE=wayland
unset QT_QPA_PLATFORM
"$@"
