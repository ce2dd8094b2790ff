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
scratch_wine_run wine
ctest --test-dir "$build" --output-on-failure -L windows "$@"
