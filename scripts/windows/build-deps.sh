#!/usr/bin/env bash
# Cross-builds the Windows (x86-64) libraries of the program and the engine
# from Debian's own source packages, with MinGW-w64, into a prefix outside
# the build folder:
#
#   ~/.cache/ormadraft/windows-<hash>/     bin/*.dll, lib/, include/, ...
#
# The hash covers what every library's build depends on (the compiler, the
# CMake toolchain and the build helpers of build-helpers.sh); each library's recipe (scripts/windows/recipes/)
# is hashed into its own stamp, together with the stamps of the libraries it
# builds on, so a second run takes seconds and a changed recipe rebuilds only
# that library and those that use it.
#
#   build-deps.sh [LIBRARY|program|all ...]   build (default: all)
#   build-deps.sh --prefix                     print the prefix and stop
#   build-deps.sh --status [LIBRARY|all ...]   exit 0 when they are all built
#   KEEP_GOING=1 build-deps.sh ...             go on past a failed library
#
# "program" is what the program's own tests need (cJSON, GoogleTest). The
# toolchain is installed from Debian packages (scripts/windows/packages.txt); the
# sources are fetched with `apt-get source --download-only` through a deb-src
# entry derived from the machine's own apt sources. Each library's build time
# goes to the log ~/.cache/ormadraft/windows-deps.log and to
# PREFIX/.stamps/LIBRARY.seconds.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
repo=$(cd "$here/../.." && pwd)

cache=${ORMA_CACHE:-$HOME/.cache/ormadraft}
jobs=${JOBS:-2}
host=x86_64-w64-mingw32
toolchain=$repo/cmake/mingw-w64-x86_64.cmake

shared_hash=$( (cat "$here/build-helpers.sh" "$toolchain"; $host-gcc-posix --version 2>/dev/null) |
  sha256sum | cut -c1-12)
prefix=$cache/windows-$shared_hash
stamps=$prefix/.stamps
sources=$cache/sources
work=$cache/work-$shared_hash
log=$cache/windows-deps.log

if [ "${1:-}" = "--prefix" ]; then
  echo "$prefix"
  exit 0
fi
status_only=0
if [ "${1:-}" = "--status" ]; then
  status_only=1
  shift
fi

mkdir -p "$cache" "$prefix" "$stamps" "$sources" "$work"
say() { echo "[build-deps $(date -u +%H:%M:%S)] $*" | tee -a "$log" >&2; }

# ---- recipes --------------------------------------------------------------
# A recipe file sets SOURCE (Debian source package), DEB (a Debian binary
# package of headers only, the same for every platform) or LOCAL (a folder of
# scripts/windows/ with sources of this repository), DEPS (libraries it is
# built against) and defines build(), run in the unpacked source folder.
recipe_file() { ls "$here"/recipes/[0-9]*-"$1".sh 2>/dev/null | head -1; }
all_libraries() { ls "$here"/recipes/[0-9]*-*.sh | sed 's|.*/[0-9]*-||; s|\.sh$||'; }
recipe_deps() { (source "$(recipe_file "$1")" && echo "${DEPS:-}"); }

