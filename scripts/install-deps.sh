#!/usr/bin/env bash
# Installs what the project needs and is missing: the Debian packages listed in
# scripts/deps/*.txt and the locales the tests run under. Idempotent.
set -euo pipefail
cd "$(dirname "$0")/.."

SUDO=""
if [ "$(id -u)" -ne 0 ]; then SUDO="sudo"; fi

mapfile -t wanted < <(cat scripts/deps/*.txt | sed 's/#.*//' | tr -s ' \t' '\n' | sed '/^$/d' | sort -u)
missing=()
for pkg in "${wanted[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$pkg" 2>/dev/null | grep -q "install ok installed"; then
    missing+=("$pkg")
  fi
done
if [ ${#missing[@]} -gt 0 ]; then
  echo "install-deps: installing ${missing[*]}"
  $SUDO apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
fi

# Locales the command-line tests run under.
need_gen=0
for loc in "en_US.UTF-8 UTF-8" "zh_CN.GBK GBK" "de_DE.UTF-8 UTF-8"; do
  name=${loc%% *}
  norm=$(echo "$name" | tr 'A-Z' 'a-z' | sed 's/utf-8/utf8/')
  if ! locale -a 2>/dev/null | tr 'A-Z' 'a-z' | grep -qx "$norm"; then
    grep -qx "$loc" /etc/locale.gen 2>/dev/null || echo "$loc" | $SUDO tee -a /etc/locale.gen >/dev/null
    need_gen=1
  fi
done
if [ $need_gen -eq 1 ]; then $SUDO locale-gen >/dev/null; fi
