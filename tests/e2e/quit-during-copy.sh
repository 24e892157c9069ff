#!/usr/bin/env bash
# End to end, under X11: the built installer, started with named arguments on a large
# product, is told to quit in the middle of the copy (the window closed through the window
# manager, or SIGTERM), for the plain and the privileged copy. It must stay up until the
# copy has ended and leave the complete product, no staging copy, and the previous copy
# in the Trash.
set -euo pipefail
source "$(dirname "$0")/common.sh"

user_in "$work"
export LANG=C.UTF-8
stand_in_pkexec
source="$work/src/Velmora Demo.app"
mkdir -p "$work/src"
cp -a "$demo" "$source"
head -c 600M /dev/zero | tr '\0' 'v' >"$source/Contents/Resources/Large.bin"
# The demo is signed: a changed bundle is a release only once its maker signs it again.
"$build/src/sign/velmora-sign" sign "$build/demo/demo-signing.key" "$source" >/dev/null

runs=0
for how in close sigterm privileged-sigterm; do
    runs=$((runs + 1))
    apps="$work/Applications-$how"
    mkdir -p "$apps"
    cp -a "$demo" "$apps/Velmora Demo.app"
    "$velmora_installer" -sourcePath "$source/" -destinationPath "$apps/Velmora Demo.app" -productName "Velmora Demo" \
        -quitCode XXXX &
    pid=$!
    window=$(xdotool search --sync --onlyvisible --pid "$pid" | head -1) || fail "$how: no window"
    sleep 0.3
    if [[ $how == privileged-* ]]; then
        xdotool windowactivate --sync "$window" keydown alt key Return
    else
        xdotool windowactivate --sync "$window" key Return
    fi
    for _ in $(seq 1 2000); do
        compgen -G "$apps/.Velmora Demo.app.velmora-*" >/dev/null && break
        sleep 0.005
    done
    compgen -G "$apps/.Velmora Demo.app.velmora-*" >/dev/null || fail "$how: the copy never started"
    xdotool keyup alt
    case $how in
        close) wmctrl -i -c "$window" ;;
        *) kill -TERM "$pid" ;;
    esac
    sleep 0.05
    kill -0 "$pid" 2>/dev/null || fail "$how: quit in the middle of the copy"
    import -window "$window" "$artifacts/quitting-$how.png" 2>/dev/null || true
    until_true 60 ended "$pid" || fail "$how: never quit"
    status=0
    wait "$pid" || status=$?
    ((status == 0)) || fail "$how: exit status $status after a successful installation"
    [[ $(stat -c %s "$apps/Velmora Demo.app/Contents/Resources/Large.bin") -eq $((600 << 20)) ]] ||
        fail "$how: the product is not complete"
    compgen -G "$apps/.*velmora-*" >/dev/null && fail "$how: a staging copy was left"
    [[ $(ls "$XDG_DATA_HOME/Trash/files" | wc -l) -eq $runs ]] || fail "$how: the previous copy is not in the Trash"
    pkill -f "$apps/" 2>/dev/null || true # the product it launched
    echo "e2e: $how during the copy waited for it; product complete"
done
