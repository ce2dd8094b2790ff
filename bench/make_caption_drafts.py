#!/usr/bin/env python3
"""Writes the captions benchmark drafts into their output folder.

  make_caption_drafts.py OUT_FOLDER MEDIA_FOLDER RESOURCES_FOLDER

Both drafts are 10 minutes of 1080p30 made of 5-second scenes alternating
between two clips with transitions. The second one also holds 500 captions
spread over the whole length, two on screen at most moments (a subtitle at
the bottom and a title at the top, each shown for two intervals): plain,
outlined, boxed, shadowed, golden word art and karaoke styles, Latin and
Chinese text, a slide-in on one in four and a looping pulse on one in six.
"""
import os
import sys

from draft_kit import alternating_scenes, draft, rect, write

out, media, resources = sys.argv[1:4]
TOTAL = float(os.environ.get("CAPTIONS_SECONDS", "600"))
COUNT = int(round(500 * TOTAL / 600))
SCENE = 5.0
CLIP_SECONDS = 30
STYLES = ["plain", "outlined", "boxed", "shadowed", "gradient", "karaoke"]
TEXTS = ["The quick brown fox jumps over the lazy dog", "字幕渲染测试，第%d行", "Line %d of the subtitles",
         "Captions stay readable on any picture"]
WHITE = {"red": 1, "green": 1, "blue": 1, "alpha": 1}
BLACK = {"red": 0, "green": 0, "blue": 0, "alpha": 1}


def caption(i):
    interval = TOTAL / COUNT
    start = i * interval
    style = STYLES[i % len(STYLES)]
    text = TEXTS[i % len(TEXTS)]
    if "%d" in text:
        text = text % (i + 1)
    word = {"text": text, "fontSize": 56, "opacity": 1, "textAlignment": 1, "textColor": WHITE,
            "showRectF": rect(0, 0, 1, 1)}
    if style == "outlined" or style == "karaoke":
        word["strokeWidth"] = 3
        word["strokeColor"] = BLACK
    if style == "boxed":
        word["background"] = {"type": "paragraph", "color": {"red": 0, "green": 0, "blue": 0, "alpha": 0.6},
                              "roundFactor": 0.3, "padding": {"cx": 20, "cy": 10}, "offset": {"cx": 0, "cy": 0}}
    if style == "gradient":
        word["flowerPath"] = os.path.join(resources, "word-art", "gold")
    if i % 4 == 1:
        word["animates"] = [{"type": 0, "duration": 0.5,
                             "folderPath": os.path.join(resources, "animations", "slide-from-bottom")}]
    elif i % 6 == 3:
        word["animates"] = [{"type": 2, "duration": 0, "cycleDuration": 1.0,
                             "folderPath": os.path.join(resources, "animations", "pulse")}]
    top = i % 2 == 1
    return {"folderPath": os.path.join(resources, "captions", style), "timelineFrom": start,
            "timelineTo": min(TOTAL, start + 2 * interval), "opacity": 1, "scale": 1, "angle": 0,
            "showRectF": rect(0.1, 0.06 if top else 0.8, 0.8, 0.14), "wordItem": [word], "pipType": 3}


def base(name):
    clips = [os.path.join(media, "1080-a.mp4"), os.path.join(media, "1080-b.mp4")]
    return draft(name, 1920, 1080,
                 alternating_scenes(TOTAL, SCENE, clips, CLIP_SECONDS, os.path.join(resources, "transitions")))


write(out, "bare_1080p_10_minutes", base("bare_1080p_10_minutes"), 1920, 1080)
full = base("captions_1080p_10_minutes")
full["pipList"] = [caption(i) for i in range(COUNT)]
write(out, "captions_1080p_10_minutes", full, 1920, 1080)
