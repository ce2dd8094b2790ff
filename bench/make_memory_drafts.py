#!/usr/bin/env python3
"""Writes the memory benchmark drafts into their output folder.

  make_memory_drafts.py OUT_FOLDER MEDIA_FOLDER RESOURCES_FOLDER

Two drafts at 320x180 and 25 fps that differ only in length, 3 minutes and
30 minutes, with the same content per minute: 5-second scenes alternating
between two clips with a transition at every cut, one caption per scene
(plain and outlined in turn), a sound effect every 10 seconds and one-minute
pieces of music one after another under the whole length. Whatever the run
keeps per scene or per element for its whole length makes the long one's
peak memory grow with it.
"""
import os
import sys

from draft_kit import alternating_scenes, draft, rect, write

out, media, resources = sys.argv[1:4]
SCENE = 5.0
CLIP_SECONDS = 30
WHITE = {"red": 1, "green": 1, "blue": 1, "alpha": 1}
BLACK = {"red": 0, "green": 0, "blue": 0, "alpha": 1}


def caption(i):
    start = i * SCENE
    word = {"text": "Scene %d" % (i + 1), "fontSize": 18, "opacity": 1, "textAlignment": 1, "textColor": WHITE,
            "showRectF": rect(0, 0, 1, 1)}
    style = "outlined" if i % 2 else "plain"
    if style == "outlined":
        word["strokeWidth"] = 2
        word["strokeColor"] = BLACK
    return {"folderPath": os.path.join(resources, "captions", style), "timelineFrom": start,
            "timelineTo": start + SCENE - 0.5, "opacity": 1, "scale": 1, "angle": 0,
            "showRectF": rect(0.1, 0.78, 0.8, 0.16), "wordItem": [word]}


def memory_draft(name, total):
    clips = [os.path.join(media, "180-a.mp4"), os.path.join(media, "180-b.mp4")]
    d = draft(name, 320, 180, alternating_scenes(total, SCENE, clips, CLIP_SECONDS,
                                                 os.path.join(resources, "transitions")))
    d["subtitleExs"] = [caption(i) for i in range(int(total / SCENE))]
    d["soundEffects"] = [{"path": os.path.join(media, "knock.wav"), "timelineFrom": t, "timelineTo": t + 1,
                          "trimTimeStart": 0, "trimTimeEnd": 1, "volume": 0.8}
                         for t in range(0, int(total), 10)]
    d["musics"] = [{"path": os.path.join(media, "music.m4a"), "timelineFrom": t, "timelineTo": t + 60,
                    "trimTimeStart": 0, "trimTimeEnd": 60, "volume": 0.5} for t in range(0, int(total), 60)]
    write(out, name, d, 320, 180, fps=25)


memory_draft("memory_180p_3_minutes", 180.0)
memory_draft("memory_180p_30_minutes", 1800.0)
