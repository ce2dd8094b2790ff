# The Debian package, made and used as a user would: CPack builds it from
# the build folder, lintian finds no error in it, and its files, unpacked
# into a scratch root, make a program that runs from another folder: the
# demo draft rendered by the installed program decodes to the same pictures
# as the one rendered by the build folder's program. A theme request given
# to the installed program (run as root, as servers and containers run it,
# or as anyone: the scratch root is writable either way) keeps its new draft
# in the user's cache and writes nothing under the prefix. Last, a hand
# installation (cmake --install) under another prefix works the same way.
#   package.sh BUILD_DIR SOURCE_DIR
set -uo pipefail
BUILD=$(cd "$1" && pwd)
SOURCE=$(cd "$2" && pwd)
PASSED=0
FAILED=0
WORK=$(mktemp -d /tmp/ormadraft-package-XXXXXX)
trap '[ -n "${KEEP_WORK:-}" ] || rm -rf "$WORK"' EXIT
unset LC_ALL LANG LANGUAGE ORMADRAFT_RESOURCES ORMADRAFT_THEMES ORMADRAFT_DRAFTS XDG_CACHE_HOME ORMA_VERBOSE ORMA_TRACE
export LC_CTYPE=C.UTF-8

check() { # name, condition result (0 ok)
  if [ "$2" -eq 0 ]; then PASSED=$((PASSED + 1)); else FAILED=$((FAILED + 1)); echo "FAIL: $1"; fi
}
fatal() { echo "FAIL: $1"; echo "$PASSED passed, $((FAILED + 1)) failed"; exit 1; }

version=$(sed -nE 's/^project\(ormadraft VERSION ([0-9.]+).*/\1/p' "$SOURCE/CMakeLists.txt")
multiarch=$(dpkg-architecture -qDEB_HOST_MULTIARCH)
libdir=$(sed -nE 's/^CMAKE_INSTALL_LIBDIR:PATH=(.*)/\1/p' "$BUILD/CMakeCache.txt")

# ---- The package ----
cpack --config "$BUILD/CPackConfig.cmake" -B "$WORK/pkg" -D CPACK_OUTPUT_FILE_PREFIX="$WORK/pkg" >"$WORK/cpack.log" 2>&1 || { cat "$WORK/cpack.log"; fatal "cpack"; }
deb=$(ls "$WORK"/pkg/ormadraft_"$version"_*.deb 2>/dev/null | head -1)
[ -n "$deb" ] || fatal "no ormadraft_${version}_*.deb was written"
check "the package is named after the project version" $([ -f "$deb" ]; echo $?)
lintian --fail-on error --tag-display-limit 0 "$deb" >"$WORK/lintian.txt" 2>&1
status=$?
check "lintian reports no error" $([ $status -eq 0 ] && ! grep -q '^E:' "$WORK/lintian.txt"; echo $?)
grep '^E:' "$WORK/lintian.txt"

control=$(dpkg-deb -f "$deb")
depends=$(dpkg-deb -f "$deb" Depends)
check "dependencies come from the linked libraries (MLT)" $(grep -q 'libmlt7' <<<"$depends"; echo $?)
check "dependencies come from the linked libraries (FFmpeg)" $(grep -qE 'libavformat[0-9]+' <<<"$depends"; echo $?)
check "dependencies come from the linked libraries (cJSON)" $(grep -qE 'libcjson1' <<<"$depends"; echo $?)
check "the section is video" $(grep -qx 'Section: video' <<<"$control"; echo $?)
maintainer=$(dpkg-deb -f "$deb" Maintainer)
check "the maintainer is the project ($maintainer)" $([[ $maintainer == "ormadraft project <"*">" ]]; echo $?)

