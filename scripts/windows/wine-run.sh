#!/usr/bin/env bash
# Runs a Windows program of the cross build under Wine, the way the tests
# need it: headless and quiet (no debug channels, no offer to install Mono
# or Gecko), with the DLLs of the dependency prefix (bin/, and its top for
# MLT's) and of the MinGW-w64
# runtime on its search path. CMake uses it as the emulator of the Windows
# build's tests.
#
#   wine-run.sh PROGRAM.exe [ARGUMENTS...]
#
# The Wine prefix is $WINEPREFIX when set (make windows-program-test makes
# one scratch prefix per run and starts it once); otherwise a scratch prefix
# is made for this one call and removed after it. ORMA_WINDOWS_PREFIX names
# the dependency prefix (default: what build-deps.sh --prefix prints).
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
wine=${ORMA_WINE:-/usr/lib/wine/wine64}
[ -x "$wine" ] || { echo "wine-run: no Wine runner at $wine (apt-get install wine64)" >&2; exit 127; }

export WINEDEBUG=${WINEDEBUG:--all}
export WINEDLLOVERRIDES=${WINEDLLOVERRIDES:-mscoree,mshtml=}
deps=${ORMA_WINDOWS_PREFIX:-$(bash "$here/build-deps.sh" --prefix)}

# Wine sees the Unix root as drive Z:.
winpath() { echo "Z:$1" | tr / '\\'; }
runtime=$(dirname "$(x86_64-w64-mingw32-g++-posix -print-file-name=libstdc++-6.dll)")
threads=$(dirname "$(x86_64-w64-mingw32-g++-posix -print-file-name=libwinpthread-1.dll)")
WINEPATH="$(winpath "$deps/bin");$(winpath "$deps");$(winpath "$(realpath "$runtime")");$(winpath "$(realpath "$threads")")"
export WINEPATH

if [ -z "${WINEPREFIX:-}" ]; then
  WINEPREFIX=$(mktemp -d "${TMPDIR:-/tmp}/ormadraft-wine-XXXXXX")
  export WINEPREFIX
  trap 'WINEPREFIX=$WINEPREFIX "$(dirname "$wine")/wineserver" -k 2>/dev/null || true; rm -rf "$WINEPREFIX"' EXIT
fi
# No window is needed by a console program; an X display, when there is
# one, is used for the windows of the preview tests.
"$wine" "$@"