declare -A key_of
# Computed in this shell (not in a command substitution), so that each
# library's key is worked out once however many libraries build on it.
compute_key() {
  local lib=$1 dep text folder
  [ -n "${key_of[$lib]:-}" ] && return
  text=$(cat "$(recipe_file "$lib")")
  # A recipe built from files of this repository (LOCAL) depends on them too.
  folder=$(source "$(recipe_file "$lib")" && echo "${LOCAL:-}")
  if [ -n "$folder" ]; then text+=$(cat "$here/$folder"/*); fi
  # Meson's cross file matters to the Meson builds only.
  if grep -q meson_build "$(recipe_file "$lib")"; then text+=$(cat "$here/meson-cross.ini.in"); fi
  for dep in $(recipe_deps "$lib"); do
    compute_key "$dep"
    text+=${key_of[$dep]}
  done
  key_of[$lib]=$(echo "$text" | sha256sum | cut -c1-16)
}
library_key() { echo "${key_of[$1]}"; }
for lib in $(all_libraries); do compute_key "$lib"; done

# The requested libraries and everything they build on, in recipe order.
declare -A wanted
want() {
  local lib=$1 dep
  [ -n "$(recipe_file "$lib")" ] || { echo "build-deps: no recipe for \"$lib\" in $here/recipes" >&2; exit 2; }
  [ -n "${wanted[$lib]:-}" ] && return
  wanted[$lib]=1
  for dep in $(recipe_deps "$lib"); do want "$dep"; done
}
[ $# -eq 0 ] && set -- all
for arg in "$@"; do
  case $arg in
  all) for lib in $(all_libraries); do want "$lib"; done ;;
  program) want cjson; want googletest ;;
  *) want "$arg" ;;
  esac
done
todo=()
for lib in $(all_libraries); do
  [ -n "${wanted[$lib]:-}" ] || continue
  if [ "$(cat "$stamps/$lib" 2>/dev/null)" != "$(library_key "$lib")" ]; then todo+=("$lib"); fi
done
if [ $status_only = 1 ]; then
  # Only whether the prefix is complete: nothing is installed or built.
  if [ ${#todo[@]} -eq 0 ]; then exit 0; fi
  echo "not built in $prefix: ${todo[*]}"
  exit 1
fi
if [ ${#todo[@]} -eq 0 ]; then
  say "up to date: $prefix"
  exit 0
fi

# ---- toolchain and sources ------------------------------------------------
SUDO=""
if [ "$(id -u)" -ne 0 ]; then SUDO="sudo"; fi

# apt's lock may be held by another install for a while: wait for it.
apt_retry() {
  local i
  for i in $(seq 1 60); do
    if $SUDO env DEBIAN_FRONTEND=noninteractive apt-get -o DPkg::Lock::Timeout=60 "$@"; then return 0; fi
    say "apt-get $1 failed (lock held?), retrying in 20 s"
    sleep 20
  done
  return 1
}

install_toolchain() {
  local pkg missing=()
  for pkg in $(sed 's/#.*//' "$repo/scripts/windows/packages.txt"); do
    dpkg-query -W -f='${Status}' "$pkg" 2>/dev/null | grep -q "install ok installed" || missing+=("$pkg")
  done
  if [ ${#missing[@]} -gt 0 ]; then
    say "installing ${missing[*]}"
    apt_retry update -qq
    apt_retry install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
  fi
}

# A deb-src entry for every Debian deb entry of the machine: same address,
# suites and components, read from the machine's own apt sources.
src_list=/etc/apt/sources.list.d/ormadraft-deb-src.sources
enable_sources() {
  local entries=""
  shopt -s nullglob
  for f in /etc/apt/sources.list.d/*.sources; do
    [ "$f" = "$src_list" ] && continue
    # deb822 stanzas: keep those whose types include deb and whose key is Debian's.
    entries+=$(awk -v RS= -v ORS='\n\n' '/(^|\n)Types:([^\n]* )?deb( |\n|$)/ && /debian-archive-keyring|\/debian/ {
                   sub(/Types:[^\n]*/, "Types: deb-src"); print }' "$f")
    entries+=$'\n'
  done
  # One-line entries ("deb [options] URI SUITE COMPONENTS...") become stanzas.
  for f in /etc/apt/sources.list /etc/apt/sources.list.d/*.list; do
    [ -f "$f" ] || continue
    entries+=$(awk '$1 == "deb" && /\/debian/ { i = 2; if ($2 ~ /^\[/) while ($i !~ /\]$/) i++; if ($2 ~ /^\[/) i++;
                    printf "Types: deb-src\nURIs: %s\nSuites: %s\nComponents:", $i, $(i + 1);
                    for (j = i + 2; j <= NF; j++) printf " %s", $j; printf "\n\n" }' "$f")
    entries+=$'\n'
  done
  shopt -u nullglob
  [ -n "${entries//[$'\n']/}" ] || { echo "build-deps: no Debian entry in the apt sources to derive deb-src from" >&2; exit 1; }
  entries=$(echo "$entries" | cat -s)
  if [ "$(cat "$src_list" 2>/dev/null)" != "$entries" ]; then
    say "adding deb-src entries ($src_list)"
    echo "$entries" | $SUDO tee "$src_list" >/dev/null
    apt_retry update -qq
  elif ! apt-get source --print-uris --download-only zlib >/dev/null 2>&1; then
    apt_retry update -qq
  fi
}

# A recipe whose source the mirror no longer holds for the machine's release
# names the next Debian release (NEXT_SUITE); its source is then fetched
# through apt with a private list and state, so that the index is checked
# against Debian's keyring as usual and the machine's own lists stay as
# they are. The address is that of the machine's first Debian entry.
fetch_from_suite() {
  local pkg=$1 suite=$2 dir=$cache/apt-$2 opts
  mkdir -p "$dir/parts" "$dir/lists/partial"
  awk -v RS= -v suite="$suite" 'NR == 1 { sub(/Suites:[^\n]*/, "Suites: " suite); print; exit }' "$src_list" \
    >"$dir/parts/next.sources"
  opts=(-o Dir::Etc::SourceList=/dev/null -o Dir::Etc::SourceParts="$dir/parts" -o Dir::State::Lists="$dir/lists"
    -o Dir::Cache::pkgcache= -o Dir::Cache::srcpkgcache=)
  say "$pkg: fetching the source of Debian's $suite instead"
  apt-get "${opts[@]}" update -qq >/dev/null 2>&1 || { say "$pkg: the $suite source index could not be read"; return 1; }
  (cd "$sources/$pkg" && apt-get "${opts[@]}" source --download-only "$pkg" >/dev/null 2>&1) && return 0
  rm -f "$sources/$pkg"/*
  return 1
}

# Unpacks the newest downloaded version of a source package (with Debian's
# patches applied) into a fresh folder.
unpack_source() {
  local pkg=$1 dest=$2 dsc
  mkdir -p "$sources/$pkg"
  # The newest version the archive lists first; a version whose files the
  # mirror no longer holds (a superseded security update) gives way to the
  # next one.
  if ! ls "$sources/$pkg"/*.dsc >/dev/null 2>&1; then
    local version fetched=""
    for version in $(apt-cache showsrc --only-source "$pkg" | sed -n 's/^Version: //p' | sort -Vru); do
      if (cd "$sources/$pkg" && apt-get source --download-only "$pkg=$version" >/dev/null 2>&1); then
        fetched=$version
        break
      fi
      # The upstream tarball alone, when the mirror lacks only Debian's
      # changes, is used without them (and said so).
      if ls "$sources/$pkg"/*.orig.tar.* >/dev/null 2>&1; then
        say "$pkg $version: Debian's changes are not on the mirror; building the upstream source as it is"
        fetched=$version
        break
      fi
      say "$pkg $version: not on the mirror, trying an older version"
      rm -f "$sources/$pkg"/*
    done
    if [ -z "$fetched" ] && [ -n "${NEXT_SUITE:-}" ] && fetch_from_suite "$pkg" "$NEXT_SUITE"; then
      fetched=$NEXT_SUITE
    fi
    [ -n "$fetched" ] || { say "$pkg: no version of the source package could be fetched"; return 1; }
  fi
  rm -rf "$dest"
  dsc=$(ls "$sources/$pkg"/*.dsc 2>/dev/null | sort -V | tail -1)
  if [ -n "$dsc" ] && dpkg-source --no-check -x "$dsc" "$dest" >/dev/null 2>&1; then return 0; fi
  rm -rf "$dest"
  mkdir -p "$dest"
  tar -xf "$(ls "$sources/$pkg"/*.orig.tar.* | head -1)" -C "$dest" --strip-components=1
}

# Unpacks an architecture-independent binary package (headers only) into a
# fresh folder: for the few libraries whose source the mirror no longer holds
# but whose files are the same on every platform.
unpack_deb() {
  local pkg=$1 dest=$2
  mkdir -p "$sources/$pkg"
  if ! ls "$sources/$pkg"/*.deb >/dev/null 2>&1; then
    (cd "$sources/$pkg" && apt-get download "$pkg" >/dev/null 2>&1) || { rm -f "$sources/$pkg"/*; return 1; }
  fi
  rm -rf "$dest"
  mkdir -p "$dest"
  dpkg-deb -x "$(ls "$sources/$pkg"/*.deb | sort -V | tail -1)" "$dest"
}

source "$here/build-helpers.sh"

# ---- the build ------------------------------------------------------------
install_toolchain
enable_sources
say "prefix $prefix; to build: ${todo[*]}"
total_start=$(date +%s)
# A library that fails stops the run, or with KEEP_GOING=1 only the
# libraries built on it, so that one run shows every failing recipe.
declare -A failed=()
for lib in "${todo[@]}"; do
  blocked=""
  for dep in $(recipe_deps "$lib"); do [ -n "${failed[$dep]:-}" ] && blocked+=" $dep"; done
  if [ -n "$blocked" ]; then
    say "$lib: skipped, it builds on$blocked"
    failed[$lib]=1
    continue
  fi
  start=$(date +%s)
  rm -f "$stamps/$lib"
  unset SOURCE DEPS SRC_SUBDIR NEXT_SUITE LOCAL DEB
  unset -f build
  source "$(recipe_file "$lib")"
  if [ -n "${LOCAL:-}" ]; then
    rm -rf "${work:?}/$lib"
    cp -r "$here/$LOCAL" "$work/$lib"
  elif [ -n "${DEB:-}" ]; then
    say "$lib: fetching and unpacking Debian's $DEB package"
    if ! unpack_deb "$DEB" "$work/$lib"; then
      say "$lib: the $DEB package could not be fetched"
      [ "${KEEP_GOING:-0}" = 1 ] || exit 1
      failed[$lib]=1
      continue
    fi
  elif say "$lib: fetching and unpacking $SOURCE" && ! unpack_source "$SOURCE" "$work/$lib"; then
    [ "${KEEP_GOING:-0}" = 1 ] || exit 1
    failed[$lib]=1
    continue
  fi
  say "$lib: building (log $work/$lib.log)"
  # In the background so that errexit holds inside build() (it would not in
  # an "if" or "||" context).
  (cd "$work/$lib" && build) >"$work/$lib.log" 2>&1 &
  if ! wait $!; then
    say "$lib: FAILED after $(($(date +%s) - start)) s; last lines of $work/$lib.log:"
    tail -30 "$work/$lib.log" | tee -a "$log" >&2
    [ "${KEEP_GOING:-0}" = 1 ] || exit 1
    failed[$lib]=1
    continue
  fi
  seconds=$(($(date +%s) - start))
  echo "$seconds" >"$stamps/$lib.seconds"
  library_key "$lib" >"$stamps/$lib"
  rm -rf "$work/$lib"
  say "$lib: done in $seconds s"
done
if [ ${#failed[@]} -gt 0 ]; then
  say "not built: ${!failed[*]}"
  exit 1
fi
say "built ${todo[*]} in $(($(date +%s) - total_start)) s; prefix $(du -sh "$prefix" | cut -f1): $prefix"
