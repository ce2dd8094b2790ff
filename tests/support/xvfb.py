"""A private X server for the Python tests that need a display: Xvfb picks
a free display number itself and tells it through a pipe (-displayfd), so
parallel tests never race for one.

    from xvfb import start_xvfb
    server, display = start_xvfb()    # display is ":N"
    ...
    server.terminate(); server.wait()
"""

import os
import subprocess


def start_xvfb(size="1280x720x24"):
    read, write = os.pipe()
    server = subprocess.Popen(["Xvfb", "-displayfd", str(write), "-screen", "0", size, "-nolisten", "tcp"],
                              pass_fds=[write], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    os.close(write)
    number = b""
    while not number.endswith(b"\n"):
        chunk = os.read(read, 16)
        if not chunk:
            break
        number += chunk
    os.close(read)
    return server, ":" + number.decode().strip()
