#!/usr/bin/env python3
"""Makes the drafts the farm tests render, with their media (Debian's ffmpeg).

    make_drafts.py DIR

DIR/media: two moving test patterns with a tone each (the picture changes
every frame, so a repeated or missing frame at a join shows) and a music
track. DIR/small.json: nine scenes over 8.4 s of 320x180 at 25 fps that cut
between the clips at different trims, with a dissolve out of the sixth scene
and music over the whole timeline; DIR/small-export.json renders it to
DIR/single.mp4. DIR/batch: twenty one-scene drafts with their export
settings, and batch.list naming them; entries 6 and 13 are bad (a draft whose
clip is missing, a draft that is not JSON).
"""
import json
import subprocess
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
FPS = 25


def ff(*args):
    subprocess.run(["ffmpeg", "-v", "error", "-y", *args], check=True)


def make_media(media):
    media.mkdir(parents=True, exist_ok=True)
    if (media / ".complete").exists():
        return
    ff("-f", "lavfi", "-i", "testsrc2=s=320x180:r=25:d=6", "-f", "lavfi", "-i", "sine=f=440:d=6:sample_rate=44100",
       "-c:v", "libx264", "-g", "50", "-pix_fmt", "yuv420p", "-c:a", "aac", "-ac", "2", "-shortest",
       str(media / "pattern.mp4"))
    ff("-f", "lavfi", "-i", "testsrc=s=320x180:r=25:d=6", "-f", "lavfi", "-i", "sine=f=660:d=6:sample_rate=44100",
       "-c:v", "libx264", "-g", "50", "-pix_fmt", "yuv420p", "-c:a", "aac", "-ac", "2", "-shortest",
       str(media / "counter.mp4"))
    ff("-f", "lavfi", "-i", "sine=f=220:d=10:sample_rate=44100,volume=0.3", "-c:a", "aac", "-ac", "2",
       str(media / "music.m4a"))
    (media / ".complete").touch()


def media_item(path, start, end, trim):
    return {"path": str(path), "trimTimeStart": trim, "trimTimeEnd": trim + (end - start),
            "timelineFrom": start, "timelineTo": end, "speed": 1, "volume": 1, "alpha": 1,
            "isHorizontalMirror": 0, "isVerticalMirror": 0, "rotate": 0, "blendType": 0,
            "showRectF": {"x": 0, "y": 0, "width": 1, "height": 1},
            "cropRect": {"x": 0, "y": 0, "width": 1, "height": 1}}


def draft(scenes, music=None):
    """A draft of the given scenes: (clip, start, end, trim, transition)."""
    document = {"ver": 5, "name": "farm test", "draft": 1, "isHasEndScene": 0,
                "duration": scenes[-1][2], "size": {"width": 320, "height": 180},
                "mediaInfo": [], "scenes": [], "pipList": []}
    for index, (clip, start, end, trim, transition) in enumerate(scenes):
        document["mediaInfo"].append({"path": str(clip), "timelineFrom": start, "timelineTo": end,
                                      "replaceType": 1, "groupId": 0})
        scene = {"identifier": f"scene-{index}", "media": [media_item(clip, start, end, trim)]}
        if transition:
            scene["transition"] = {"folderPath": str(ROOT / "resources" / "transitions" / transition[0]),
                                   "duration": transition[1], "type": 0}
        document["scenes"].append(scene)
    if music:
        document["musics"] = [{"path": str(music), "timelineFrom": 0, "timelineTo": scenes[-1][2],
                               "trimTimeStart": 0, "trimTimeEnd": scenes[-1][2], "volume": 0.5, "speed": 1,
                               "isFadeInOut": 1, "fadeInDuration": 0.5, "fadeOutDuration": 1.0,
                               "name": "tone"}]
    return document


def export_settings(out):
    return {"video": {"fps": FPS, "bitrate": 2000, "encoder": "libx264"},
            "audio": {"channels": 2, "samples": 44100, "bitrate": 128}, "outUrl": str(out)}


def write(path, value):
    path.write_text(json.dumps(value, indent=2) + "\n")


def main(folder):
    folder = Path(folder).resolve()
    media = folder / "media"
    make_media(media)
    clips = [media / "pattern.mp4", media / "counter.mp4"]

    # Every cut on a frame except the one at 3.9 s (between frames 97 and 98,
    # which the export rounds to frame 98); a dissolve across the cut at 5.6 s.
    bounds = [0, 0.92, 1.84, 2.8, 3.9, 4.8, 5.6, 6.52, 7.4, 8.4]
    scenes = []
    for k in range(len(bounds) - 1):
        transition = ("dissolve", 0.4) if k == 5 else None
        scenes.append((clips[k % 2], bounds[k], bounds[k + 1], round(0.12 * k, 2), transition))
    write(folder / "small.json", draft(scenes, music=media / "music.m4a"))
    write(folder / "small-export.json", export_settings(folder / "single.mp4"))

    batch = folder / "batch"
    batch.mkdir(exist_ok=True)
    lines = ["# twenty drafts, two of them bad"]
    for k in range(20):
        name = f"draft {k:02d}"  # with a blank, as users name things
        if k == 6:
            document = draft([(media / "missing.mp4", 0, 1, 0, None)])
        else:
            document = draft([(clips[k % 2], 0, 0.6, 0.04 * k, None)])
        if k == 13:
            (batch / f"{name}.json").write_text("{ this is not a draft")
        else:
            write(batch / f"{name}.json", document)
        write(batch / f"{name} export.json", export_settings(batch / f"out-{k:02d}.mp4"))
        lines.append(f"'{name}.json' '{name} export.json'")
    (batch / "batch.list").write_text("\n".join(lines) + "\n")


if __name__ == "__main__":
    main(sys.argv[1])
