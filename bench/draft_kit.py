"""Pieces shared by the benchmark draft writers."""
import json
import os

TRANSITION_KINDS = ["dissolve", "wipe-left", "push-left", "circle-open", "luma-clock", "zoom-in"]
BLACK = {"type": 0, "blurIntensity": 0, "color": {"red": 0, "green": 0, "blue": 0, "alpha": 0}}


def rect(x, y, w, h):
    return {"x": x, "y": y, "width": w, "height": h}


def alternating_scenes(total, scene, clips, clip_seconds, transitions=None):
    """Scenes of `scene` seconds over `total` seconds, alternating between the
    clips, each scene trimmed further into its clip; a 1-second transition at
    every cut when a transitions folder is given."""
    result = []
    count = int(round(total / scene))
    for k in range(count):
        start, end = k * scene, (k + 1) * scene
        trim = (k // len(clips) * scene) % (clip_seconds - scene - 1) + 0.5
        item = {"path": clips[k % len(clips)], "trimTimeStart": trim, "trimTimeEnd": trim + scene,
                "timelineFrom": start, "timelineTo": end, "speed": 1, "volume": 1, "alpha": 1,
                "showRectF": rect(0, 0, 1, 1), "cropRect": rect(0, 0, 1, 1)}
        s = {"media": [item], "background": BLACK}
        if transitions and k + 1 < count:
            s["transition"] = {"folderPath": os.path.join(transitions, TRANSITION_KINDS[k % len(TRANSITION_KINDS)]),
                               "duration": 1.0}
        result.append(s)
    return result


def draft(name, width, height, scenes):
    return {"ver": 5, "name": name, "size": {"width": width, "height": height},
            "mediaInfo": [{"path": x["media"][0]["path"], "timelineFrom": x["media"][0]["timelineFrom"],
                           "timelineTo": x["media"][0]["timelineTo"], "replaceType": 1} for x in scenes],
            "scenes": scenes}


def write(out, name, document, width, height, fps=30):
    """Writes OUT/NAME.json and its export settings OUT/NAME.export.json."""
    with open(os.path.join(out, name + ".json"), "w") as f:
        json.dump(document, f)
    settings = {"video": {"fps": fps, "bitrate": 3000, "encoder": "libx264", "w": width, "h": height},
                "audio": {"channels": 2, "samples": 44100, "bitrate": 128},
                "outUrl": os.path.join(out, name + ".mp4")}
    with open(os.path.join(out, name + ".export.json"), "w") as f:
        json.dump(settings, f)