# ---- Its files ----
root="$WORK/root dir"
mkdir -p "$root"
dpkg-deb -x "$deb" "$root" || fatal "dpkg-deb -x"
private="$root/usr/$libdir/ormadraft"
program="$root/usr/bin/ormadraft"
check "the program is in /usr/bin" $([ -x "$program" ]; echo $?)
check "the core library is in the private folder with its soname" $([ -f "$private/libOrmaCore.so.$version" ] && [ -L "$private/libOrmaCore.so.0" ]; echo $?)
check "no development link is shipped" $([ ! -e "$private/libOrmaCore.so" ]; echo $?)
check "the library's soname is libOrmaCore.so.0" $(readelf -d "$private/libOrmaCore.so.$version" | grep -q 'SONAME.*\[libOrmaCore.so.0\]'; echo $?)
check "the program's RUNPATH reaches the private folder" $(readelf -d "$program" | grep -qE "R(UN)?PATH.*\[\\\$ORIGIN/../$libdir/ormadraft\]"; echo $?)
check "binaries are stripped" $(file -L "$program" "$private/libOrmaCore.so.0" | grep -vq 'not stripped'; echo $?)
for folder in "$SOURCE"/resources/*/; do
  name=$(basename "$folder")
  check "resources/$name is installed" $(diff -rq "$folder" "$root/usr/share/ormadraft/$name" >/dev/null; echo $?)
done
check "the manual is installed" $(zcat "$root/usr/share/man/man1/ormadraft.1.gz" | grep -q '^\.SH EXIT STATUS'; echo $?)
check "README, copyright and changelog are installed" $(cd "$root/usr/share/doc/ormadraft" && [ -f README.md ] && [ -f copyright ] && [ -f changelog.gz ]; echo $?)
copyright="$root/usr/share/doc/ormadraft/copyright"
check "the copyright file gives GPL-3.0-or-later for every file" $(awk '/^Files: \*$/ { f = 1; next } f && /^License:/ { print $2; exit }' "$copyright" | grep -qx 'GPL-3.0-or-later'; echo $?)
check "the copyright file points to the GPL 3 text" $(grep -q '/usr/share/common-licenses/GPL-3' "$copyright"; echo $?)
check "the repository's LICENSE is the GPL 3 text" $(cmp -s "$SOURCE/LICENSE" /usr/share/common-licenses/GPL-3; echo $?)
link="$private/orma-mlt-modules/libmltcore.so"
target=$(readlink "$link")
check "the MLT module link is relative" $([ -n "$target" ] && [ "${target#/}" = "$target" ]; echo $?)
# The scratch root holds the package's files only; MLT, a dependency, is
# where the system has it, so the root gets a stand-in for its folder.
mltdir=$(pkg-config --variable=moduledir mlt-framework-7)
mkdir -p "$root$(dirname "$mltdir")"
ln -s "$mltdir" "$root$mltdir"
check "the MLT module link reaches MLT's core module" $([ -f "$link" ]; echo $?)

# ---- The installed program, run from another folder ----
elsewhere="$WORK/some other folder"
mkdir -p "$elsewhere"
cd "$elsewhere" || fatal "cd"
found=$(ldd "$program" | sed -nE 's/^\s*libOrmaCore\.so\.0 => (.*) \(0x[0-9a-f]+\)$/\1/p')
check "the program finds its library in the private folder" $([ -n "$found" ] && [ "$(readlink -f "$found")" = "$(readlink -f "$private/libOrmaCore.so.0")" ]; echo $?)
"$program" --version >version.txt 2>&1
check "--version runs installed" $([ $? -eq 0 ] && grep -qx "ormadraft $version" version.txt && grep -qx "libOrmaCore $version" version.txt; echo $?)
"$program" --help >help.txt 2>&1
check "the installed program finds its resources in share/ormadraft" $(grep -qx "Resource folder: $root/usr/share/ormadraft" help.txt; echo $?)
ORMADRAFT_RESOURCES="$elsewhere" "$program" --help >help.txt 2>&1
check "ORMADRAFT_RESOURCES comes first" $(grep -qx "Resource folder: $elsewhere" help.txt; echo $?)
"$BUILD/ormadraft" --help >help.txt 2>&1
check "the build folder's program finds the repository's resources" $(grep -qx "Resource folder: $BUILD/resources" help.txt; echo $?)

# The demo draft, seconds 0 to 5 (two scenes, a transition, a caption), by
# the installed program and by the build folder's program. The draft is
# copied here as an editor writes drafts, with absolute paths (the demo's own
# paths are relative to its folder).
bash "$SOURCE/scripts/demo-media.sh" >/dev/null || fatal "demo media"
python3 - "$SOURCE" <<'PY' || fatal "copying the demo draft"
import sys
source = sys.argv[1]
text = open(f"{source}/examples/demo/draft.json", encoding="utf-8").read()
text = text.replace('"..\\\\..\\\\', f'"{source}/').replace('"out/demo-media/', f'"{source}/out/demo-media/')
open("demo draft.json", "w", encoding="utf-8").write(text)
PY
check "the copied draft names no relative path" $(! grep -qE '"(\.\.|out/)' "demo draft.json"; echo $?)
cat >export.json <<JSON
{ "video": {"w": 640, "h": 360, "fps": 30, "bitrate": 2000, "encoder": "libx264"},
  "audio": {"channels": 2, "samples": 48000, "bitrate": 128}, "outUrl": "installed.mp4" }
JSON
sed 's/installed.mp4/built.mp4/' export.json >export-built.json
ORMA_VERBOSE=1 "$program" "demo draft.json" export.json 0 5 >installed.log 2>installed.err
check "the installed program exports the demo" $(grep -q -- '-- export success! time:' installed.log; echo $?)
modules=$(sed -n 's/^\[mlt\] modules from //p' installed.err)
check "the installed library starts MLT on its own module folder" $([ -n "$modules" ] && [ "$(readlink -f "$modules")" = "$(readlink -f "$private/orma-mlt-modules")" ]; echo $?)
"$BUILD/ormadraft" "demo draft.json" export-built.json 0 5 >built.log 2>&1
probe() { ffprobe -v error -select_streams "$2" -show_entries "$3" -of csv=p=0 "$1"; }
check "the video is 640x360" $([ "$(probe installed.mp4 v:0 stream=width,height)" = "640,360" ]; echo $?)
check "the video is at 30 frames per second" $([ "$(probe installed.mp4 v:0 stream=r_frame_rate)" = "30/1" ]; echo $?)
duration=$(probe installed.mp4 v:0 format=duration)
check "the video lasts 5 s ($duration)" $(awk -v d="$duration" 'BEGIN { exit !(d > 4.9 && d < 5.1) }'; echo $?)
check "the video has sound" $([ "$(probe installed.mp4 a:0 stream=codec_name)" = "aac" ]; echo $?)
level=$(ffmpeg -v info -i installed.mp4 -vf signalstats,metadata=print:key=lavfi.signalstats.YAVG -an -f null - 2>&1 |
        sed -nE 's/.*YAVG=([0-9.]+).*/\1/p' | sort -n | tail -1)
