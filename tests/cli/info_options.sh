# "--help" and "--version" as the one argument: texts on standard output,
# status 0, nothing loaded or written. Given "engine" as $2 the program is
# the real one, whose --version names the MLT and FFmpeg it has loaded.
source "$(dirname "$0")/lib.bash" "$1"
ENGINE=${2:-}
ROOT=$(cd "$(dirname "$0")/../.." && pwd)
version=$(sed -nE 's/^project\(ormadraft VERSION ([0-9.]+).*/\1/p' "$ROOT/CMakeLists.txt")

run --help
check "--help gives status 0" $([ "$STATUS" -eq 0 ]; echo $?)
check "--help opens with the usage" $(head -1 "$WORK/out.txt" | grep -qx 'Usage: ormadraft DRAFT.json \[EXPORT.json \[START END\]\]'; echo $?)
for form in 'ormadraft DRAFT.json EXPORT.json START END' 'ormadraft DRAFT.json PREVIEW.json' 'ormadraft --version'; do
  check "--help names \"$form\"" $(grep -qF -- "$form" "$WORK/out.txt"; echo $?)
done
check "--help names the exit status" $(grep -q '^Exit status: 1 after an export attempt' "$WORK/out.txt"; echo $?)
check "--help writes nothing to standard error" $([ ! -s "$WORK/err.txt" ]; echo $?)
check "--help calls nothing in the core library" $([ ! -s "$WORK/calls.log" ]; echo $?)
check "--help writes no file" $([ "$(listing "$WORK")" = "$(printf '.\n./err.txt\n./out.txt')" ]; echo $?)

run --version
check "--version gives status 0" $([ "$STATUS" -eq 0 ]; echo $?)
check "--version names the program's version from the build" $(head -1 "$WORK/out.txt" | grep -qx "ormadraft $version"; echo $?)
check "--version has four lines" $([ "$(wc -l <"$WORK/out.txt")" -eq 4 ]; echo $?)
check "--version names MLT" $(sed -n 3p "$WORK/out.txt" | grep -qE '^MLT '; echo $?)
check "--version names FFmpeg and its libraries" $(sed -n 4p "$WORK/out.txt" | grep -qE '^FFmpeg .* \(libavformat .*, libavcodec .*\)$'; echo $?)
if [ "$ENGINE" = engine ]; then
  check "the core library has the program's version" $(sed -n 2p "$WORK/out.txt" | grep -qx "libOrmaCore $version"; echo $?)
  mlt=$(pkg-config --modversion mlt-framework-7)
  check "MLT's version is the one installed ($mlt)" $(sed -n 3p "$WORK/out.txt" | grep -qx "MLT $mlt"; echo $?)
  avformat=$(pkg-config --modversion libavformat)
  check "libavformat's version is the one installed ($avformat)" $(grep -qF "libavformat $avformat," "$WORK/out.txt"; echo $?)
  check "FFmpeg's release is named" $(sed -n 4p "$WORK/out.txt" | grep -qE '^FFmpeg [0-9]'; echo $?)
else
  check "--version asks the core library" $(logged 'OrmaGetVersions(out)'; echo $?)
fi

# Only the one argument is an option: with a second argument "--help" is a
# draft path as any other, and a draft really named so is given with its folder.
run --help export.json
check "\"--help\" with a second argument is a draft path" $(has_line "${PREFIX}draft path:--help$"; echo $?)
check "a missing draft \"--help\" fails to load, status 0" $([ "$STATUS" -eq 0 ] && has_line "${PREFIX}json load fail$"; echo $?)
if [ "$ENGINE" != engine ]; then
  write_draft "$WORK/--help"
  run ./--help
  check "./--help is exported as a draft" $(has_line "${PREFIX}draft json path:./--help$" && has_line "${PREFIX}json load success$"; echo $?)
  check "./--help ends with status 1" $([ "$STATUS" -eq 1 ]; echo $?)
fi
run -h
check "-h alone is a draft path, not an option" $(has_line "${PREFIX}draft json path:-h$"; echo $?)
finish
