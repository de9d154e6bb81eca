#!/bin/sh
# Installs the Debian packages that are missing for the groups named: build, test, windows,
# bench, fuzz, docs.
set -eu

packages=
for group in "$@"; do
  case $group in
    build) packages="$packages g++ cmake ninja-build pkg-config libcli11-dev libcsv-dev
                     nlohmann-json3-dev" ;;
    test) packages="$packages libgtest-dev libgmock-dev locales python3 python3-dbfread pgdbf
                    libdbd-xbase-perl" ;;
    windows) packages="$packages g++-mingw-w64-i686-posix googletest dpkg-dev" ;;
    fuzz) packages="$packages clang libclang-rt-dev" ;;
    bench) packages="$packages libbenchmark-dev libsqlite3-dev libglib2.0-dev" ;;
    docs) packages="$packages doxygen python3" ;;
    *) echo "usage: $0 [build] [test] [windows] [bench] [fuzz] [docs]" >&2; exit 2 ;;
  esac
done

missing=
for package in $packages; do
  status=$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null || true)
  [ "$status" = installed ] || missing="$missing $package"
done
[ -n "$missing" ] || exit 0

if [ "$(id -u)" -eq 0 ]; then
  run=
elif command -v sudo >/dev/null; then
  run=sudo
else
  echo "These packages are missing, and installing them needs root:" >&2
  echo "  apt-get install$missing" >&2
  exit 1
fi
echo "Installing$missing"
$run apt-get update -q
$run env DEBIAN_FRONTEND=noninteractive apt-get install -q -y --no-install-recommends $missing
