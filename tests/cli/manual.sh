# The manual (docs/man/ormadraft.1.scd) against the program: every
# environment variable that --help names has its own entry in the manual's
# ENVIRONMENT section, no section but ENVIRONMENT holds such entries (an
# entry spliced into OUTPUT broke its sentence about the progress bar), and
# the manual answers what new users asked: where a relative "outUrl" goes,
# which theme folders are never found, and from where a media-group file's
# path is taken.
source "$(dirname "$0")/lib.bash" "$1"
ROOT=$(cd "$(dirname "$0")/../.." && pwd)
MANUAL=$ROOT/docs/man/ormadraft.1.scd

# section NAME: the lines of one "# NAME" section of the manual.
section() { awk -v name="# $1" '/^# /{inside = ($0 == name)} inside' "$MANUAL"; }
# entries: the variables that a section lists as entries ("*NAME*" alone on its line).
entries() { sed -nE 's/^\*([A-Z][A-Z0-9_]+)\*$/\1/p'; }

run --help
variables=$(sed -n '/^Environment:/,/^$/p' "$WORK/out.txt" | grep -oE '\b(ORMA|ORMADRAFT)_[A-Z0-9_]+|\bNO_COLOR\b|\bTERM\b' | sort -u)
check "--help names environment variables" $([ -n "$variables" ]; echo $?)
listed=$(section ENVIRONMENT | entries)
for variable in $variables; do
  check "the manual's ENVIRONMENT section has an entry for $variable" $(grep -qx "$variable" <<<"$listed"; echo $?)
done
for name in $(grep -E '^# ' "$MANUAL" | cut -c3- | grep -vx ENVIRONMENT | tr ' ' '_'); do
  stray=$(section "${name//_/ }" | entries | tr '\n' ' ')
  check "the section ${name//_/ } holds no environment entries (${stray:-none})" $([ -z "$stray" ]; echo $?)
done
# The paragraph about the plain progress bar reads as one sentence.
output=$(section OUTPUT | tr '\n' ' ')
check "OUTPUT says in one sentence when the bar is plain text" \
  $(grep -qF 'It is plain text, without colours or escape sequences, when *NO_COLOR* is set or *TERM* is "dumb"' <<<"$output"; echo $?)

settings=$(section 'EXPORT SETTINGS' | tr '\n' ' ' | tr -s ' ')
check "EXPORT SETTINGS says a relative \"outUrl\" is taken from the current folder" \
  $(grep -qE '"outUrl" .*relative path is taken from the current folder' <<<"$settings"; echo $?)
themes=$(section 'TEMPLATE THEMES' | tr '\n' ' ' | tr -s ' ')
check "TEMPLATE THEMES says folder names of five characters or fewer are not found" \
  $(grep -qE 'more than five characters are ever looked at' <<<"$themes"; echo $?)
check "TEMPLATE THEMES says the media-group path is taken as written, from the current folder" \
  $(grep -qE "media-group file's path is taken as written: a relative path is taken from the current folder" <<<"$themes"; echo $?)
check "TEMPLATE THEMES names the trims that fail" $(grep -qF 'errorcode:-1694' <<<"$themes"; echo $?)

# The build turns the manual into a man page with scdoc; it must still parse.
if command -v scdoc >/dev/null; then
  check "scdoc reads the manual" $(scdoc <"$MANUAL" >"$WORK/ormadraft.1" 2>"$WORK/scdoc.txt"; echo $?)
fi
finish
