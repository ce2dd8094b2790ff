#!/usr/bin/env bash
# Makes the Windows zip, out/OrmaDraft-<version>-win64.zip, from a Windows
# build folder (OrmaDraft.exe, OrmaCore.dll and the MLT module beside them):
#
#   OrmaDraft-<version>-win64/
#     TemplateThemes/            the sample themes (in the parent of the
#                                program's folder, where the program looks)
#     transitions/ animations/ captions/ effects/ stickers/
#                                what the themes name relative to themselves
#     OrmaDraft/
#       OrmaDraft.exe OrmaCore.dll *.dll   every DLL they need, found by
#                                walking the imports from the two; the build
#                                fails when one is neither in the package nor
#                                a Windows system DLL
#       orma-mlt-modules/        MLT's core module
#       resources/               transitions, animations, masks, effects, ...
#       draft/                   where theme runs write their new drafts
#       fonts/                   the caption fonts (DejaVu Sans, Noto Sans CJK)
#       etc/fonts/fonts.conf     fontconfig: those fonts and the Windows fonts
#                                folder (fontconfig looks in etc\fonts beside
#                                its own DLL)
#     licenses/                  the licence texts of everything bundled, and
#                                the Debian source versions it was built from
#     README.txt
#
#   package.sh [BUILD_DIR] [OUT_DIR]
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
repo=$(cd "$here/../.." && pwd)
build=$(cd "${1:-$repo/build-windows}" && pwd)
out=${2:-$repo/out}
mkdir -p "$out"
out=$(cd "$out" && pwd)
host=x86_64-w64-mingw32
prefix=$(bash "$here/build-deps.sh" --prefix)
version=$(sed -n 's/^project(ormadraft VERSION \([0-9.]*\).*/\1/p' "$repo/CMakeLists.txt")
name=OrmaDraft-$version-win64
stage=$build/package/$name
program=$stage/OrmaDraft

for f in OrmaDraft.exe OrmaCore.dll orma-mlt-modules/libmltcore.dll; do
  [ -f "$build/$f" ] || { echo "package: $build/$f is missing; build the Windows program first" >&2; exit 1; }
done
rm -rf "$build/package"
mkdir -p "$program/orma-mlt-modules" "$program/draft" "$program/fonts" "$program/etc/fonts" "$stage/licenses"
cp "$build/OrmaDraft.exe" "$build/OrmaCore.dll" "$program/"
cp "$build/orma-mlt-modules/libmltcore.dll" "$program/orma-mlt-modules/"

