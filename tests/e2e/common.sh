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
demo="$build/demo/Velmora Demo.app"
velmora_installer="$demo/Contents/Resources/VelmoraInstaller.app/Contents/MacOS/VelmoraInstaller"
press="$build/tests/rvpress"

# A user of its own: home, data and applications folders under $1.
user_in() {
    export HOME="$1/home" XDG_DATA_HOME="$1/share" VELMORA_APPLICATIONS_DIR="$1/Applications"
    mkdir -p "$HOME/Library/Logs" "$VELMORA_APPLICATIONS_DIR"
    installer_log="$HOME/Library/Logs/VelmoraInstaller.log"
    installed="$VELMORA_APPLICATIONS_DIR/Velmora Demo.app"
}
# A previous copy (0.9.0) of the demo in the applications folder.
previous_copy() {
    cp -a "$demo" "$VELMORA_APPLICATIONS_DIR/"
    sed -i 's/1\.2\.0/0.9.0/' "$installed/Contents/Info.plist"
}
# The previous copy (pid $1) has quit and is in the Trash; the new copy is in place and runs.
replaced() {
    kill -0 "$1" 2>/dev/null && fail "the previous copy still runs $2"
    grep -q "1.2.0" "$installed/Contents/Info.plist" || fail "the new copy is not in place $2"
    trash-list | grep -qF "$installed" || fail "the previous copy is not in the trash $2"
    grep -rq "0.9.0" "$XDG_DATA_HOME/Trash/files/" || fail "the trashed copy is not the previous one $2"
    pgrep -f "$installed/Contents/MacOS/Velmora Demo" >/dev/null || fail "the new copy was not launched $2"
}
# pkexec's stand-in runs the tool as it is.
stand_in_pkexec() {
    printf '#!/bin/sh\nexec "$@"\n' >"$work/pkexec"
    chmod +x "$work/pkexec"
    export VELMORA_PKEXEC="$work/pkexec"
}
