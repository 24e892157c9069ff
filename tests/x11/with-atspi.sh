#!/usr/bin/env bash
# Runs a command with a private session bus and a running accessibility bus, with
# accessibility switched on the way a desktop does it, then stops both.
set -euo pipefail

if [ -z "${RV_ATSPI_INNER:-}" ]; then
    export RV_ATSPI_INNER=1
    exec dbus-run-session -- "$0" "$@"
fi

export XDG_RUNTIME_DIR="${XDG_RUNTIME_DIR:-$(mktemp -d)}"
/usr/libexec/at-spi-bus-launcher --launch-immediately &
launcher=$!
trap 'kill "$launcher" 2>/dev/null || true; wait 2>/dev/null || true' EXIT

for _ in $(seq 1 100); do
    if gdbus call --session -d org.a11y.Bus -o /org/a11y/bus -m org.a11y.Bus.GetAddress >/dev/null 2>&1; then
        break
    fi
    sleep 0.05
done
gdbus call --session -d org.a11y.Bus -o /org/a11y/bus -m org.freedesktop.DBus.Properties.Set \
    org.a11y.Status IsEnabled '<true>' >/dev/null

"$@"
