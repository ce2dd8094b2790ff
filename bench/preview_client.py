#!/usr/bin/env python3
"""The calling application of bench/preview: starts Xvfb, opens a 960×540 Tk
window, hosts the control socket, runs ormadraft on the draft under GNU time
with ORMA_PREVIEW_STATS, plays 30 s, pauses, seeks 20 times and stops.

    preview_client.py ORMADRAFT DRAFT OUT_FOLDER
"""

import json
import os
import random
import socket
import statistics
import subprocess
import sys
import tempfile
import time
import tkinter as tk


def start_xvfb():
    read, write = os.pipe()
    server = subprocess.Popen(["Xvfb", "-displayfd", str(write), "-screen", "0", "1280x720x24", "-nolisten",
                               "tcp"], pass_fds=[write], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    os.close(write)
    number = os.read(read, 16).decode().strip()
    os.close(read)
    return server, ":" + number


def main():
    program, draft, out = sys.argv[1:4]
    folder = tempfile.mkdtemp(prefix="ormadraft-bench-preview-")
    server, display = start_xvfb()
    os.environ["DISPLAY"] = display
    root = tk.Tk()
    video = tk.Frame(root, width=960, height=540, bg="black")
    video.pack()
    root.update()
    listener = socket.socket(socket.AF_UNIX, socket.SOCK_SEQPACKET)
    listener.bind(os.path.join(folder, "bench"))
    listener.listen(1)
    command = os.path.join(folder, "preview.json")
    with open(command, "w") as f:
        json.dump({"type": "ThemesPreview", "hWnd": "0x%x" % video.winfo_id(), "pipeName": "\\\\.\\pipe\\bench"}, f)
    stats = os.path.join(folder, "stats.json")
    timing = os.path.join(folder, "time.txt")
    env = dict(os.environ, XDG_RUNTIME_DIR=folder, SDL_AUDIODRIVER="dummy", ORMA_PREVIEW_STATS=stats)
    log = open(os.path.join(out, "preview-output.txt"), "w")
    process = subprocess.Popen(["/usr/bin/time", "-f", "%e %U %S %M", "-o", timing, program, draft, command],
                               env=env, stdout=log, stderr=subprocess.STDOUT)
    connection, _ = listener.accept()

    def exchange(commands):
        connection.send(json.dumps({"message": [{"key": k, "value": v} for k, v in commands]}).encode())
        reply = json.loads(connection.recv(4096).decode())
        return {e["key"]: float(e["value"]) for e in reply["message"]}

    first = exchange([])
    start = time.monotonic()
    while time.monotonic() - start < 30:
        root.update()
        time.sleep(0.5)
        exchange([])
    played = exchange([("pause", "")])
    wall = time.monotonic() - start
    latencies = []
    rng = random.Random(7)
    for _ in range(20):
        before = time.monotonic()
        exchange([("seek", str(rng.randint(0, 99)))])
        latencies.append((time.monotonic() - before) * 1000)
        root.update()
        time.sleep(0.3)
    exchange([("stop", "")])
    process.wait(timeout=60)
    log.close()
    seconds, user, system, peak_kb = open(timing).read().split()[-4:]
    counts = json.loads(open(stats).read().splitlines()[-1])
    shown = counts["shown"] - 20 - 1  # less the seeks' pictures and the first one
    dropped = counts["dropped"]
    advanced = played["playtime"] - first["playtime"]
    print("| measure | value | goal |")
    print("|---|---|---|")
    print("| played | %.1f s of the timeline in %.1f s | |" % (advanced, wall))
    print("| pictures shown per second | %.1f | ≥ 29.5 of 30 |" % (shown / wall))
    print("| pictures skipped | %d of %d (%.2f %%) | ≤ 1 %% |" % (dropped, shown + dropped,
                                                               100.0 * dropped / max(1, shown + dropped)))
    print("| seek latency median / max | %.0f / %.0f ms | ≤ 150 / 400 ms |" % (statistics.median(latencies),
                                                                             max(latencies)))
    print("| CPU (user + system) | %.1f s over %.1f s | |" % (float(user) + float(system), float(seconds)))
    print("| peak RSS | %.0f MB | ≤ the export's peak |" % (int(peak_kb) / 1024))
    root.destroy()
    server.terminate()
    server.wait()


if __name__ == "__main__":
    main()
