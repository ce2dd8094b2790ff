#!/usr/bin/env python3
"""A small desktop player for ormadraft's preview, written with Tk.

It is what an editor does to show a draft: it opens a window, hosts the
control socket (a Unix-domain SOCK_SEQPACKET socket, which ormadraft reaches
as the pipe "\\\\.\\pipe\\NAME" through XDG_RUNTIME_DIR), writes the preview
command file with the X11 id of its video area, and starts
`ormadraft DRAFT.json PREVIEW.json`. Then it steers the playback: a
play/pause button, a position slider (fed by the replies, which it asks for
five times a second; dragging it seeks), and "stop" when the window is
closed, after which it waits for ormadraft to end.

    python3 examples/preview/player.py [--program build/ormadraft] DRAFT.json

--close-after SECONDS closes the window by itself (for tests and
screenshots); the window id and ormadraft's exit status are printed.
"""

import argparse
import json
import os
import socket
import subprocess
import sys
import tempfile
import tkinter as tk

HERE = os.path.dirname(os.path.abspath(__file__))
PIPE = "ormadraft_player"


class Player:
    def __init__(self, root, program, draft, close_after):
        self.root = root
        self.program = program
        self.draft = os.path.abspath(draft)
        self.total = 0.0
        self.playing = True
        self.dragging = False
        self.connection = None
        self.process = None
        self.folder = tempfile.mkdtemp(prefix="ormadraft-player-")

        root.title("ormadraft preview - " + os.path.basename(draft))
        # The video area: ormadraft draws into this frame's X11 window.
        self.video = tk.Frame(root, width=640, height=360, bg="black")
        self.video.pack(fill=tk.BOTH, expand=True)
        bar = tk.Frame(root)
        bar.pack(fill=tk.X)
        self.button = tk.Button(bar, text="Pause", width=6, command=self.toggle)
        self.button.pack(side=tk.LEFT)
        self.position = tk.DoubleVar()
        self.slider = tk.Scale(bar, from_=0, to=100, orient=tk.HORIZONTAL, showvalue=False, sliderlength=16, troughcolor="#8a8a8a",
                               variable=self.position, resolution=0.1)
        self.slider.pack(side=tk.LEFT, fill=tk.X, expand=True)
        self.slider.bind("<ButtonPress-1>", lambda e: setattr(self, "dragging", True))
        self.slider.bind("<ButtonRelease-1>", self.seek)
        self.time = tk.Label(bar, text="0.0 / 0.0 s", width=14)
        self.time.pack(side=tk.LEFT)
        root.protocol("WM_DELETE_WINDOW", self.close)
        if close_after:
            root.after(int(close_after * 1000), self.close)
        root.update()  # the frame's window must exist before its id is handed over
        self.start()

    def start(self):
        self.listener = socket.socket(socket.AF_UNIX, socket.SOCK_SEQPACKET)
        self.listener.bind(os.path.join(self.folder, PIPE))
        self.listener.listen(1)
        self.listener.setblocking(False)
        window = "0x%x" % self.video.winfo_id()
        command = {"type": "ThemesPreview", "ver": 1, "loop": 0, "hWnd": window,
                   "pipeName": "\\\\.\\pipe\\" + PIPE}
        command_path = os.path.join(self.folder, "preview.json")
        with open(command_path, "w") as f:
            json.dump(command, f)
        environment = dict(os.environ, XDG_RUNTIME_DIR=self.folder)
        self.log = open(os.path.join(self.folder, "ormadraft.log"), "w")
        self.process = subprocess.Popen([self.program, self.draft, command_path], env=environment,
                                        stdout=self.log, stderr=subprocess.STDOUT)
        print("window", window, flush=True)
        self.root.after(50, self.accept)

    def accept(self):
        try:
            self.connection, _ = self.listener.accept()
            self.connection.settimeout(10)
            self.poll()
        except BlockingIOError:
            if self.process.poll() is None:
                self.root.after(50, self.accept)

    def exchange(self, commands):
        """Sends commands and returns the reply's (playtime, totaltime)."""
        message = {"message": [{"key": k, "value": v} for k, v in commands]}
        self.connection.send(json.dumps(message).encode())
        reply = json.loads(self.connection.recv(4096).decode())
        values = {e["key"]: float(e["value"]) for e in reply["message"]}
        return values["playtime"], values["totaltime"]

    def poll(self):
        if not self.connection:
            return
        play, self.total = self.exchange([])
        if not self.dragging and self.total > 0:
            self.position.set(100.0 * play / self.total)
        self.time.config(text="%.1f / %.1f s" % (play, self.total))
        self.root.after(200, self.poll)

    def toggle(self):
        if not self.connection:
            return
        self.playing = not self.playing
        self.exchange([("play" if self.playing else "pause", "")])
        self.button.config(text="Pause" if self.playing else "Play")

    def seek(self, _event):
        self.dragging = False
        if self.connection:
            self.exchange([("seek", str(int(self.position.get())))])

    def close(self):
        connection, self.connection = self.connection, None
        if connection:
            try:
                connection.send(json.dumps({"message": [{"key": "stop", "value": ""}]}).encode())
                connection.recv(4096)
            except OSError:
                pass
            connection.close()
        status = None
        if self.process:
            try:
                status = self.process.wait(timeout=15)
            except subprocess.TimeoutExpired:
                self.process.terminate()
                status = self.process.wait()
        self.log.close()
        with open(os.path.join(self.folder, "ormadraft.log")) as f:
            sys.stdout.write(f.read())
        print("ormadraft ended with status", status, flush=True)
        self.listener.close()
        self.root.destroy()


def main():
    parser = argparse.ArgumentParser(description="Preview a draft with ormadraft.")
    parser.add_argument("draft")
    parser.add_argument("--program", default=os.path.join(HERE, "..", "..", "build", "ormadraft"))
    parser.add_argument("--close-after", type=float, default=0)
    args = parser.parse_args()
    root = tk.Tk()
    Player(root, os.path.abspath(args.program), args.draft, args.close_after)
    root.mainloop()


if __name__ == "__main__":
    main()
