#!/usr/bin/env bash
# The one file on a desktop that has GTK and no Qt: a Debian root made from the archive
# (make-root.sh), entered with chroot, with this test's X display bound in. As that root's
# unprivileged user, the demo's one file runs with no arguments, Install is pressed, the
# product lands in that root's applications folder and runs, and the unpacked folder is
# gone. Then train, run there as root the way pkexec runs it, copies again.
#   bare-desktop.sh BUILD SUITE [noexec]
# With noexec, /tmp and the user's runtime folder are mounted noexec, so the one file has
# to unpack into the user's cache folder.
set -euo pipefail
build=$1 suite=$2 mode=${3:-}
here=$(dirname "$0")
source "$here/../e2e/common.sh" "$build"
cmake --build "$build" --target dist >/dev/null
cached=$("$here/make-root.sh" "$suite")
dist=$(ls "$build"/dist/Velmora\ Demo-*-* | grep -v partial | head -1)
[[ -x "$dist" ]] || fail "no file from make dist"

# The cached root stays as it was: the test writes into an overlay.
root="$work/root"
mkdir -p "$root" "$work/upper" "$work/overlay-work"
mounts=()
mount_at() { mount "$@"; mounts=("${@: -1}" "${mounts[@]}"); }
# Ends every process that runs inside the root.
end_processes_in_root() {
    local proc
    for proc in /proc/[0-9]*; do
        [[ $(readlink "$proc/root" 2>/dev/null) == "$root" ]] && kill -KILL "${proc#/proc/}" 2>/dev/null
    done
    return 0
}
unmount_all() {
    end_processes_in_root
    for m in "${mounts[@]}"; do umount -l "$m" 2>/dev/null || true; done
    cleanup
}
trap unmount_all EXIT
mount_at -t overlay overlay -o "lowerdir=$cached,upperdir=$work/upper,workdir=$work/overlay-work" "$root"
mount_at -t proc proc "$root/proc"
mount_at --bind /dev "$root/dev"
runtime=/run/user/4242
mkdir -p "$root$runtime"
if [[ $mode == noexec ]]; then
    mount_at -t tmpfs -o noexec,mode=1777 tmpfs "$root/tmp"
    mount_at -t tmpfs -o noexec,mode=0700,uid=4242,gid=4242 tmpfs "$root$runtime"
else
    chown 4242:4242 "$root$runtime"
    chmod 0700 "$root$runtime"
fi
mkdir -p "$root/tmp/.X11-unix"
mount_at --bind /tmp/.X11-unix "$root/tmp/.X11-unix"

chroot "$root" sh -c 'ls /usr/lib/x86_64-linux-gnu | grep -q libQt' && fail "the root has Qt"
mkdir -p "$root/home/desk/Downloads" "$root/Applications"
cp "$dist" "$root/home/desk/Downloads/"
chown -R 4242:4242 "$root/home/desk" "$root/Applications"
file="/home/desk/Downloads/$(basename "$dist")"
installer_log="$work/installer.log"

as_user() {
    chroot "$root" setpriv --reuid=4242 --regid=4242 --clear-groups env -i HOME=/home/desk USER=desk LANG=C.UTF-8 PATH=/usr/bin:/bin \
        DISPLAY="$DISPLAY" XDG_RUNTIME_DIR="$runtime" "$@"
}
as_user "$file" 2>"$installer_log" &
runner=$!
window=$(timeout 60 xdotool search --sync --onlyvisible --name '^Velmora Demo Installer$' | head -1) ||
    fail "no installer window in the $suite root"
sleep 0.3
xdotool windowactivate --sync "$window" key Return # Install
until_true 30 grep -q "launched immediately" "$installer_log" || fail "the product was not launched in the $suite root"
grep -q "successfully copied" "$installer_log" || fail "the product was not installed in the $suite root"
[[ -x "$root/Applications/Velmora Demo.app/Contents/MacOS/Velmora Demo" ]] || fail "nothing in the root's applications folder"
timeout 20 xdotool search --sync --onlyvisible --name '^Velmora Demo$' >/dev/null || fail "the installed product shows no window"
import -window root "$artifacts/bare-desktop-$suite${mode:+-$mode}.png" 2>/dev/null || true
xdotool windowactivate --sync "$window" key Return # OK
until_true 20 ended "$runner" || fail "the one file did not end"
wait "$runner" || fail "the one file ended with a failure"
left=$(find "$root/tmp" "$root$runtime" "$root/home/desk/.cache" -maxdepth 2 -name 'velmora-*' 2>/dev/null || true)
[[ -z $left ]] || fail "the unpacked folder is left: $left"
if [[ $mode == noexec ]]; then
    grep -q "/home/desk/.cache/velmora/velmora-" "$installer_log" || fail "the one file did not unpack into the cache folder"
fi
end_processes_in_root

# The privileged tool as pkexec starts it: root, an empty environment, its libraries found
# through its own bundle. It replaces the copy just installed; the previous one goes to
# the user's Trash.
cp -a "$build/demo/Velmora Demo.app" "$root/home/desk/Downloads/"
train="/home/desk/Downloads/Velmora Demo.app/Contents/Resources/VelmoraInstaller.app/Contents/Resources/train"
chroot "$root" env -i PKEXEC_UID=4242 "$train" "/home/desk/Downloads/Velmora Demo.app" "/Applications/Velmora Demo.app" \
    >"$work/train.log" 2>&1 || { cat "$work/train.log" >&2; fail "train failed in the $suite root"; }
[[ $(stat -c %U "$root/Applications/Velmora Demo.app/Contents/MacOS/Velmora Demo") == root ]] ||
    fail "train's copy is not root's"
[[ -d "$root/home/desk/.local/share/Trash/files/Velmora Demo.app" ]] || fail "train did not move the previous copy to the user's Trash"
echo "bare desktop ($suite${mode:+, $mode}): the one file installed and launched the product without Qt on the host; train copied as root"