check "the pictures are not black (brightest mean luma $level)" $(awk -v y="${level:-0}" 'BEGIN { exit !(y > 40) }'; echo $?)
psnr=$(ffmpeg -v info -i installed.mp4 -i built.mp4 -lavfi "[0:v][1:v]psnr" -f null - 2>&1 | sed -nE 's/.*PSNR.* average:([0-9.inf]+).*/\1/p')
check "installed and built programs render the same pictures (PSNR $psnr dB)" $(awk -v p="${psnr:-0}" 'BEGIN { exit !(p == "inf" || p > 45) }'; echo $?)

# ---- A theme request to the installed program ----
# A one-placeholder theme of the test's own (the library is named by
# ORMADRAFT_THEMES; where the draft goes does not depend on it).
theme="$WORK/theme library/PkgTheme"
mkdir -p "$theme"
ffmpeg -nostdin -v error -y -f lavfi -i color=c=gray:s=320x180 -frames:v 1 "$theme/p1.png" || fatal "theme media"
ffmpeg -nostdin -v error -y -f lavfi -i color=c=blue:s=320x180 -frames:v 1 blue.png || fatal "user media"
cat >"$theme/config.json" <<'JSON'
{ "ver": 5, "name": "pkg", "duration": 3, "size": {"width": 320, "height": 180},
  "mediaInfo": [{"path": "p1.png", "timelineFrom": 0, "timelineTo": 3}],
  "scenes": [{"media": [{"path": "p1.png", "trimTimeStart": 0, "trimTimeEnd": 3, "speed": 1, "alpha": 1,
    "showRectF": {"x": 0, "y": 0, "width": 1, "height": 1}, "cropRect": {"x": 0, "y": 0, "width": 1, "height": 1}}]}] }
