#!/usr/bin/env python3
"""Runs the program (linked with the recording core double) on a two-second
draft with standard error, and sometimes standard output, on a
pseudo-terminal 100 columns wide, and checks what the terminal received:
the bar's drawings, their style and rate, and that the "progress:" lines on
standard output are the same as with no terminal at all.

    progress_bar_pty.py PROGRAM WORK_FOLDER   (WORK_FOLDER holds Draft.json)
"""
import fcntl
import os
import pty
import re
import struct
import subprocess
import sys
import termios
import threading
import time

program, work = sys.argv[1], sys.argv[2]
draft = os.path.join(work, "Draft.json")
# Eleven polls (1.1 s): the library's percentage at each, and its playback
# position at each drawing, from the second poll on; the draft is 2 s at the
# default 25 frames per second, 50 frames.
SCRIPT = ("OrmaEditProgress=0,10,20,30,40,50,60,70,80,90,100;OrmaGetTotalPlaybackTime=2000000;"
          "OrmaGetCurrentPlaybackTime=200000,400000,600000,800000,1000000,1200000,1400000,1600000,1800000,2000000")
ESC = "\x1b"
passed = failed = 0


def check(name, ok, detail=""):
    global passed, failed
    if ok:
        passed += 1
    else:
        failed += 1
        print(f"FAIL: {name} {detail[:600]!r}")


def run(stdout_on_pty, stderr_on_pty, narrow_after=None, **env):
    """Runs the export; returns (terminal bytes, stdout text, stderr text,
    seconds). With narrow_after, the terminal becomes 50 columns wide that
    many seconds after the start."""
    environment = {k: v for k, v in os.environ.items() if k not in ("NO_COLOR", "TERM", "COLUMNS")}
    environment.update(ORMA_RECORDER_SCRIPT=SCRIPT, TERM="xterm", LC_CTYPE="C.UTF-8")
    environment.update(env)
    master, slave = pty.openpty()
    fcntl.ioctl(slave, termios.TIOCSWINSZ, struct.pack("HHHH", 24, 100, 0, 0))
    attributes = termios.tcgetattr(slave)
    attributes[1] &= ~termios.ONLCR  # the bytes as written, "\n" not turned into "\r\n"
    termios.tcsetattr(slave, termios.TCSANOW, attributes)
    out_path, err_path = os.path.join(work, "out.txt"), os.path.join(work, "err.txt")
    with open(out_path, "wb") as out, open(err_path, "wb") as err:
        started = time.monotonic()
        process = subprocess.Popen([program, draft], cwd=work, env=environment, stdin=subprocess.DEVNULL,
                                   stdout=slave if stdout_on_pty else out, stderr=slave if stderr_on_pty else err)
        os.close(slave)
        if narrow_after is not None:
            narrow = struct.pack("HHHH", 24, 50, 0, 0)
            threading.Timer(narrow_after, lambda: fcntl.ioctl(master, termios.TIOCSWINSZ, narrow)).start()
        received = b""
        while True:
            try:
                chunk = os.read(master, 65536)
            except OSError:  # EIO: the program closed the terminal's last descriptor
                break
            if not chunk:
                break
            received += chunk
        process.wait()
        seconds = time.monotonic() - started
    os.close(master)
    check(f"status 1 after the export ({env})", process.returncode == 1, str(process.returncode))
    with open(out_path, encoding="utf-8") as f:
        out_text = f.read()
    with open(err_path, encoding="utf-8") as f:
        err_text = f.read()
    return received.decode("utf-8"), out_text, err_text, seconds


def drawings(terminal):
    """The bar's drawings: the texts after each carriage return, escapes removed."""
    pieces = [re.sub(ESC + r"\[[0-9;]*[A-Za-z]", "", p) for p in re.split("\r", terminal)[1:]]
    return [p.split("\n")[0].rstrip() for p in pieces if p.strip()]


