#!/usr/bin/env bash
# End to end, under X11: the one file that `make dist` makes, run as a user runs it (no
# arguments): it unpacks the product into a private folder, the installer inside installs
# it, and the folder is gone afterwards. A truncated and an altered copy are refused with a
# message and leave nothing behind. velmora-pack packs a second product the same way.
set -euo pipefail
source "$(dirname "$0")/common.sh"
cmake --build "$build" --target dist >/dev/null
dist=$(ls "$build"/dist/Velmora\ Demo-*-* | head -1)
[[ -x "$dist" ]] || fail "no file from make dist"
pack="$build/src/pack/velmora-pack"

user_in "$work"
export XDG_RUNTIME_DIR="$work/runtime"
mkdir -p "$XDG_RUNTIME_DIR"
chmod 0700 "$XDG_RUNTIME_DIR"
installer_log="$work/installer.log"

empty_runtime() { [[ -z "$(ls -A "$XDG_RUNTIME_DIR")" ]]; }

# Installs with the file at $1 whose product is called $2, pressing Install and then OK.
install_with() {
    "$1" 2>"$installer_log" &
    local runner=$!
    local window
    window=$(xdotool search --sync --onlyvisible --name "^$2 Installer\$" | head -1) || fail "no window for $2"
    local unpacked
    unpacked=$(ls -d "$XDG_RUNTIME_DIR"/velmora-*/AppTranslocation/"$2.app")
    [[ $(stat -c %a "$(dirname "$(dirname "$unpacked")")") == 700 ]] || fail "the private folder is not private"
    sleep 0.3
    xdotool windowactivate --sync "$window" key Return # Install
    until_true 30 grep -q "launched immediately" "$installer_log" || fail "$2 was not launched"
    grep -q "successfully copied" "$installer_log" || fail "$2 was not installed"
    [[ -d "$VELMORA_APPLICATIONS_DIR/$2.app" ]] || fail "$2 is not in the applications folder"
    pgrep -f "$VELMORA_APPLICATIONS_DIR/$2.app/Contents/MacOS/" >/dev/null || fail "$2 was not launched"
    sleep 0.5
    xdotool windowactivate --sync "$window" key Return # OK
    until_true 10 ended "$runner"
    wait "$runner" || fail "the file ended with a failure"
    empty_runtime || fail "the private folder is left: $(ls -A "$XDG_RUNTIME_DIR")"
    pkill -f "$VELMORA_APPLICATIONS_DIR/$2.app/Contents/MacOS/" || true
}

install_with "$dist" "Velmora Demo"
import -window root "$artifacts/dist-done.png" 2>/dev/null || true

# Damaged copies: refused with a message (a dialog here, dismissed), nothing left.
head -c $(( $(stat -c %s "$dist") * 2 / 3 )) "$dist" >"$work/truncated"
cp "$dist" "$work/altered"
python3 - "$work/altered" <<'PY'
import sys
path = sys.argv[1]
data = bytearray(open(path, "rb").read())
data[len(data) * 3 // 4] ^= 0x01
open(path, "wb").write(data)
PY
chmod +x "$work/truncated" "$work/altered"
for damaged in truncated altered; do
    "$work/$damaged" 2>"$work/$damaged.err" &
    runner=$!
    dialog=$(xdotool search --sync --onlyvisible --name "^$damaged\$" | head -1) || fail "no dialog for the $damaged file"
    xdotool windowactivate --sync "$dialog" key Return
    wait "$runner" && fail "the $damaged file was run"
    grep -q "is damaged or incomplete" "$work/$damaged.err" || fail "no message for the $damaged file"
    empty_runtime || fail "the $damaged file left $(ls -A "$XDG_RUNTIME_DIR")"
done

# A vendor's own product.
second="$work/vendor/Acme Tool.app"
mkdir -p "$work/vendor"
cp -a "$demo" "$second"
perl -0pi -e 's#(<key>CFBundleName</key>\s*<string>)[^<]*#${1}Acme Tool#; s/com\.velmora\.demo/com.acme.tool/; s/VDMO/ACME/' \
    "$second/Contents/Info.plist"
# A link in the product to a folder of the user's: removing the unpacked copy keeps it.
mkdir -p "$work/victim"
echo "the user's" >"$work/victim/file"
ln -s "$work/victim" "$second/Contents/Resources/outside"
# Acme signs its product with a key of its own.
acme_key=$("$build/src/sign/velmora-sign" generate-key "$work/acme.key")
perl -0pi -e "s#(<key>VelmoraPublicEDKey</key>\\s*<string>)[^<]*#\${1}$acme_key#" "$second/Contents/Info.plist"
"$build/src/sign/velmora-sign" sign "$work/acme.key" "$second" >/dev/null || fail "velmora-sign failed"
mkdir -p "$work/bare.app"
"$pack" "$work/bare.app" "$work/bare" 2>/dev/null && fail "a product without the installer was packed"
"$pack" --level 3 "$second" "$work/Acme Tool-1.0-x86_64" || fail "velmora-pack failed"
install_with "$work/Acme Tool-1.0-x86_64" "Acme Tool"
[[ $(cat "$work/victim/file" 2>/dev/null) == "the user's" ]] || fail "removing the unpacked copy followed a link"
# A large product: progress shows while it unpacks; the user may still cancel afterwards.
big="$work/vendor/Big Tool.app"
cp -a "$second" "$big"
head -c 400M /dev/urandom >"$big/Contents/Resources/data.bin"
"$pack" --level 3 "$big" "$work/Big Tool-1.0-x86_64" || fail "velmora-pack failed on a large product"
"$work/Big Tool-1.0-x86_64" 2>"$installer_log" &
runner=$!
xdotool search --sync --name "^Big Tool-1.0-x86_64\$" >/dev/null || fail "no progress while unpacking"
window=$(xdotool search --sync --onlyvisible --name "^Big Tool Installer\$" | head -1) || fail "no window for Big Tool"
xdotool windowactivate --sync "$window" key Escape # Cancel
wait "$runner" && fail "a cancelled installation ended as installed"
empty_runtime || fail "the private folder of the large product is left"
# Ended while it unpacks (a logout, Ctrl-C): nothing is left.
"$work/Big Tool-1.0-x86_64" 2>"$installer_log" &
runner=$!
xdotool search --sync --name "^Big Tool-1.0-x86_64\$" >/dev/null || fail "no progress while unpacking"
kill -TERM "$runner"
wait "$runner" && fail "an unpacking ended by a signal ran the installer"
empty_runtime || fail "a stopped unpacking left $(ls -A "$XDG_RUNTIME_DIR")"

echo "e2e: the one file installed its product and left nothing; damaged copies refused; a second product packed and installed"
