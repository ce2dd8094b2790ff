#!/usr/bin/env python3
"""Tests of the farm that need no cluster.

Plan: how ormadraft-farm splits a timeline (only between scenes that no
transition joins, nearest to an even split, fewer parts when the draft has
too few plain cuts, within the export settings' own range) and how its range
arguments come back through the program's conversion; ormadraft-plan on the
test draft. KubernetesManifest: farm/kubernetes/render-jobs.json, filled in as
its header says, has the shape the split-and-join needs, and a prepared work
folder (render --prepare, the dry run) holds everything its commands name.
"""
import importlib.machinery
import importlib.util
import json
import os
import string
import subprocess
import sys
import unittest
from pathlib import Path

HERE = Path(__file__).resolve().parent
ROOT = HERE.parents[1]
BUILD = Path(os.environ.get("ORMA_BUILD", ROOT / "build")).resolve()
WORK = Path(os.environ.get("ORMA_FARM_WORK", BUILD / "tests" / "farm" / "work")).resolve() / "units"

sys.path.insert(0, str(HERE))
import make_drafts  # noqa: E402


def load_farm():
    loader = importlib.machinery.SourceFileLoader("ormadraft_farm", str(ROOT / "farm" / "ormadraft-farm"))
    module_spec = importlib.util.spec_from_loader("ormadraft_farm", loader)
    module = importlib.util.module_from_spec(module_spec)
    loader.exec_module(module)
    return module


farm = load_farm()


def plan(bounds, transitions=(), start=0, end=0):
    """A plan of scenes meeting at `bounds` (seconds); `transitions` are the
    indexes of the scenes a transition leads out of."""
    us = [round(b * 1e6) for b in bounds]
    scenes = [{"start": a, "end": b, "transition": i in transitions} for i, (a, b) in enumerate(zip(us, us[1:]))]
    return {"start": start, "end": end, "fps": 25, "scenes": scenes}



# Kubernetes keeps an object's desired state (a Job's, its pod template's)
# under one key of its API.
DESIRED_STATE = "spec"


def desired(obj):
    return obj[DESIRED_STATE]


def pod_of(job):
    return desired(desired(job)["template"])

class Plan(unittest.TestCase):
    def test_one_part_is_the_whole_timeline(self):
        self.assertEqual(farm.split_ranges(plan([0, 1, 2, 3]), 1), [(0, 0)])

    def test_parts_are_cut_at_the_scene_cuts_nearest_an_even_split(self):
        ranges = farm.split_ranges(plan([0, 1, 2, 3, 4, 5, 6]), 3)
        self.assertEqual(ranges, [(0, 2000000), (2000000, 4000000), (4000000, 0)])

    def test_a_cut_joined_by_a_transition_is_never_taken(self):
        # The even split lies on the cut at 2 s, which a transition joins.
        ranges = farm.split_ranges(plan([0, 1, 2, 3, 4], transitions={1}), 2, inside_scenes=False)
        self.assertEqual(ranges, [(0, 1000000), (1000000, 0)])
        # Inside the scenes, the part starts two frames before the
        # transition (of no length here) instead.
        self.assertEqual(farm.split_ranges(plan([0, 1, 2, 3, 4], transitions={1}), 2),
                         [(0, 1920000), (1920000, 0)])

    def test_too_few_plain_cuts_give_fewer_parts_when_only_scene_cuts_are_taken(self):
        ranges = farm.split_ranges(plan([0, 1, 2, 3, 4], transitions={0, 2}), 7, inside_scenes=False)
        self.assertEqual(ranges, [(0, 2000000), (2000000, 0)])

    def test_without_a_scene_cut_nearby_a_part_starts_inside_a_scene(self):
        # Two long scenes: the even split of three lies inside them.
        ranges = farm.split_ranges(plan([0, 6, 12]), 3)
        self.assertEqual(ranges, [(0, 4000000), (4000000, 8000000), (8000000, 0)])
        # A scene cut within a quarter of a part is still preferred.
        self.assertEqual(farm.split_ranges(plan([0, 3.5, 12]), 3)[0], (0, 3500000))

    def test_a_cut_inside_scenes_keeps_clear_of_transitions(self):
        # A one-second transition across the cut at 4 s covers 3.5 to 4.5 s;
        # with two frames to spare the split point 4 s moves to 3.42 s.
        p = plan([0, 4, 8], transitions={0})
        p["scenes"][0]["transitionUs"] = 1000000
        ranges = farm.split_ranges(p, 2)
        self.assertEqual(ranges, [(0, 3420000), (3420000, 0)])
        for start, _ in ranges[1:]:
            self.assertFalse(3500000 - 80000 < start < 4500000 + 80000)

    def test_the_settings_range_bounds_the_parts(self):
        ranges = farm.split_ranges(plan([0, 1, 2, 3, 4, 5, 6], start=1500000, end=5900000), 2)
        self.assertEqual(ranges, [(1500000, 4000000), (4000000, 5900000)])

    def test_a_gap_between_scenes_is_no_cut(self):
        p = plan([0, 1, 2, 3])
        p["scenes"][2]["start"] += 40000  # the third scene starts a frame late
        self.assertEqual(farm.split_ranges(p, 3, inside_scenes=False), [(0, 1000000), (1000000, 0)])

    def test_range_arguments_come_back_as_the_same_microseconds(self):
        # The program reads "seconds" with atof, multiplies by 1,000,000 and
        # truncates toward zero.
        for us in list(range(0, 3000000, 10007)) + [290000, 4100000, 8399999, 35999999, 3600000000]:
            self.assertEqual(int(float(farm.seconds_arg(us)) * 1000000.0), us, us)

    def test_the_plan_of_the_test_draft_lays_out_its_scenes_and_transition(self):
        WORK.mkdir(parents=True, exist_ok=True)
        make_drafts.main(WORK)
        out = WORK / "plan.json"
        done = subprocess.run([str(BUILD / "ormadraft-plan"), str(WORK / "small.json"),
                               str(WORK / "small-export.json"), str(out)], capture_output=True, text=True)
        self.assertEqual(done.returncode, 0, done.stderr)
        result = json.loads(out.read_text())
        self.assertEqual(result["fps"], 25)
        self.assertEqual([s["end"] for s in result["scenes"]],
                         [920000, 1840000, 2800000, 3900000, 4800000, 5600000, 6520000, 7400000, 8400000])
        self.assertEqual([i for i, s in enumerate(result["scenes"]) if s["transition"]], [5])
        self.assertEqual(list(WORK.glob("small_*.json")), [], "the working copy of the draft is left behind")

    def test_the_plan_of_a_missing_draft_fails_with_its_name(self):
        done = subprocess.run([str(BUILD / "ormadraft-plan"), "no such draft.json", "e.json", "p.json"],
                              capture_output=True, text=True, cwd=BUILD)
        self.assertEqual(done.returncode, 1)
        self.assertIn("the draft no such draft.json cannot be loaded", done.stderr)


