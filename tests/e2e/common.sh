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
