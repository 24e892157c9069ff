#!/usr/bin/env bash
# Runs a command with an unprivileged user whose home is a folder of its own, as the
# privileged tool needs (it finds the invoking user's home in the password database). The
# user is made when missing and removed again afterwards.
set -euo pipefail
name=velmora-tester
home=/tmp/velmora-tester-home
if [[ $(id -u) -ne 0 ]]; then
    echo "with-test-user: needs root; running without" >&2
    exec "$@"
fi
made=0
if ! id "$name" >/dev/null 2>&1; then
    useradd --system --no-create-home --home-dir "$home" --shell /usr/sbin/nologin "$name"
    made=1
fi
mkdir -p "$home"
chown "$name:" "$home"
chmod 0755 "$home"
cleanup() {
    rm -rf "$home"
    if ((made)); then userdel "$name" 2>/dev/null || true; fi
}
trap cleanup EXIT
RV_TEST_USER="$name" "$@"
