#!/usr/bin/env python3
"""The Windows program's preview with its real engine, under Wine on a
private Xvfb, steered the way an editor on Windows steers it: the test host
(tests/windows/preview_host.cpp) makes a window, hosts \\\\.\\pipe\\NAME in
message mode and starts OrmaDraft.exe with a "ThemesPreview" command file;
it then pauses, seeks, plays and stops, and reads the window's pixels after
each seek. The draft is red for 1.6 s and blue until 4 s, so a seek to 50 %
must show blue and one to 25 % red, and each reply must carry the time
seeked to.

Wine 8 keeps a window drawn by another process off the screen (the
program's view is a child window of the caller's window, made by the
program), so the host first probes whether this system shows another
process's child at all; where it does not, the pixel checks are reported
as skipped with the probe's colour, and where it does they must pass.

    preview_engine_test.py WINE_RUN HOST.exe ORMADRAFT.exe

WINE_RUN is scripts/windows/wine-run.sh (WINEPREFIX and the dependency
prefix come from the environment). Prints one line per check and
"N passed, N failed"; exits 1 when a check fails.
"""

import json
import os
import re
import shutil
import subprocess
import sys
import tempfile

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "support"))
from xvfb import start_xvfb  # noqa: E402

results = {"passed": 0, "failed": 0}


def check(name, condition, detail=""):
    results["passed" if condition else "failed"] += 1
    print(("PASS " if condition else "FAIL ") + name + ("" if condition else ": " + str(detail)))


def windows_path(path):
    return "Z:" + path.replace("/", "\\")


def write_draft(folder):
    for colour in ("red", "blue"):
        subprocess.run(["ffmpeg", "-v", "error", "-y", "-f", "lavfi", "-i", "color=c=%s:s=320x180" % colour,
                        "-frames:v", "1", os.path.join(folder, colour + ".png")], check=True)

    def scene(path, start, end):
        return {"media": [{"path": path, "trimTimeStart": 0, "trimTimeEnd": end - start, "timelineFrom": start,
                           "timelineTo": end, "speed": 1, "alpha": 1, "volume": 1}]}

    def slot(path, start, end):
        return {"path": path, "timelineFrom": start, "timelineTo": end, "replaceType": 1}

    draft = {"ver": 5, "name": "preview", "size": {"width": 320, "height": 180},
             "mediaInfo": [slot("red.png", 0, 1.6), slot("blue.png", 1.6, 4)],
             "scenes": [scene("red.png", 0, 1.6), scene("blue.png", 1.6, 4)]}
    with open(os.path.join(folder, "draft.json"), "w") as f:
        json.dump(draft, f)


def playtime(reply):
    """The "playtime" value of a reply line of the host, or None."""
    match = re.search(r'"key":\s*"playtime",\s*"value":\s*"([0-9.]+)"', reply)
    return float(match.group(1)) if match else None


def colour(line):
    match = re.search(r"(?:pixel|probe) \d+,\d+: ([0-9A-F]{2})([0-9A-F]{2})([0-9A-F]{2})", line)
    return tuple(int(match.group(i), 16) for i in (1, 2, 3)) if match else None


def near(rgb, expected, tolerance=40):
    return rgb is not None and all(abs(a - b) <= tolerance for a, b in zip(rgb, expected))


def main():
    wine_run, host, program = sys.argv[1:4]
    folder = tempfile.mkdtemp(prefix="ormadraft-winpreview-")
    server, display = start_xvfb()
    try:
        write_draft(folder)
        steps = ["wait=1500", "probe=320,180", "pause", "seek=50", "wait=400", "pixel=320,180", "seek=25", "wait=400",
                 "pixel=320,180", "play", "seek=75", "wait=300", "pixel=320,180", "stop"]
        environment = dict(os.environ, DISPLAY=display)
        run = subprocess.run(["bash", wine_run, host, windows_path(os.path.abspath(program)),
                              windows_path(os.path.join(folder, "draft.json"))] + steps,
                             cwd=folder, env=environment, capture_output=True, timeout=300)
        out = run.stdout.decode("utf-8", "replace").replace("\r", "")
        lines = out.splitlines()
        detail = out[-1500:] + run.stderr.decode("utf-8", "replace")[-1500:]
        replies = [line for line in lines if line.startswith("reply ")]
        pixels = [colour(line) for line in lines if line.startswith("pixel ")]
        probe = [colour(line) for line in lines if line.startswith("probe ")]
        check("the host's probe read the window", len(probe) == 1 and probe[0] is not None, detail)
        shown = len(probe) == 1 and near(probe[0], (0, 255, 0))
        check("every message is answered over the pipe", len(replies) == 6, detail)
        times = {}
        for line in replies:
            key = line.split(":")[0][len("reply "):]
            times.setdefault(key, []).append(playtime(line))
        seeks = times.get("seek", [])
        check("a seek to 50 % replies 2.0 s", len(seeks) > 0 and seeks[0] is not None and abs(seeks[0] - 2.0) < 0.05,
              seeks)
        check("a seek to 25 % replies 1.0 s", len(seeks) > 1 and seeks[1] is not None and abs(seeks[1] - 1.0) < 0.05,
              seeks)
        check("a seek to 75 % while playing replies about 3.0 s",
              len(seeks) > 2 and seeks[2] is not None and abs(seeks[2] - 3.0) < 0.1, seeks)
        pictures = [("after the seek to 50 % the window shows the draft's blue", (0, 0, 255)),
                    ("after the seek to 25 % the window shows the draft's red", (255, 0, 0)),
                    ("after the seek to 75 % while playing the window shows blue", (0, 0, 255))]
        for i, (name, expected) in enumerate(pictures):
            if shown:
                check(name, len(pixels) > i and near(pixels[i], expected), pixels)
            else:
                print("SKIP %s: this system does not show a child window drawn by another process "
                      "(the probe's green read as %s; the program's picture read as %s)"
                      % (name, probe[0] if probe else None, pixels[i] if len(pixels) > i else None))
        check("stop ends OrmaDraft.exe with status 1", "exit 1" in lines, detail)
        check("the host itself saw no failure", run.returncode == 1, run.returncode)
    finally:
        server.terminate()
        server.wait()
        shutil.rmtree(folder, ignore_errors=True)
    print("%d passed, %d failed" % (results["passed"], results["failed"]))
    return 1 if results["failed"] else 0


if __name__ == "__main__":
    sys.exit(main())