def masked(text):
    """The lines of a console text with their clock readings and build stamps
    masked, sorted: the first progress line and "nLimitTimelineStart" come
    from two threads in either order."""
    text = re.sub(r"^\[[^]]*\] -- ", "[stamp] -- ", text, flags=re.M)
    return sorted(re.sub(r"time:[0-9]+\.[0-9]\(s\)", "time:T(s)", text).splitlines())


# No terminal at all: the reference for standard output.
_, reference, reference_err, _ = run(False, False)
progress_lines = re.findall(r"^\[[^]]*\] -- progress:.*$", reference, flags=re.M)
check("three progress lines without a terminal", len(progress_lines) == 3, reference)
check("no bar when nothing is a terminal", reference_err == "", reference_err)

# Standard error on the terminal: the bar in colour.
terminal, out, err, seconds = run(False, True)
bars = drawings(terminal)
check("the bar is drawn", len(bars) >= 5, terminal)
check("standard output is as without a terminal", masked(out) == masked(reference), out)
check("the bar is in colour", ESC + "[32m" in terminal, terminal)
check("drawings are cleared to the line end", ESC + "[K" in terminal, terminal)
final = bars[-1] if bars else ""
check("the last drawing is complete",
      re.fullmatch(r"100% \[#{30}\]  50/50 frames  [0-9]+\.[0-9] fps  0:0[0-9] elapsed  0:00 left", final) is not None,
      final)
check("the bar's line is ended once it is complete", terminal.endswith("\n"), terminal[-80:])
middle = [b for b in bars if b.startswith(" 50%")]
check("halfway: 25 of 50 frames, a rate and a time left",
      any(re.fullmatch(r" 50% \[#{15}-{15}\]  25/50 frames  [0-9]+\.[0-9] fps  0:0[0-9] elapsed  0:0[0-9] left", b)
          for b in middle), str(bars))
check("at most ten drawings a second", len(bars) <= seconds * 10 + 1, f"{len(bars)} in {seconds:.2f} s")
check("no drawing reaches the last column", all(len(b) <= 99 for b in bars), str(bars))

# A terminal made narrower during the export: later drawings fit it.
terminal, _, _, _ = run(False, True, narrow_after=0.5)
bars = drawings(terminal)
check("drawings follow a resized terminal", len(bars) >= 5 and len(bars[0]) > 49 and len(bars[-1]) <= 49,
      str(bars))

# NO_COLOR and TERM=dumb: the same bar as plain text.
for env in ({"NO_COLOR": "1"}, {"TERM": "dumb"}):
    terminal, out, _, _ = run(False, True, **env)
    check(f"plain bar with {env}", len(drawings(terminal)) >= 5, terminal)
    check(f"no escape sequence with {env}", ESC not in terminal, terminal)
    check(f"standard output unchanged with {env}", masked(out) == masked(reference), out)

# Standard error a file, standard output the terminal: no bar anywhere.
terminal, _, err, _ = run(True, False)
check("no bar when standard error is a file", err == "", err)
check("no bar on the terminal of standard output", ESC not in terminal and "frames" not in terminal, terminal)
check("the progress lines reach the terminal", masked(terminal) == masked(reference), terminal)

# Both on one terminal: every log line starts at the left margin, the bar
# erased before it and drawn again after it.
terminal, _, _, _ = run(True, True)
for line in terminal.split("\n"):
    if "progress:" in line:
        shown = line.rsplit(ESC + "[K", 1)[-1] if ESC + "[K" in line else line
        check("a progress line on a shared terminal starts at the margin",
              re.fullmatch(r"\[[^]]*\] -- progress:[0-9.]+ time:[0-9.]+\(s\)", shown) is not None, repr(line))
check("the bar is drawn on a shared terminal too", len(drawings(terminal)) >= 5, terminal)

print(f"{passed} passed, {failed} failed")
sys.exit(1 if failed else 0)
