# Sourced by the end-to-end scripts: a work folder removed afterwards (with whatever was
# started from it), the artifacts folder, and fail, which shows the installer's log.
build=$1
artifacts="$build/test-artifacts"
mkdir -p "$artifacts"
work=$(mktemp -d)
installer_log="$work/installer.log"
cleanup() {
    xdotool keyup alt 2>/dev/null || true
    pkill -f "$work/" 2>/dev/null || true
    rm -rf "$work"
}
trap cleanup EXIT
fail() { echo "e2e: $*" >&2; cat "$installer_log" >&2 || true; exit 1; }

# Tries the command that follows every tenth of a second for up to $1 seconds; succeeds as
# soon as it does.
until_true() {
    local tenths=$(($1 * 10))
    shift
    for _ in $(seq 1 "$tenths"); do
        "$@" 2>/dev/null && return 0
        sleep 0.1
    done
    "$@" 2>/dev/null
}
ended() { ! kill -0 "$1" 2>/dev/null; }
