#!/usr/bin/env bash
# Checks that the folders of the engine and of the program form layers: a
# file may include headers of its own folder and of the folders below it,
# never of a folder above. The two orders below are the architecture of
# docs/architecture.md; a new folder must be given its place here before it
# can be included. Prints every include that points up and exits 1 when
# there is one.
#   scripts/check-layers.sh [engine|program]     (both when not given)
#
# The engine (engine/, libOrmaCore) stands on platform/ and on its own
# public header corelib/orma_core.h and includes nothing of the program. The
# program's folders are the top-level ones; it reaches the engine only
# through corelib/orma_core.h, never engine/.
set -euo pipefail
cd "$(dirname "$0")/.."

engine_layers=(core picture sound media model look text render timeline encode preview api)
program_layers=(platform corelib draft themes preview export farm driver)

bad=0

# check NAME ROOT PREFIX LAYERS... -- BELOW...
#   Files under ROOT/<layer>/ may include "PREFIX<layer>/..." of their own
#   rank or lower, and headers of the folders BELOW (which lie under the
#   whole set); any other project folder is refused.
check() {
  local name=$1 root=$2 prefix=$3
  shift 3
  local -a layers=() below=()
  while [ $# -gt 0 ] && [ "$1" != "--" ]; do layers+=("$1"); shift; done
  [ $# -gt 0 ] && shift
  below=("$@")
  local -A rank=()
  local i
  for i in "${!layers[@]}"; do rank[${layers[$i]}]=$i; done
  local -A under=()
  for i in "${below[@]}"; do under[$i]=1; done
  local failed=0
  local file folder line target to
  while IFS= read -r file; do
    folder=${file#"$root"}
    folder=${folder%%/*}
    if [ -z "${rank[$folder]+x}" ]; then
      echo "$file: folder '$folder' has no place in the $name layer order of $0"
      failed=1
      continue
    fi
    while IFS=: read -r line target; do
      to=${target%%/*}
      if [ -n "${under[$to]+x}" ]; then
        continue
      elif [ -n "$prefix" ] && [ "${target#"$prefix"}" = "$target" ]; then
        echo "$file:$line: includes $target, which is not below the $name"
        failed=1
        continue
      fi
      to=${target#"$prefix"}
      to=${to%%/*}
      if [ -z "${rank[$to]+x}" ]; then
        echo "$file:$line: includes $target, whose folder has no place in the $name layer order"
        failed=1
      elif [ "${rank[$to]}" -gt "${rank[$folder]}" ]; then
        echo "$file:$line: $folder includes $target from the higher layer '$to'"
        failed=1
      fi
    done < <(grep -noE '^[[:space:]]*#[[:space:]]*include[[:space:]]+"[a-z_]+/[^"]+"' "$file" |
             sed -E 's/^([0-9]+):[^"]*"([^"]+)"/\1:\2/')
  done < <(for l in "${layers[@]}"; do
             [ -d "$root$l" ] && find "$root$l" -name '*.h' -o -name '*.cpp'
           done | sort)
  # Sources beside the layer folders have no place either.
  if [ -n "$root" ]; then
    while IFS= read -r file; do
      echo "$file: sources belong in a layer folder (${layers[*]})"
      failed=1
    done < <(find "${root%/}" -maxdepth 1 -name '*.h' -o -maxdepth 1 -name '*.cpp' | sort)
  fi
  if [ $failed -eq 0 ]; then
    echo "$name layers: every include points to its own layer or one below"
  else
    bad=1
  fi
}

what=${1:-both}
case $what in
  engine | both) ;;
  program) ;;
  *) echo "usage: $0 [engine|program]" >&2; exit 2 ;;
esac
if [ "$what" != program ]; then
  check engine engine/ engine/ "${engine_layers[@]}" -- platform corelib
fi
if [ "$what" != engine ]; then
  check program "" "" "${program_layers[@]}" --
fi
exit $bad