class KubernetesManifest(unittest.TestCase):
    def setUp(self):
        WORK.mkdir(parents=True, exist_ok=True)
        make_drafts.main(WORK)
        self.work = WORK / "k8s work"
        settings = make_drafts.export_settings(WORK / "k8s.mp4")
        (WORK / "k8s-export.json").write_text(json.dumps(settings))
        done = subprocess.run([sys.executable, str(ROOT / "farm" / "ormadraft-farm"), "render",
                               str(WORK / "small.json"), str(WORK / "k8s-export.json"), "--chunks", "4",
                               "--prepare", "--bin", str(BUILD), "--work", str(self.work)],
                              capture_output=True, text=True)
        self.assertEqual(done.returncode, 0, done.stdout + done.stderr)
        self.parts = int(dict(l.split(" ", 1) for l in done.stdout.splitlines())["parts"])
        text = (ROOT / "farm" / "kubernetes" / "render-jobs.json").read_text()
        filled = string.Template(text).safe_substitute(WORK=str(self.work), PARTS=str(self.parts),
                                                       NAME="test-1", IMAGE="ormadraft:test")
        self.assertNotRegex(filled, r"\$\{(WORK|PARTS|NAME|IMAGE)\}")
        manifest = json.loads(filled)
        self.assertEqual(manifest["kind"], "List")
        self.jobs = {d["metadata"]["name"]: d for d in manifest["items"]}

    def test_the_manifest_is_an_indexed_parts_job_a_sound_job_and_a_waiting_join(self):
        self.assertEqual(set(self.jobs), {"ormadraft-parts-test-1", "ormadraft-sound-test-1", "ormadraft-join-test-1"})
        for job in self.jobs.values():
            self.assertEqual((job["apiVersion"], job["kind"]), ("batch/v1", "Job"))
            pod = pod_of(job)
            self.assertEqual(pod["restartPolicy"], "Never")
            claims = {v["name"]: v["persistentVolumeClaim"]["claimName"] for v in pod["volumes"]}
            for container in pod["containers"] + pod.get("initContainers", []):
                self.assertEqual(container["workingDir"], str(self.work))
                mounts = {m["name"]: m["mountPath"] for m in container["volumeMounts"]}
                self.assertEqual(claims[next(iter(mounts))], "ormadraft-shared")
        parts = desired(self.jobs["ormadraft-parts-test-1"])
        self.assertEqual(parts["completionMode"], "Indexed")
        self.assertEqual(parts["completions"], self.parts)
        self.assertEqual(parts["parallelism"], self.parts)
        self.assertEqual(parts["backoffLimitPerIndex"], 1)
        container = desired(parts["template"])["containers"][0]
        self.assertEqual(container["command"], ["bash", f"{self.work}/farm-task.sh", "part", str(self.work)])
        index = {e["name"]: e["valueFrom"]["fieldRef"]["fieldPath"] for e in container["env"]}
        self.assertEqual(index["SLURM_ARRAY_TASK_ID"],
                         "metadata.annotations['batch.kubernetes.io/job-completion-index']")
        sound = pod_of(self.jobs["ormadraft-sound-test-1"])["containers"][0]
        self.assertEqual(sound["command"][-2:], ["sound", str(self.work)])
        join = pod_of(self.jobs["ormadraft-join-test-1"])
        self.assertEqual(join["containers"][0]["command"][-2:], ["join", str(self.work)])
        wait = join["initContainers"][0]["command"][-1]
        self.assertIn(f"-ge {self.parts} ]", wait)
        self.assertIn("status/sound-0.done", wait)

    def test_the_prepared_work_folder_holds_what_the_jobs_run(self):
        self.assertTrue((self.work / "farm-task.sh").is_file())
        for index in range(self.parts):
            args = (self.work / "args" / f"part-{index}").read_bytes().split(b"\0")[:-1]
            self.assertTrue(args[0].endswith(b"/ormadraft"))
            self.assertEqual(json.loads((self.work / "args" / f"part-{index}.json").read_text())["streams"], "video")
        self.assertTrue((self.work / "args" / "sound-0").is_file())
        join = (self.work / "args" / "join-0").read_bytes().split(b"\0")[:-1]
        self.assertEqual(join[0], os.fsencode(str(WORK / "k8s.mp4")))
        self.assertEqual(len(join), 2 + self.parts)
        self.assertEqual(list((self.work / "status").iterdir()), [], "a prepared render ran something")


if __name__ == "__main__":
    unittest.main()
