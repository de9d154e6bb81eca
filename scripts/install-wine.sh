#!/bin/sh
# Installs what runs 32-bit Windows programs: 64-bit Wine, and beside it the Windows half of its
# 32-bit build, which needs no 32-bit Linux library. Exit status 75 when that cannot be had.
set -eu

wine=/usr/lib/x86_64-linux-gnu/wine
run=
[ "$(id -u)" -eq 0 ] || run=sudo

refuse() {
  echo "Wine for 32-bit programs cannot be had: $*" >&2
  exit 75
}

if ! [ -x /usr/lib/wine/wine64 ] || ! command -v wine > /dev/null; then
  $run apt-get update -q || true
  $run env DEBIAN_FRONTEND=noninteractive \
    apt-get install -q -y --no-install-recommends wine wine64 || refuse "no packages wine, wine64"
fi
[ ! -e "$wine/i386-windows/kernel32.dll" ] || exit 0

# The package of the other architecture is only unpacked, never installed.
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir -p "$work/lists/partial"
apt() {
  apt-get -q -o APT::Architecture=i386 -o APT::Architectures=i386 -o APT::Sandbox::User=root \
    -o Dir::State::Lists="$work/lists" "$@"
}
cd "$work"
apt update || true  # one index may be missing, the main one is enough
apt download libwine || refuse "no package libwine for i386"
dpkg-deb -x libwine_*_i386.deb unpacked
$run mkdir -p "$wine/i386-windows"
$run cp -rn unpacked/usr/lib/i386-linux-gnu/wine/i386-windows/. "$wine/i386-windows/"
