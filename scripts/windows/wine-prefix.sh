# A scratch Wine prefix for one run of the Windows tests or benchmarks
# (sourced, not run): made empty, started once (the first start of a prefix
# takes seconds and prints a complaint about rundll32), shared by every
# program of the run, and stopped with its server at the end.
#
#   . scripts/windows/wine-prefix.sh
#   start_scratch_wine FOLDER      export WINEPREFIX=FOLDER and start it
#   stop_scratch_wine              end its wineserver (the caller removes FOLDER)
#
# ORMA_WINE names the Wine runner (Debian keeps it in wine's library folder).
wine=${ORMA_WINE:-/usr/lib/wine/wine64}

start_scratch_wine() {
  export WINEPREFIX=$1 WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml="
  mkdir -p "$WINEPREFIX"
  "$wine" wineboot -i >/dev/null 2>&1 || true
}

stop_scratch_wine() {
  "$(dirname "$wine")/wineserver" -k 2>/dev/null || true
}
