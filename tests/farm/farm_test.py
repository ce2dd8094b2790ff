#!/usr/bin/env python3
"""Tests of farm/ormadraft-farm on a real one-node Slurm cluster.

CTest starts the cluster (tests/farm/slurm_cluster.sh) before these tests
and stops it after them, and passes SLURM_CONF, ORMA_BUILD (the build folder
with ormadraft and ormadraft-plan) and ORMA_FARM_WORK (a scratch folder).
Every test renders for real and decodes what it gets: a draft rendered in 1,
3 and 7 parts against the same draft rendered on one machine (frame count,
durations, every frame within 40 dB, the sound identical sample for sample,
key frames and no gap or repeated frame at the joins, and with a lossless
encoder the frame hashes of the single render), a renderer killed halfway
through its part, a part that fails twice, and a batch of twenty drafts of
which two are bad, and the batch summary's reasons and the removal of a
work folder after a success (BatchSummary, with a stand-in for the program). The drafts are made by tests/farm/make_drafts.py (nine
scenes over 8.4 s at 320x180, so a render takes a second or two here); the
demo draft is rendered once whole and once in seven parts (a transition at
every cut, so its parts start inside scenes; about 80 s here, and
ORMA_FARM_DEMO=0 leaves it out).
"""
import hashlib
import json
import os
import re
import shutil
import signal
import subprocess
import sys
import time
import unittest
from pathlib import Path

HERE = Path(__file__).resolve().parent
ROOT = HERE.parents[1]
FARM = ROOT / "farm" / "ormadraft-farm"
BUILD = Path(os.environ.get("ORMA_BUILD", ROOT / "build")).resolve()
WORK = Path(os.environ.get("ORMA_FARM_WORK", BUILD / "tests" / "farm" / "work")).resolve()
FPS = 25
SIZE = 320 * 180

sys.path.insert(0, str(HERE))
import make_drafts  # noqa: E402


def run(*command, **options):
    options.setdefault("text", True)
    return subprocess.run([str(c) for c in command], capture_output=True, **options)


def farm(*args, cwd=None):
    # Run from the scratch folder (or `cwd`), where the tasks run too.
    return run(sys.executable, FARM, *args, "--bin", BUILD, "--poll", "0.3", cwd=cwd or WORK)


def settings(name, out, encoder="libx264"):
    """An export settings file of the test drafts writing to `out`."""
    Path(out).unlink(missing_ok=True)  # from an earlier run of the tests
    value = make_drafts.export_settings(out)
    value["video"]["encoder"] = encoder
    path = WORK / name
    path.write_text(json.dumps(value))
    return path


def single_render(draft, export, cwd=None):
    done = run(BUILD / "ormadraft", draft, export, cwd=cwd or WORK)
    assert "export success!" in done.stdout, done.stdout[-2000:]


def streams(path):
    """{kind: (frames, duration)} of a file's streams, frames counted."""
    done = run("ffprobe", "-v", "error", "-count_frames", "-show_entries",
               "stream=codec_type,nb_read_frames,duration", "-of", "json", path)
    info = json.loads(done.stdout)
    return {s["codec_type"]: (int(s.get("nb_read_frames", 0)), float(s.get("duration", 0)))
            for s in info["streams"]}


def sound_digest(path):
    pcm = run("ffmpeg", "-v", "error", "-i", path, "-map", "0:a", "-f", "f32le", "-", text=False).stdout
    return hashlib.md5(pcm).hexdigest(), len(pcm)


def psnr_per_frame(a, b):
    stats = WORK / "psnr.txt"
    run("ffmpeg", "-v", "error", "-i", a, "-i", b, "-lavfi", f"[0:v][1:v]psnr=stats_file={stats}", "-f", "null", "-")
    values = []
    for line in stats.read_text().splitlines():
        found = re.search(r"psnr_avg:(\S+)", line)
        values.append(float("inf") if found.group(1) == "inf" else float(found.group(1)))
    return values


def luma_frames(path):
    raw = run("ffmpeg", "-v", "error", "-i", path, "-map", "0:v", "-f", "rawvideo", "-pix_fmt", "gray", "-",
              text=False).stdout
    return [raw[i:i + SIZE] for i in range(0, len(raw), SIZE)]


def mse(a, b):
    return sum((x - y) * (x - y) for x, y in zip(a, b)) / len(a)


