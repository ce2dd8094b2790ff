#!/usr/bin/env bash
# Runs a fuzz target for SECONDS over a working copy of its seed corpus
# (tests/fuzz/CORPUS, "corpus" by default) with its dictionary (DICT,
# "draft.dict" by default). Crashes, leaks and time-outs are written to
# tests/fuzz/artifacts/ and make this script fail; each one becomes a
# regression test.
#   run.sh TARGET [SECONDS] [CORPUS] [DICT]
set -euo pipefail
target=$1
seconds=${2:-60}
corpus=${3:-corpus}
dict=${4:-draft.dict}
here=$(cd "$(dirname "$0")" && pwd)
work="$here/$corpus-work"
mkdir -p "$work" "$here/artifacts"
cp -n "$here/$corpus"/* "$work"/ 2>/dev/null || true
exec "$target" "$work" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 -max_len=65536 \
  -print_final_stats=1 -artifact_prefix="$here/artifacts/" -dict="$here/$dict"
