#!/usr/bin/env python3
"""Writes the benchmark drafts and export settings into bench/out.

  make_drafts.py OUT_FOLDER MEDIA_FOLDER TRANSITIONS_FOLDER

(a) 60 s of 1080p30 as 12 scenes of two alternating clips with transitions;
(b) the same 60 s as 200 frame-accurate short scenes cutting between them;
(c) a 10-minute 720p draft of alternating scenes with transitions;
(d) its first minute, to see that time and memory follow the length.
"""
import os
import sys

from draft_kit import BLACK, alternating_scenes, draft, write

out, media, transitions = sys.argv[1:4]
FPS = 30
CLIP_SECONDS = 30  # length of each generated clip


def scene(path, start, end, trim):
    item = {"path": path, "trimTimeStart": trim, "trimTimeEnd": trim + (end - start),
            "timelineFrom": start, "timelineTo": end, "speed": 1, "volume": 1, "alpha": 1}
    return {"media": [item], "background": BLACK}


def alternating(prefix, total):
    clips = [os.path.join(media, prefix + "a.mp4"), os.path.join(media, prefix + "b.mp4")]
    return alternating_scenes(total, 5.0, clips, CLIP_SECONDS, transitions)


write(out, "a_1080p_12_scenes", draft("a_1080p_12_scenes", 1920, 1080, alternating("1080-", 60.0)), 1920, 1080)

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
write(out, "b_1080p_200_scenes", draft("b_1080p_200_scenes", 1920, 1080, short), 1920, 1080)

write(out, "c_720p_10_minutes", draft("c_720p_10_minutes", 1280, 720, alternating("720-", 600.0)), 1280, 720)
write(out, "d_720p_1_minute", draft("d_720p_1_minute", 1280, 720, alternating("720-", 60.0)), 1280, 720)
