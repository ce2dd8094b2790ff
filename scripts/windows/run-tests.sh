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
. "$here/wine-prefix.sh"

export ORMA_WINDOWS_PREFIX=${ORMA_WINDOWS_PREFIX:-$(bash "$here/build-deps.sh" --prefix)}
scratch=$(mktemp -d "${TMPDIR:-/tmp}/ormadraft-wine-XXXXXX")
cleanup() {
  stop_scratch_wine
  rm -rf "$scratch"
}
trap cleanup EXIT
start_scratch_wine "$scratch"
ctest --test-dir "$build" --output-on-failure -L windows "$@"