def key_frames(path):
    """Indexes of the frames whose packets are key frames."""
    done = run("ffprobe", "-v", "error", "-select_streams", "v:0", "-show_entries", "packet=pts_time,flags",
               "-of", "csv=p=0", path)
    keys = set()
    for line in done.stdout.split():
        time_text, flags = line.split(",")[:2]
        if "K" in flags:
            keys.add(round(float(time_text) * FPS))
    return keys


def frame_hashes(path):
    done = run("ffmpeg", "-v", "error", "-i", path, "-map", "0:v", "-f", "framemd5", "-")
    return [line.split(",")[-1].strip() for line in done.stdout.splitlines() if not line.startswith("#")]


def cut_frames(target):
    """The first frame of every part but the first, from the render's record."""
    records = sorted(WORK.glob(f".ormadraft-farm/{Path(target).stem}-*/parts.json"),
                     key=lambda p: p.stat().st_mtime)
    ranges = json.loads(records[-1].read_text())["ranges"]
    return [round(start * FPS / 1e6) for start, _ in ranges[1:]]


class FarmTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        WORK.mkdir(parents=True, exist_ok=True)
        make_drafts.main(WORK)
        cls.draft = WORK / "small.json"
        if not (WORK / "single.mp4").exists():
            single_render(cls.draft, WORK / "small-export.json")

    def render(self, chunks, export, *more):
        done = farm("render", self.draft, export, "--chunks", str(chunks), *more)
        self.assertEqual(done.returncode, 0, done.stdout + done.stderr)
        return done.stdout


