#!/usr/bin/env python3
"""The example Tk player (examples/preview/player.py) under a private Xvfb:
it shows the draft's picture in its video area and, when its window closes,
stops the preview and sees ormadraft end cleanly.

    example_player_test.py ORMADRAFT

The picture is read back from the X server with xwd, as a screenshot.
Prints "N passed, N failed".
"""

import json
import os
import shutil
import struct
import subprocess
import sys
import tempfile
import time

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "support"))
from xvfb import start_xvfb  # noqa: E402

ROOT = os.path.abspath(os.path.join(os.path.dirname(__file__), "..", ".."))
results = {"passed": 0, "failed": 0}


def check(name, condition, detail=""):
    results["passed" if condition else "failed"] += 1
    if not condition:
        print("FAIL:", name, detail)


def pixel(display, window, x, y):
    """The colour at (x, y) of a window, from an xwd dump of it."""
    dump = subprocess.run(["xwd", "-silent", "-id", window, "-display", display], capture_output=True).stdout
    if len(dump) < 100:
        return None
    h = struct.unpack(">25I", dump[:100])
    header_size, byte_order, bpp, bytes_per_line = h[0], h[7], h[11], h[12]
    masks, ncolors = h[14:17], h[19]
    if bpp != 32:
        return None
    offset = header_size + ncolors * 12 + y * bytes_per_line + x * 4
    value = int.from_bytes(dump[offset:offset + 4], "little" if byte_order == 0 else "big")

    def channel(mask):
        shift = (mask & -mask).bit_length() - 1
        return ((value & mask) >> shift) * 255 // (mask >> shift)

    return tuple(channel(m) for m in masks)


def main():
    program = os.path.abspath(sys.argv[1])
    folder = tempfile.mkdtemp(prefix="ormadraft player test ")
    server, display = start_xvfb()
    try:
        subprocess.run(["ffmpeg", "-v", "error", "-y", "-f", "lavfi", "-i", "color=c=red:s=320x180",
                        "-frames:v", "1", os.path.join(folder, "red.png")], check=True)
        scene = {"media": [{"path": "red.png", "trimTimeStart": 0, "trimTimeEnd": 10, "timelineFrom": 0,
                            "timelineTo": 10, "speed": 1, "alpha": 1, "volume": 1}]}
        draft = {"ver": 5, "name": "red", "size": {"width": 320, "height": 180},
                 "mediaInfo": [{"path": "red.png", "timelineFrom": 0, "timelineTo": 10, "replaceType": 1}],
                 "scenes": [scene]}
        with open(os.path.join(folder, "draft.json"), "w") as f:
            json.dump(draft, f)
        environment = dict(os.environ, DISPLAY=display, SDL_AUDIODRIVER="dummy")
        player = subprocess.Popen([sys.executable, os.path.join(ROOT, "examples", "preview", "player.py"),
                                   "--program", program, "--close-after", "4", "draft.json"],
                                  cwd=folder, env=environment, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                                  text=True)
        first = player.stdout.readline().split()
        check("the player names its video window", len(first) == 2 and first[0] == "window", first)
        colour = None
        if len(first) == 2:
            time.sleep(2)
            colour = pixel(display, first[1], 320, 180)
        check("the video area shows the draft's red", colour is not None and colour[0] > 200 and
              colour[1] < 60 and colour[2] < 60, colour)
        try:
            rest, _ = player.communicate(timeout=30)
        except subprocess.TimeoutExpired:
            player.kill()
            rest, _ = player.communicate()
        check("the player ends by itself", player.returncode == 0, player.returncode)
        check("the preview is stopped and ends", "ExportDraft out!" in rest, rest)
        check("ormadraft's status is 1", "ormadraft ended with status 1" in rest, rest)
    finally:
        server.terminate()
        server.wait()
        shutil.rmtree(folder, ignore_errors=True)
    print("%d passed, %d failed" % (results["passed"], results["failed"]))
    return 1 if results["failed"] else 0


if __name__ == "__main__":
    sys.exit(main())
