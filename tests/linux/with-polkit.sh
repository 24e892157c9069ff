#!/usr/bin/env bash
# Runs a command with a system D-Bus and polkitd, starting those that are not running and
# stopping them again afterwards, so that a real pkexec can be used.
set -euo pipefail

started=()
cleanup() {
    for pid in "${started[@]}"; do kill "$pid" 2>/dev/null || true; done
    if [[ -n "${dbus_pid:-}" ]]; then rm -f /run/dbus/system_bus_socket /run/dbus/pid; fi
}
trap cleanup EXIT

if [[ $(id -u) -ne 0 ]]; then
    echo "with-polkit: needs root; running without" >&2
    exec "$@"
fi

if [[ ! -S /run/dbus/system_bus_socket ]]; then
    mkdir -p /run/dbus
    dbus_pid=$(dbus-daemon --system --fork --print-pid)
    started+=("$dbus_pid")
fi
if ! pgrep -x polkitd >/dev/null; then
    /usr/lib/polkit-1/polkitd --no-debug >/dev/null 2>&1 &
    started+=("$!")
fi
for _ in $(seq 1 100); do
    if timeout 5 pkexec /bin/true 2>/dev/null; then
        break
    fi
    sleep 0.1
done
RV_REAL_PKEXEC=1 "$@"
