#!/usr/bin/env bash
# Runs a fuzz target for SECONDS over a working copy of its seed corpus:
# tests/fuzz/corpus-<name> for fuzz_<name> when that folder exists (with
# <name>.dict when there is one), else the draft corpus.
# Crashes, leaks and time-outs are written to tests/fuzz/artifacts/ and make
# this script fail; each one becomes a regression test.
set -euo pipefail
target=$1
seconds=${2:-60}
corpus=${3:-corpus}
dict=${4:-draft.dict}
here=$(cd "$(dirname "$0")" && pwd)
name=$(basename "$target")
name=${name#fuzz_}
seeds="$here/corpus-${name//_/-}"
dict="$here/draft.dict"
if [ -d "$seeds" ]; then
  work="$here/corpus-work-$name"
  [ -f "$here/$name.dict" ] && dict="$here/$name.dict" || dict=""
else
  seeds="$here/corpus"
  work="$here/corpus-work"
fi
mkdir -p "$work" "$here/artifacts"
cp -n "$seeds"/* "$work"/ 2>/dev/null || true
exec "$target" "$work" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 -max_len=65536 \
  -print_final_stats=1 -artifact_prefix="$here/artifacts/" ${dict:+-dict="$dict"}
