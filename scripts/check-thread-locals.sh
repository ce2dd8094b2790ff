#!/usr/bin/env bash
# Fails when a thread_local variable is declared outside platform/per_thread.h.
# A thread_local with a destructor runs that destructor on freed storage
# when a thread ends in the Windows build (MinGW-w64), so per-thread objects
# go through platform::PerThread; plain values would be safe, but one rule
# is easier to keep than a list of types.
set -euo pipefail
cd "$(dirname "$0")/.."
found=$(grep -rnE --include='*.cpp' --include='*.h' '^[^/]*\bthread_local\b' \
  corelib engine platform driver draft export themes preview farm tests 2>/dev/null |
  grep -v '^platform/per_thread.h:' || true)
if [ -n "$found" ]; then
  echo "thread_local outside platform/per_thread.h (use platform::PerThread):"
  echo "$found"
  exit 1
fi
echo "no thread_local outside platform/per_thread.h"
