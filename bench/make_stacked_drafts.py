#!/usr/bin/env python3
"""Writes the stacked-elements benchmark drafts into their output folder.

  make_stacked_drafts.py OUT_FOLDER MEDIA_FOLDER TRANSITIONS_FOLDER

Both drafts are 10 minutes of 720p30 made of 5-second scenes alternating
between two clips with transitions. The second one also holds, spread over
the whole length:
  - 300 overlays of 1.5 s (two in three a picture, one in three a clip),
    each on a quarter of the canvas, stacked by level;
  - 300 sound effects of 1 s (some sped up, some with a voice effect);
  - 100 timeline effects of 3 s: mosaic, blur and delogo regions, tonings
    and look-up filters;
  - a logo over the whole video.
"""
import os
import sys

from draft_kit import alternating_scenes, draft, rect, write

out, media, transitions = sys.argv[1:4]
TOTAL = float(os.environ.get("STACKED_SECONDS", "600"))  # shorter for a trial run
SCENE = 5.0
CLIP_SECONDS = 30


def overlays():
    result = []
    corners = [(0.05, 0.05), (0.55, 0.05), (0.05, 0.55), (0.55, 0.55)]
    for i in range(300):
        start = i * TOTAL / 300
        x, y = corners[i % 4]
        clip = i % 3 == 2
        item = {"path": os.path.join(media, "overlay.mp4" if clip else "overlay.png"),
                "trimTimeStart": 0, "trimTimeEnd": 1.5, "speed": 1, "volume": 0, "alpha": 0.9,
                "showRectF": rect(x, y, 0.4, 0.4), "cropRect": rect(0, 0, 1, 1)}
        result.append({"timelineFrom": start, "timelineTo": start + min(1.5, TOTAL / 400), "identifier": "o%d" % i, "media": item})
    return result


def sound_effects():
    result = []
    names = ["chirp.wav", "knock.wav", "bell.mp3"]
    for i in range(300):
        start = i * TOTAL / 300 + TOTAL / 600
        effect = {"path": os.path.join(media, names[i % 3]), "timelineFrom": start, "timelineTo": start + 1.0,
                  "trimTimeStart": 0, "trimTimeEnd": 1.0, "volume": 0.8, "speed": 1,
                  "fadeInDuration": 0.05, "fadeOutDuration": 0.2}
        if i % 5 == 1:
            effect["speed"] = 1.5
            effect["trimTimeEnd"] = 1.0
        if i % 7 == 3:
            effect["audioFilterType"] = 3  # a pitch change
        result.append(effect)
    return result


def effects():
    mosaics, tonings, filters = [], [], []
    for i in range(100):
        start = i * TOTAL / 100 + TOTAL / 1200
        end = start + TOTAL / 200
        kind = i % 5
        if kind < 3:
            points = [{"x": 0.3, "y": 0.3}, {"x": 0.6, "y": 0.3}, {"x": 0.6, "y": 0.6}, {"x": 0.3, "y": 0.6}]
            mosaics.append({"timelineFrom": start, "timelineTo": end, "intensity": 0.5, "type": kind,
                            "pointsArray": points})
        elif kind == 3:
            tonings.append({"timelineFrom": start, "timelineTo": end, "brightness": 0.1, "saturation": 0.2,
                            "contrast": 0.1, "vignette": 0.3, "whiteBalance": 0.1})
        else:
            filters.append({"timelineFrom": start, "timelineTo": end, "lookUpFilterIntensity": 0.8,
                            "lookUpFilterPath": os.path.join(media, "warm.cube"), "name": "warm"})
    return mosaics, tonings, filters


def base(name):
    clips = [os.path.join(media, "720-a.mp4"), os.path.join(media, "720-b.mp4")]
    return draft(name, 1280, 720, alternating_scenes(TOTAL, SCENE, clips, CLIP_SECONDS, transitions))


write(out, "bare_720p_10_minutes", base("bare_720p_10_minutes"), 1280, 720)
full = base("stacked_720p_10_minutes")
full["overlays"] = overlays()
full["soundEffects"] = sound_effects()
full["mosaics"], full["tonings"], full["customFilters"] = effects()
full["logoOverlay"] = {"path": os.path.join(media, "logo.png"), "alpha": 0.8,
                       "showRectF": rect(0.85, 0.04, 0.12, 0.08), "cropRect": rect(0, 0, 1, 1)}
write(out, "stacked_720p_10_minutes", full, 1280, 720)
