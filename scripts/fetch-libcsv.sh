#!/bin/sh
# fetch-libcsv.sh FOLDER: the sources of Debian's package libcsv-dev, for systems that it has no
# build for, into FOLDER (once).
set -eu
folder=$1
[ ! -e "$folder/libcsv.c" ] || exit 0

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir -p "$work/lists/partial" "$work/sources"
# The machine's own package sources, asked for source packages, without a change to the machine.
for list in /etc/apt/sources.list.d/debian.sources; do
  [ ! -e "$list" ] || sed 's/^Types:.*/Types: deb-src/' "$list" > "$work/sources/debian.sources"
done
[ ! -e /etc/apt/sources.list ] ||
  sed -n 's/^deb /deb-src /p' /etc/apt/sources.list > "$work/sources/debian.list"

apt() {
  apt-get -q -o Dir::State::Lists="$work/lists" -o Dir::Etc::SourceList=/dev/null \
    -o Dir::Etc::SourceParts="$work/sources" -o APT::Sandbox::User="$(id -un)" "$@"
}
apt update
(cd "$work" && apt source libcsv)
mkdir -p "$folder"
cp "$work"/libcsv-*/libcsv.c "$work"/libcsv-*/csv.h "$folder"