class RenderInParts(FarmTest):
    def assert_same_as_single(self, out, single):
        got, want = streams(out), streams(single)
        self.assertEqual(got["video"][0], want["video"][0], "frame count")
        self.assertAlmostEqual(got["video"][1], want["video"][1], places=3)
        self.assertAlmostEqual(got["audio"][1], want["audio"][1], places=3)
        self.assertEqual(sound_digest(out), sound_digest(single), "the sound differs")

    def test_a_draft_rendered_in_one_three_and_seven_parts_is_the_single_render(self):
        single = WORK / "single.mp4"
        single_frames = luma_frames(single)
        for chunks in (1, 3, 7):
            out = WORK / f"parts-{chunks}.mp4"
            console = self.render(chunks, settings(f"parts-{chunks}.json", out), "--keep")
            self.assertIn(f"{chunks} parts in job array", console)
            self.assertRegex(console, r"parts \d/\d+ done, sound .*, [0-9.]+%")
            self.assert_same_as_single(out, single)
            psnr = psnr_per_frame(out, single)
            self.assertEqual(len(psnr), 210)
            worst = min(range(len(psnr)), key=lambda i: psnr[i])
            self.assertGreaterEqual(psnr[worst], 40.0, f"{chunks} parts: frame {worst}")

            cuts = cut_frames(out)
            self.assertEqual(len(cuts), chunks - 1)
            self.assertNotIn(140, cuts, "a cut inside the dissolve at 5.6 s")
            self.assertLessEqual(set(cuts), key_frames(out), "a part does not start with a key frame")
            # No gap and no repeat: around every cut each frame is nearest
            # to the single render's frame of the same index, not its
            # neighbours'.
            frames = luma_frames(out)
            for cut in cuts:
                for i in range(cut - 2, cut + 2):
                    same = mse(frames[i], single_frames[i])
                    for j in (i - 1, i + 1):
                        self.assertLess(same, mse(frames[i], single_frames[j]),
                                        f"{chunks} parts: frame {i} at the cut {cut} looks like frame {j}")

    def test_lossless_parts_cut_also_inside_scenes_have_the_frame_hashes_of_the_single_render(self):
        single = WORK / "lossless-single.mkv"
        single_render(self.draft, settings("lossless-single.json", single, encoder="ffv1"))
        out = WORK / "lossless parts.mkv"
        # Twelve parts: more than the draft has plain scene cuts.
        self.render(12, settings("lossless-parts.json", out, encoder="ffv1"), "--keep")
        want, got = frame_hashes(single), frame_hashes(out)
        self.assertEqual(len(got), 210)
        cuts = cut_frames(out)
        self.assertEqual(len(cuts), 11)
        self.assertTrue(set(cuts) - {23, 46, 70, 98, 120, 163, 185}, "no part starts inside a scene")
        # The dissolve at 5.6 s renders frames 135 to 144; two more are kept clear.
        self.assertFalse(any(133 < c < 147 for c in cuts), f"a part starts in or next to the dissolve: {cuts}")
        for cut in cuts:
            self.assertEqual(got[cut - 3:cut + 3], want[cut - 3:cut + 3], f"frames around the cut at {cut}")
        self.assertEqual(got, want)
        self.assertEqual(sound_digest(out), sound_digest(single))

    def test_the_settings_range_is_rendered_in_parts_like_its_single_render(self):
        def ranged(name, out):
            path = settings(name, out)
            value = json.loads(path.read_text())
            value["time"] = {"start": 1.5, "end": 6.2}  # inside scenes, around the dissolve
            path.write_text(json.dumps(value))
            return path

        single = WORK / "range-single.mp4"
        single_render(self.draft, ranged("range-single.json", single))
        out = WORK / "range-parts.mp4"
        self.render(3, ranged("range-parts.json", out))
        self.assertEqual(streams(single)["video"][0], 117)  # 1.5 s is frame 37.5, rounded to 38; 6.2 s is 155
        self.assert_same_as_single(out, single)
        self.assertGreaterEqual(min(psnr_per_frame(out, single)), 40.0)

    def test_a_successful_render_removes_its_work_folder_unless_keep_is_given(self):
        out = WORK / "tidy.mp4"
        console = self.render(2, settings("tidy.json", out))
        work = Path(re.search(r"^farm: work folder (.+)$", console, re.M).group(1))
        self.assert_same_as_single(out, WORK / "single.mp4")
        self.assertFalse(work.exists(), f"the work folder {work} is left: {console}")
        self.assertEqual(list((WORK / ".ormadraft-farm").glob("tidy-*")), [])

        console = self.render(2, settings("tidy.json", out), "--keep")
        work = Path(re.search(r"^farm: work folder (.+)$", console, re.M).group(1))
        self.assertIn(f"work folder kept: {work}", console)
        self.assertTrue((work / "parts.json").is_file())
        self.assertEqual(len(list((work / "run").glob("part-*.mp4"))), 2)
        shutil.rmtree(work)

    def test_no_wait_prints_the_job_ids_and_the_join_places_the_video(self):
        out = WORK / "no-wait.mp4"
        done = farm("render", self.draft, settings("no-wait.json", out), "--chunks", "2", "--no-wait")
        self.assertEqual(done.returncode, 0, done.stdout + done.stderr)
        ids = dict(line.split(" ", 1) for line in done.stdout.splitlines())
        for job in ("parts", "sound", "join"):
            self.assertRegex(ids[job], r"^\d+$")
        work = Path(ids["work"])
        for _ in range(600):
            if (work / "status" / "join-0.done").exists():
                break
            time.sleep(0.2)
        self.assert_same_as_single(out, WORK / "single.mp4")
        self.assertEqual(list(out.parent.glob(f".{out.name}.farm-*")), [], "a temporary file of the join is left")


