# A scratch Wine prefix for one run of the Windows tests or benchmarks
# (sourced, not run): made empty, started once (the first start of a prefix
# takes seconds and prints a complaint about rundll32), shared by every
# program of the run, and stopped with its server at the end.
#
#   . scripts/windows/wine-prefix.sh
#   start_scratch_wine FOLDER      export WINEPREFIX=FOLDER and start it
#   stop_scratch_wine              end its wineserver (the caller removes FOLDER)
#   make_chinese_locale FOLDER     a zh_CN.UTF-8 locale in FOLDER (for LOCPATH)
#   scratch_wine_run NAME          all of a run's set-up (below)
#
# ORMA_WINE names the Wine runner (Debian keeps it in wine's library folder).
wine=${ORMA_WINE:-/usr/lib/wine/wine64}
wine_scripts=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)

start_scratch_wine() {
  export WINEPREFIX=$1 WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml="
  mkdir -p "$WINEPREFIX"
  "$wine" wineboot -i >/dev/null 2>&1 || true
}

stop_scratch_wine() {
  "$(dirname "$wine")/wineserver" -k 2>/dev/null || true
}

# Wine takes the ANSI code page from the Unix locale's name and converts the
# arguments with that locale's character set: a Chinese UTF-8 locale made
# in a scratch folder (used through LOCPATH) gives code page 936 and Chinese
# arguments intact on a machine that has no such locale installed. Without
# it Wine reads the arguments as ASCII and a program receives "?" for each
# Chinese character.
make_chinese_locale() {
  mkdir -p "$1"
  [ -d "$1/zh_CN.UTF-8" ] || localedef -i zh_CN -f UTF-8 "$1/zh_CN.UTF-8" 2>/dev/null || true
  [ -d "$1/zh_CN.UTF-8" ] || { echo "cannot make the zh_CN.UTF-8 locale (apt-get install locales)" >&2; return 1; }
}

# The whole set-up of one run of a script: a scratch folder $scratch
# (ormadraft-NAME-XXXXXX, removed at exit after the prefix's server is
# stopped), the Wine prefix $scratch/wine started, and ORMA_WINDOWS_PREFIX
# set once for wine-run.sh. It takes the script's EXIT trap.
scratch_wine_run() {
  scratch=$(mktemp -d "${TMPDIR:-/tmp}/ormadraft-$1-XXXXXX")
  export ORMA_WINDOWS_PREFIX=${ORMA_WINDOWS_PREFIX:-$(bash "$wine_scripts/build-deps.sh" --prefix)}
  trap 'stop_scratch_wine; rm -rf "$scratch"' EXIT
  start_scratch_wine "$scratch/wine"
}
