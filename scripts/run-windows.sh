#!/bin/sh
# run-windows.sh PROGRAM ARGUMENTS...: runs a Windows program by Wine, with a Windows folder of the
# project's own unless WINEPREFIX names one.
: "${WINEPREFIX:=$(cd "$(dirname "$0")/.." && pwd)/build/windows-prefix}"
export WINEPREFIX WINEDEBUG="${WINEDEBUG:--all}"
mkdir -p "$WINEPREFIX"
exec /usr/lib/wine/wine64 "$@"
