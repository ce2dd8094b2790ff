#!/usr/bin/env bash
# Runs the Windows build's tests (label "windows") under Wine in one scratch
# Wine prefix made for this run: started once (its first start takes
# seconds), shared by the tests, and removed afterwards with its server.
#
#   run-tests.sh BUILD_FOLDER [ctest arguments...]
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
build=$1
shift
wine=${ORMA_WINE:-/usr/lib/wine/wine64}

WINEPREFIX=$(mktemp -d "${TMPDIR:-/tmp}/ormadraft-wine-XXXXXX")
export WINEPREFIX WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml="
export ORMA_WINDOWS_PREFIX=${ORMA_WINDOWS_PREFIX:-$(bash "$here/build-deps.sh" --prefix)}
cleanup() {
  "$(dirname "$wine")/wineserver" -k 2>/dev/null || true
  rm -rf "$WINEPREFIX"
}
trap cleanup EXIT
# The first start prints a complaint about rundll32 and goes on.
"$wine" wineboot -i >/dev/null 2>&1 || true
ctest --test-dir "$build" --output-on-failure -L windows "$@"
