# The progress bar on standard error: drawn when standard error is a
# terminal (a pseudo-terminal here), plain with NO_COLOR or TERM=dumb, absent
# when standard error is a file, and the "progress:" lines on standard output
# the same in every case. The checks are in progress_bar_pty.py.
source "$(dirname "$0")/lib.bash" "$1"
write_draft "$WORK/Draft.json"
python3 "$(dirname "$0")/progress_bar_pty.py" "$PROGRAM" "$WORK"