# ---- the DLLs they import, recursively --------------------------------------
runtime=$(realpath "$(dirname "$($host-g++-posix -print-file-name=libstdc++-6.dll)")")
threads=$(realpath "$(dirname "$($host-g++-posix -print-file-name=libwinpthread-1.dll)")")
# MLT installs its DLLs at the top of the prefix.
search=("$prefix/bin" "$prefix" "$prefix/lib" "$runtime" "$threads")
# What every Windows has (Wine ships its own builds of the same names).
wine_system=/usr/lib/x86_64-linux-gnu/wine/x86_64-windows
is_system() {
  local lower=${1,,}
  [ -f "$wine_system/$lower" ] && return 0
  case $lower in api-ms-win-* | ext-ms-win-*) return 0 ;; esac
  return 1
}
imports() { $host-objdump -p "$1" | sed -n 's/^\s*DLL Name: //p'; }
declare -A seen
missing=()
walk() {
  local dll path dir
  for dll in $(imports "$1"); do
    [ -n "${seen[${dll,,}]:-}" ] && continue
    seen[${dll,,}]=1
    # The program's own DLLs (OrmaCore.dll) are in the package already.
    [ -f "$program/$dll" ] && continue
    path=""
    for dir in "${search[@]}"; do
      if [ -f "$dir/$dll" ]; then
        path=$dir/$dll
        break
      fi
    done
    if [ -n "$path" ]; then
      cp "$path" "$program/"
      walk "$path"
    elif ! is_system "$dll"; then
      missing+=("$dll (needed by $(basename "$1"))")
    fi
  done
}
for f in "$program/OrmaDraft.exe" "$program/OrmaCore.dll" "$program/orma-mlt-modules/libmltcore.dll"; do walk "$f"; done
if [ ${#missing[@]} -gt 0 ]; then
  printf 'package: no file for %s\n' "${missing[@]}" >&2
  exit 1
fi

# ---- resources, themes, fonts ------------------------------------------------
# The sample themes' media are drawn by ffmpeg, not kept in git; the Linux
# build makes them, the Windows build does not, so a clean clone has none
# until this (it makes only what is missing).
bash "$repo/scripts/make-theme-media.sh" >/dev/null
cp -rL "$repo/resources" "$program/resources"
rm -rf "$program/resources/TemplateThemes"
cp -rL "$repo/resources/TemplateThemes" "$stage/TemplateThemes"
# The sample themes name the starter transitions, animations, captions,
# effects and stickers relative to their own folder ("..\..\transitions"):
# those folders stand beside TemplateThemes too (under 1 MB).
for folder in animations captions effects stickers transitions; do
  cp -rL "$repo/resources/$folder" "$stage/$folder"
done
for font in /usr/share/fonts/truetype/dejavu/DejaVuSans.ttf /usr/share/fonts/truetype/dejavu/DejaVuSans-Bold.ttf \
  /usr/share/fonts/opentype/noto/NotoSansCJK-Regular.ttc /usr/share/fonts/opentype/noto/NotoSerifCJK-Regular.ttc; do
  if [ -f "$font" ]; then cp "$font" "$program/fonts/"; else echo "package: font $font is missing" >&2 && exit 1; fi
done
cat >"$program/etc/fonts/fonts.conf" <<'EOF'
<?xml version="1.0"?>
<!DOCTYPE fontconfig SYSTEM "fonts.dtd">
<!-- Fonts of OrmaDraft on Windows: the caption fonts shipped beside the
     program first, then the Windows fonts folder. -->
<fontconfig>
  <dir prefix="relative">../../fonts</dir>
  <dir>WINDOWSFONTDIR</dir>
  <cachedir>LOCAL_APPDATA_FONTCONFIG_CACHE</cachedir>
  <alias><family>sans-serif</family><prefer><family>DejaVu Sans</family><family>Noto Sans CJK SC</family></prefer></alias>
  <alias><family>serif</family><prefer><family>Noto Serif CJK SC</family></prefer></alias>
  <alias><family>monospace</family><prefer><family>DejaVu Sans</family></prefer></alias>
</fontconfig>
EOF

# ---- licences ---------------------------------------------------------------
cp "$repo/LICENSE" "$stage/licenses/ormadraft-LICENSE.txt" 2>/dev/null || cp /usr/share/common-licenses/GPL-3 "$stage/licenses/ormadraft-LICENSE.txt"
versions=$stage/licenses/debian-sources.txt
echo "The bundled libraries were cross-built from these Debian source packages:" >"$versions"
for dsc in "$HOME"/.cache/ormadraft/sources/*/*.dsc; do
  [ -f "$dsc" ] && echo "  $(sed -n 's/^Source: //p' "$dsc") $(sed -n 's/^Version: //p' "$dsc")" >>"$versions"
done
for orig in "$HOME"/.cache/ormadraft/sources/*/*.orig.tar.*; do
  pkg=$(basename "$(dirname "$orig")")
  ls "$(dirname "$orig")"/*.dsc >/dev/null 2>&1 ||
    echo "  $pkg $(basename "$orig" | sed 's/^[^_]*_//; s/\.orig\.tar\..*//') (upstream source; Debian's changes were not on the mirror)" >>"$versions"
done
# Header packages used as Debian ships them (the NVENC interface, compiled
# into FFmpeg's DLLs).
for deb in "$HOME"/.cache/ormadraft/sources/*/*.deb; do
  [ -f "$deb" ] && echo "  $(dpkg-deb -f "$deb" Package) $(dpkg-deb -f "$deb" Version) (headers, Debian's binary package)" >>"$versions"
done
[ -f "$prefix/share/doc/nv-codec-headers/copyright" ] &&
  cp "$prefix/share/doc/nv-codec-headers/copyright" "$stage/licenses/nv-codec-headers.copyright"
for pkg in libcjson1 libavcodec59 libx264-164 libmlt7 libglib2.0-0 libcairo2 libpango-1.0-0 libharfbuzz0b \
  libfribidi0 libfontconfig1 libfreetype6 libpng16-16 zlib1g libexpat1 libffi8 libpcre2-8-0 libsdl2-2.0-0 \
  libwebp7 libpixman-1-0 libopencv-core406 fonts-dejavu-core fonts-noto-cjk; do
  [ -f "/usr/share/doc/$pkg/copyright" ] && cp "/usr/share/doc/$pkg/copyright" "$stage/licenses/$pkg.copyright"
done
cp /usr/share/common-licenses/GPL-2 "$stage/licenses/GPL-2.txt"
cp /usr/share/common-licenses/LGPL-2.1 "$stage/licenses/LGPL-2.1.txt"
cp /usr/share/common-licenses/Apache-2.0 "$stage/licenses/Apache-2.0.txt"
cat >"$stage/README.txt" <<EOF
OrmaDraft $version for Windows (x64)

Renders a draft to a video:       OrmaDraft\\OrmaDraft.exe DRAFT.json EXPORT.json [START END]
Fills a template theme:           OrmaDraft\\OrmaDraft.exe REQUEST.json
Plays a draft into a window:      OrmaDraft\\OrmaDraft.exe DRAFT.json PREVIEW.json (a "ThemesPreview" command naming the HWND and the pipe)

Nothing needs to be installed: every library is in the OrmaDraft folder.
The program is free software under the GNU GPL, version 3 or later
(licenses\\ormadraft-LICENSE.txt); it bundles FFmpeg with x264 (GPL) and
OpenCV (Apache-2.0), whose licences are in licenses\\.
EOF

mkdir -p "$out"
rm -f "$out/$name.zip"
(cd "$build/package" && zip -qr -X "$out/$name.zip" "$name")
echo "$out/$name.zip ($(du -h "$out/$name.zip" | cut -f1))"
