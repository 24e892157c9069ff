#!/usr/bin/env bash
# Installs every Debian package the build, the tests and the demo need.
# Does nothing (and needs no network) when they are all present.
set -euo pipefail

packages=(
    build-essential cmake ninja-build ccache pkg-config
    clang libclang-rt-14-dev
    qt6-base-dev qt6-base-dev-tools qt6-tools-dev qt6-tools-dev-tools qt6-l10n-tools
    qt6-multimedia-dev libqt6svg6 qt6-image-formats-plugins
    libplist-dev
    libfontconfig-dev libxcb1-dev libxcb-ewmh-dev libxcb-icccm4-dev libxcb-screensaver0-dev libxcb-xtest0-dev libxau-dev
    libgtest-dev libgmock-dev googletest
    xvfb xauth openbox xdotool x11-utils imagemagick
    trash-cli wmctrl policykit-1 desktop-file-utils util-linux procps strace gdb
    at-spi2-core dbus-daemon libglib2.0-bin
    pulseaudio pulseaudio-utils sox
    weston xwayland qt6-wayland adwaita-icon-theme fonts-wqy-microhei
    libarchive-dev openjdk-17-jdk-headless
    libsodium-dev libssl-dev patchelf debootstrap makeself libzstd-dev libacl1-dev
)

missing=()
for p in "${packages[@]}"; do
    status=$(dpkg-query -W -f='${db:Status-Status}' "$p" 2>/dev/null || true)
    [[ "$status" == "installed" ]] || missing+=("$p")
done

if ((${#missing[@]} == 0)); then
    exit 0
fi

echo "install-deps: installing ${missing[*]}"
sudo_cmd=()
if [[ $(id -u) -ne 0 ]]; then sudo_cmd=(sudo); fi
export DEBIAN_FRONTEND=noninteractive
"${sudo_cmd[@]}" apt-get update -qq
"${sudo_cmd[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}"