class Failures(FarmTest):
    def test_a_renderer_killed_while_running_is_requeued_and_the_result_is_right(self):
        out = WORK / "killed.mp4"
        work = WORK / "killed work"
        command = [sys.executable, str(FARM), "render", str(self.draft), str(settings("killed.json", out)),
                   "--chunks", "2", "--bin", str(BUILD), "--poll", "0.3", "--work", str(work), "--keep"]
        shutil.rmtree(work, ignore_errors=True)
        process = subprocess.Popen(command, cwd=WORK, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
        pid_file = work / "run" / "part-1.pid"
        deadline = time.monotonic() + 120
        while not pid_file.exists() and time.monotonic() < deadline:
            time.sleep(0.005)
        time.sleep(0.005)  # the task writes the number right after starting the renderer
        pid = int(pid_file.read_text())
        # Once the task's shell has become the renderer (starting up takes
        # the renderer far longer than these looks), it is frozen, checked
        # to be the second part's renderer, and killed.
        command_line = []
        while not (command_line and command_line[0].endswith(b"/ormadraft")) and time.monotonic() < deadline:
            command_line = Path(f"/proc/{pid}/cmdline").read_bytes().split(b"\0")
        os.kill(pid, signal.SIGSTOP)
        command_line = Path(f"/proc/{pid}/cmdline").read_bytes().split(b"\0")
        os.kill(pid, signal.SIGKILL)  # before any check: a frozen task would hold its job forever
        self.assertTrue(command_line[0].endswith(b"/ormadraft"), command_line)
        self.assertIn(os.fsencode(str(work / "args" / "part-1.json")), command_line)
        console, _ = process.communicate(timeout=300)
        self.assertEqual(process.returncode, 0, console)
        self.assertNotIn("export success!", (work / "logs" / "part-1.log").read_text().split("attempt 2")[0])
        log = (work / "logs" / "part-1.log").read_text()
        self.assertIn("part-1 failed; requeued for a second attempt", log)
        self.assertIn("== part-1 attempt 2", log)
        single = WORK / "single.mp4"
        self.assertEqual(streams(out)["video"][0], 210)
        self.assertEqual(sound_digest(out), sound_digest(single))
        self.assertGreaterEqual(min(psnr_per_frame(out, single)), 40.0)

    def test_a_part_that_fails_twice_fails_the_whole_and_names_its_log(self):
        document = json.loads(self.draft.read_text())
        document["scenes"][2]["media"][0]["path"] = str(WORK / "media" / "gone.mp4")
        broken = WORK / "broken.json"
        broken.write_text(json.dumps(document))
        out = WORK / "broken.mp4"
        done = farm("render", broken, settings("broken-export.json", out), "--chunks", "3")
        self.assertEqual(done.returncode, 1, done.stdout)
        # Every part builds the whole timeline, so each fails; the first
        # failure seen is reported with its log.
        self.assertRegex(done.stdout, r"(part \d \([0-9.]+ s to [0-9a-z. ]+\)|the sound) failed twice; "
                                      r"log: .*/logs/(part-\d|sound-0)\.log")
        self.assertIn("last line: ", done.stdout)
        self.assertIn("nothing was written to", done.stdout)
        self.assertFalse(out.exists())
        self.assertEqual(list(WORK.glob(".broken.mp4.farm-*")), [])


class Batch(FarmTest):
    def test_a_batch_of_twenty_with_two_bad_drafts_reports_eighteen_done_and_names_the_two(self):
        listing = WORK / "batch" / "batch.list"
        done = farm("batch", listing, cwd=WORK / "batch")
        self.assertEqual(done.returncode, 1, done.stdout)
        self.assertIn("18 done, 2 failed", done.stdout)
        rows = {m.group(1): m.group(0) for m in re.finditer(r"^\s*(\d+)\s+'draft.*$", done.stdout, re.M)}
        self.assertEqual(len(rows), 20, done.stdout)
        for bad in ("6", "13"):
            self.assertIn(f"draft {int(bad):02d}.json", rows[bad])
            self.assertRegex(rows[bad], r"\sfailed\s")
        self.assertIn("export failed, errorcode:", rows["6"])
        self.assertIn("json load fail", rows["13"])
        for k in range(20):
            produced = (WORK / "batch" / f"out-{k:02d}.mp4").exists()
            self.assertEqual(produced, k not in (6, 13), f"entry {k}")
            if k not in (6, 13):
                self.assertRegex(rows[str(k)], r"\sdone\b")
        self.assertEqual(streams(WORK / "batch" / "out-00.mp4")["video"][0], 15)


STAND_IN = """#!/usr/bin/env bash
# A stand-in for ormadraft in a batch: its one argument names what it does.
case $(basename "$1") in
  good*) echo "[00:00:00/Jan  1 2026 - 1] -- export success! time:0.1(s)" ;;
  bad*) echo "[00:00:00/Jan  1 2026 - 1] -- export failed, errorcode:-1735"
        echo "a warning before the reason" >&2
        echo "export failed: Scene media path is null: $1 names /srv/gone.mp4" >&2 ;;
  *) echo "[00:00:00/Jan  1 2026 - 1] -- json load fail" ;;
esac
exit 1
"""


class BatchSummary(unittest.TestCase):
    """The batch's own bookkeeping, with a stand-in for the program that
    prints a result line on standard output and its reason on standard
    error, as the program does."""

    def setUp(self):
        self.folder = WORK / "summary"
        shutil.rmtree(self.folder, ignore_errors=True)
        (self.folder / "bin").mkdir(parents=True)
        program = self.folder / "bin" / "ormadraft"
        program.write_text(STAND_IN)
        program.chmod(0o755)

    def batch(self, names, *more):
        listing = self.folder / "list"
        listing.write_text("".join(f"{name}.json\n" for name in names))
        return run(sys.executable, FARM, "batch", listing, "--bin", self.folder / "bin", "--poll", "0.3", *more,
                   cwd=self.folder)

    def test_the_summary_gives_each_failed_entry_its_result_line_and_its_reason_from_standard_error(self):
        done = self.batch(["good-1", "bad-1", "other-1"])
        self.assertEqual(done.returncode, 1, done.stdout + done.stderr)
        rows = {m.group(1): m.group(0) for m in re.finditer(r"^\s*(\d+)\s+\S+\.json.*$", done.stdout, re.M)}
        self.assertRegex(rows["1"], r"\sfailed\s+\[.*\] -- export failed, errorcode:-1735: export failed: "
                                    r"Scene media path is null: .*bad-1\.json names /srv/gone\.mp4$")
        self.assertRegex(rows["2"], r"\sfailed\s+\[.*\] -- json load fail$")
        self.assertRegex(rows["0"], r"\sdone$")
        work = Path(re.search(r"work folder (.+)$", done.stdout, re.M).group(1))
        self.assertIn(f"logs in {work / 'logs'}", done.stdout)
        self.assertTrue(work.is_dir(), "a batch that failed keeps its logs")
        self.assertIn("== standard error", (work / "logs" / "entry-1.log").read_text())

    def test_a_batch_that_succeeded_removes_its_work_folder_unless_keep_is_given(self):
        done = self.batch(["good-1", "good-2"])
        self.assertEqual(done.returncode, 0, done.stdout + done.stderr)
        work = Path(re.search(r"work folder (.+)$", done.stdout, re.M).group(1))
        self.assertFalse(work.exists(), done.stdout)
        self.assertFalse((self.folder / ".ormadraft-farm").exists(), "the empty .ormadraft-farm folder is left")
        self.assertRegex(done.stdout, r"(?m)^2 done, 0 failed$")

        done = self.batch(["good-1"], "--keep")
        self.assertEqual(done.returncode, 0, done.stdout + done.stderr)
        work = Path(re.search(r"work folder (.+)$", done.stdout, re.M).group(1))
        self.assertTrue((work / "logs" / "entry-0.log").is_file(), done.stdout)
        self.assertIn(f"work folder kept: {work}", done.stdout)


@unittest.skipIf(os.environ.get("ORMA_FARM_DEMO") == "0", "ORMA_FARM_DEMO=0 leaves the demo out")
class Demo(unittest.TestCase):
    def test_the_demo_in_seven_parts_cut_inside_its_scenes_is_the_single_render(self):
        WORK.mkdir(parents=True, exist_ok=True)
        demo = ROOT / "examples" / "demo"
        settings_json = json.loads((demo / "export.json").read_text())
        for name in ("single", "parts"):
            settings_json["outUrl"] = str(WORK / f"demo-{name}.mp4")
            (WORK / f"demo-{name}.json").write_text(json.dumps(settings_json))
        # The demo's media are made once per checkout (scripts/demo-media.sh
        # waits for another test making them). Run from the repository, as
        # scripts/demo.sh runs it: the farm's tasks run where it is started.
        subprocess.run(["bash", str(ROOT / "scripts" / "demo-media.sh")], check=True,
                       stdout=subprocess.DEVNULL)
        single_render(demo / "draft.json", WORK / "demo-single.json", cwd=ROOT)
        done = farm("render", demo / "draft.json", WORK / "demo-parts.json", "--chunks", "7", cwd=ROOT)
        self.assertEqual(done.returncode, 0, done.stdout)
        # Every cut of the demo carries a transition: the parts start inside
        # scenes, clear of the transitions.
        self.assertIn("7 parts in job array", done.stdout)
        out, single = WORK / "demo-parts.mp4", WORK / "demo-single.mp4"
        self.assertEqual(streams(out)["video"][0], streams(single)["video"][0])
        self.assertEqual(sound_digest(out), sound_digest(single))
        self.assertGreaterEqual(min(psnr_per_frame(out, single)), 40.0)


if __name__ == "__main__":
    unittest.main()
