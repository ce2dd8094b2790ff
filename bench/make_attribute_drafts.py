#!/usr/bin/env python3
"""Writes the media-attributes benchmark drafts into their output folder.

  make_attribute_drafts.py OUT_FOLDER MEDIA_FOLDER RESOURCES_FOLDER

Both drafts are 1080p30 scenes of 10 s, each one full-frame clip, alternating
between two clips, without transitions, so that the item is all there is to
render. In the second one every item also has every picture adjustment, a
look-up table, a feathered circle mask and a looping pulse animation, all
active on every frame.
"""
import os
import sys

from draft_kit import alternating_scenes, draft, write

out, media, resources = sys.argv[1:4]
TOTAL = float(os.environ.get("ATTRIBUTES_SECONDS", "60"))
SCENE = 10.0
CLIP_SECONDS = 30

ADJUSTMENTS = {"vignette": 0.3, "sharpness": 0.3, "saturation": 0.2, "contrast": 0.15, "brightness": 0.05,
               "whiteBalance": 0.1, "tint": 0.1, "highlight": 0.2, "shadows": 0.2, "graininess": 0.2,
               "lightSensation": 0.1, "fade": 0.1}


def styled(item):
    item.update(ADJUSTMENTS)
    item["filterPath"] = os.path.join(media, "warm.cube")
    item["filterType"] = 11
    item["filterIntensity"] = 0.8
    item["maskObject"] = {"folderPath": os.path.join(resources, "masks", "circle"),
                          "sizeF": {"width": 0.8, "height": 0.8}, "centerF": {"x": 0.5, "y": 0.5},
                          "featherStep": 0.1}
    item["customAnimations"] = [{"type": 2, "duration": 0, "cycleDuration": 2.0,
                                 "folderPath": os.path.join(resources, "animations", "pulse")}]


clips = [os.path.join(media, "1080-a.mp4"), os.path.join(media, "1080-b.mp4")]
write(out, "bare_1080p_item", draft("bare_1080p_item", 1920, 1080,
                                    alternating_scenes(TOTAL, SCENE, clips, CLIP_SECONDS)), 1920, 1080)
scenes = alternating_scenes(TOTAL, SCENE, clips, CLIP_SECONDS)
for s in scenes:
    styled(s["media"][0])
write(out, "styled_1080p_item", draft("styled_1080p_item", 1920, 1080, scenes), 1920, 1080)
