#!/usr/bin/env bash
# Checks that the engine's folders form layers: a file may include headers of
# its own folder and of the folders below it, never of a folder above. The
# order below is the engine's architecture (docs/architecture.md); a new
# folder must be given its place here before it can be included. Prints every
# include that points up and exits 1 when there is one.
set -euo pipefail
cd "$(dirname "$0")/../engine"

layers=(core picture sound media model look text render timeline encode preview api)
declare -A rank
for i in "${!layers[@]}"; do rank[${layers[$i]}]=$i; done

bad=0
while IFS= read -r file; do
  folder=${file%%/*}
  if [ "$folder" = "$file" ]; then
    echo "engine/$file: sources belong in a layer folder (${layers[*]})"
    bad=1
    continue
  fi
  if [ -z "${rank[$folder]+x}" ]; then
    echo "engine/$file: folder '$folder' has no place in the layer order of $0"
    bad=1
    continue
  fi
  while IFS=: read -r line target; do
    to=${target%%/*}
    if [ -z "${rank[$to]+x}" ]; then
      echo "engine/$file:$line: includes engine/$target, whose folder has no place in the layer order"
      bad=1
    elif [ "${rank[$to]}" -gt "${rank[$folder]}" ]; then
      echo "engine/$file:$line: $folder includes engine/$target from the higher layer '$to'"
      bad=1
    fi
  done < <(grep -noE '^[[:space:]]*#[[:space:]]*include[[:space:]]+"engine/[^"]+"' "$file" |
           sed -E 's/^([0-9]+):.*"engine\/([^"]+)"/\1:\2/')
done < <(find . -name '*.h' -o -name '*.cpp' | sed 's|^\./||' | sort)

if [ $bad -eq 0 ]; then echo "engine layers: every include points to its own layer or one below"; fi
exit $bad
