#!/usr/bin/env bash
# Makes (once) a Debian root file system with what a GTK desktop has and no Qt, and prints
# its path. Roots are kept under $VELMORA_ROOT_CACHE, keyed by suite and package list, so
# that a later run reuses them.
#   make-root.sh SUITE
set -euo pipefail
suite=$1
gtk=libgtk-3-0
[[ $suite == bookworm ]] || gtk=libgtk-3-0t64 # renamed with the 64-bit time change
packages=("$gtk" libgl1 libegl1 fonts-dejavu-core dbus-x11)
cache=${VELMORA_ROOT_CACHE:-/var/cache/velmora/roots}
key=$(printf '%s\n' "$suite" "${packages[@]}" | sha256sum | cut -c1-12)
root="$cache/$suite-$key"
mkdir -p "$cache"
# `make test` starts making the roots while it builds; a test that needs one waits here.
exec 9>"$root.lock"
flock 9
if [[ -f "$root/.complete" ]]; then
    echo "$root"
    exit 0
fi
rm -rf "$root.partial"
packages_csv=$(IFS=,; echo "${packages[*]}")
debootstrap --variant=minbase --include="$packages_csv" "$suite" "$root.partial" http://deb.debian.org/debian >&2 \
    || { echo "make-root: debootstrap of $suite failed" >&2; exit 1; }
# A user of that root, as a desktop has one.
chroot "$root.partial" useradd --create-home --uid 4242 --shell /bin/sh desk
touch "$root.partial/.complete"
mv "$root.partial" "$root"
echo "$root"