JSON
cat >request.json <<'JSON'
{"ver": 1, "type": "TemplateThemes", "id": "PkgTheme", "outputPath": "theme.mp4", "medias": [{"path": "blue.png"}]}
JSON
(cd "$root" && find . | sort) >"$WORK/prefix-before.txt"
HOME="$WORK/home" ORMADRAFT_THEMES="$WORK/theme library" "$program" request.json >theme.log 2>&1
check "the installed program fills a theme as $(id -un)" $(grep -q -- '-- export success! time:' theme.log && [ -s theme.mp4 ]; echo $?)
check "its new draft is written in ~/.cache/ormadraft/draft" $(grep -q "themes json path:$WORK/home/.cache/ormadraft/draft/config_temp_[0-9]*\.json" theme.log && [ -d "$WORK/home/.cache/ormadraft/draft" ]; echo $?)
XDG_CACHE_HOME="$WORK/xdg cache" HOME="$WORK/home" ORMADRAFT_THEMES="$WORK/theme library" "$program" request.json >theme-xdg.log 2>&1
check "or in \$XDG_CACHE_HOME/ormadraft/draft" $(grep -q "themes json path:$WORK/xdg cache/ormadraft/draft/config_temp_" theme-xdg.log; echo $?)
check "no draft folder is made beside the installed program" $([ ! -e "$root/usr/bin/draft" ]; echo $?)
(cd "$root" && find . | sort) >"$WORK/prefix-after.txt"
check "nothing is written under the prefix" $(diff "$WORK/prefix-before.txt" "$WORK/prefix-after.txt" >&2; echo $?)

# ---- A hand installation under another prefix ----
prefix="$WORK/opt/orma draft"
cmake --install "$BUILD" --prefix "$prefix" >"$WORK/install.log" 2>&1 || { cat "$WORK/install.log"; fatal "cmake --install"; }
check "cmake --install puts the program under the prefix" $([ -x "$prefix/bin/ormadraft" ]; echo $?)
check "its MLT module link is relative and reaches MLT from that prefix" $(link="$prefix/$libdir/ormadraft/orma-mlt-modules/libmltcore.so"; [ -f "$link" ] && [ "$(readlink "$link" | cut -c1)" != / ]; echo $?)
"$prefix/bin/ormadraft" --help >help.txt 2>&1
check "the program under another prefix finds its resources there" $(grep -qx "Resource folder: $prefix/share/ormadraft" help.txt; echo $?)
sed 's/installed.mp4/prefix.mp4/' export.json >export-prefix.json
ORMA_VERBOSE=1 "$prefix/bin/ormadraft" "demo draft.json" export-prefix.json 0 1 >prefix.log 2>prefix.err
check "the program under another prefix exports" $(grep -q -- '-- export success! time:' prefix.log && [ -s prefix.mp4 ]; echo $?)
modules=$(sed -n 's/^\[mlt\] modules from //p' prefix.err)
check "and starts MLT on its own module folder" $([ "$(readlink -f "$modules")" = "$(readlink -f "$prefix/$libdir/ormadraft/orma-mlt-modules")" ]; echo $?)

echo "$PASSED passed, $FAILED failed"
[ "$FAILED" -eq 0 ]
