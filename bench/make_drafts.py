#!/usr/bin/env python3
"""Writes the benchmark drafts and export settings into bench/out.

  make_drafts.py OUT_FOLDER MEDIA_FOLDER TRANSITIONS_FOLDER

(a) 60 s of 1080p30 as 12 scenes of two alternating clips with transitions;
(b) the same 60 s as 200 frame-accurate short scenes cutting between them;
(c) a 10-minute 720p draft of alternating scenes with transitions.
"""
import json
import os
import sys

out, media, transitions = sys.argv[1:4]
FPS = 30
CLIP_SECONDS = 30  # length of each generated clip
KINDS = ["dissolve", "wipe-left", "push-left", "circle-open", "luma-clock", "zoom-in"]


def scene(path, start, end, trim, transition=None):
    item = {"path": path, "trimTimeStart": trim, "trimTimeEnd": trim + (end - start),
            "timelineFrom": start, "timelineTo": end, "speed": 1, "volume": 1, "alpha": 1}
    s = {"media": [item], "background": {"type": 0, "blurIntensity": 0,
                                         "color": {"red": 0, "green": 0, "blue": 0, "alpha": 0}}}
    if transition:
        s["transition"] = {"folderPath": os.path.join(transitions, transition), "duration": 1.0}
    return s


def write(name, width, height, scenes):
    draft = {"ver": 5, "name": name, "size": {"width": width, "height": height},
             "mediaInfo": [{"path": s["media"][0]["path"], "timelineFrom": s["media"][0]["timelineFrom"],
                            "timelineTo": s["media"][0]["timelineTo"], "replaceType": 1} for s in scenes],
             "scenes": scenes}
    with open(os.path.join(out, name + ".json"), "w") as f:
        json.dump(draft, f)
    settings = {"video": {"fps": FPS, "bitrate": 3000, "encoder": "libx264", "w": width, "h": height},
                "audio": {"channels": 2, "samples": 44100, "bitrate": 128},
                "outUrl": os.path.join(out, name + ".mp4")}
    with open(os.path.join(out, name + ".export.json"), "w") as f:
        json.dump(settings, f)


def alternating(prefix, total, length, with_transitions):
    scenes = []
    count = int(round(total / length))
    for k in range(count):
        clip = os.path.join(media, prefix + ("a" if k % 2 == 0 else "b") + ".mp4")
        start, end = k * length, (k + 1) * length
        trim = (k // 2 * length) % (CLIP_SECONDS - length - 1) + 0.5
        kind = KINDS[k % len(KINDS)] if with_transitions and k + 1 < count else None
        scenes.append(scene(clip, start, end, trim, kind))
    return scenes


write("a_1080p_12_scenes", 1920, 1080, alternating("1080-", 60.0, 5.0, True))

# (b): scenes of 9 frames (0.3 s) whose cuts fall on exact frames; each clip
# continues where its previous scene left it, as a two-camera edit does.
short = []
frames = 9
for k in range(200):
    clip = os.path.join(media, "1080-" + ("a" if k % 2 == 0 else "b") + ".mp4")
    start = k * frames / FPS
    end = (k + 1) * frames / FPS
    trim = (start % (CLIP_SECONDS - 1))
    short.append(scene(clip, round(start, 6), round(end, 6), round(trim, 6)))
write("b_1080p_200_scenes", 1920, 1080, short)

write("c_720p_10_minutes", 1280, 720, alternating("720-", 600.0, 5.0, True))
