#!/usr/bin/env python3
"""Usage: json_schema_test.py TOOL ROOT

Holds what TOOL prints with --json to the schema in ROOT/docs/json, and the schema to ROOT/docs/json.md.
"""

import json
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest

import jsonschema

TOOL = sys.argv[1]
ROOT = pathlib.Path(sys.argv[2])
SCHEMA = json.loads((ROOT / "docs/json/camera-parameters.schema.json").read_text(encoding="utf-8"))
PAGE = (ROOT / "docs/json.md").read_text(encoding="utf-8")
CAMERAS = (ROOT / "calibration/default_head_cal.txt").read_text(encoding="utf-8")
BASE = (ROOT / "calibration/default_base_cal.txt").read_text(encoding="utf-8")
HEAD = (ROOT / "calibration/example_ptz_cal.txt").read_text(encoding="utf-8")

# One camera that loads, to be edited.
PLAIN = """camera_calibration {
  intrinsics {
    fx: 1000 fy: 1000 cx: 640 cy: 480 width: 1280 height: 960
    radial: [0, 0, 0, 0, 0, 0]
    tangential: [0, 0]
  }
  extrinsics { a: [1, 0, 0, 1000, 0, 1, 0, 0, 0, 0, 1, 0] }
  name: "lab"
}
"""


def run(*words):
    return subprocess.run([TOOL, *map(str, words)], capture_output=True, check=False)


def validator_of(kind):
    return jsonschema.Draft202012Validator({**SCHEMA, "oneOf": [{"$ref": f"#/$defs/{kind}"}]})


class JsonSchema(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.TemporaryDirectory()
        self.addCleanup(self.folder.cleanup)
        self.cameras = self.write("cameras.txt", CAMERAS)
        self.base = self.write("base.txt", BASE)
        self.head = self.write("head.txt", HEAD)

    def path(self, name):
        return pathlib.Path(self.folder.name) / name

    def write(self, name, contents):
        data = contents if isinstance(contents, bytes) else contents.encode()
        self.path(name).write_bytes(data)
        return self.path(name)

    def document(self, kind, status, *words):
        """What the tool prints, which is of that kind, and which the schema would refuse with a key more or less."""
        result = run(*words, "--json")
        self.assertEqual((result.returncode, result.stderr), (status, b""), words)
        self.assertTrue(result.stdout.isascii())
        document = json.loads(result.stdout, parse_constant=self.fail)
        validator = validator_of(kind)
        validator.validate(document)
        jsonschema.Draft202012Validator(SCHEMA).validate(document)
        self.assertFalse(validator.is_valid({**document, "unheard_of": 1}))
        for key in document:
            self.assertFalse(validator.is_valid({k: v for k, v in document.items() if k != key}), key)
        return document

    def expect_no_document(self, status, *words):
        result = run(*words, "--json")
        self.assertEqual((result.returncode, result.stdout), (status, b""), words)
        self.assertNotEqual(result.stderr, b"")

    def test_schema_is_one(self):
        jsonschema.Draft202012Validator.check_schema(SCHEMA)

    def test_show(self):
        self.assertEqual(len(self.document("show_cameras", 0, "show")["cameras"]), 2)
        self.document("show_cameras", 0, "show", self.cameras, "--camera", "head_camera", "--size", "320x200")
        self.document("show_ptz", 0, "show", self.head)
        self.document("show_base", 0, "show", self.base)

    def test_show_of_what_is_missing_or_absurd(self):
        for value in ("nan", "inf", "-1e300", "0"):
            for field in ("fx", "cx"):
                path = self.write("absurd.txt", re.sub(rf"\b{field}: \d+", f"{field}: {value}", PLAIN))
                self.document("show_cameras", 0, "show", path)
        self.document("show_cameras", 0, "show", self.write("empty.txt", ""))
        self.document("show_cameras", 0, "show", self.write("name.txt", PLAIN.replace('"lab"', r'"\033\377\342\200\256"')))
        self.document("show_cameras", 0, "show", self.write("size.txt", PLAIN.replace("width: 1280", "width: 0")))
        pose = "global_transform_adjustment { global_transform { a: [nan, 0, 0, 0, 0, 1, 0, inf, 0, 0, 1, 0] } }"
        base = self.document("show_base", 0, "show", self.write("bare.txt", pose))
        self.assertIsNone(base["global_transform_metadata"])
        self.assertIsNone(base["world_translation"][1])
        for field in ("max_pan", "min_tilt", "image_width", "zoom_interval"):
            path = self.write("bare.txt", re.sub(rf"\b{field}: -?\d+", "", HEAD))
            self.document("show_ptz", 0, "show", path)

    def test_aim(self):
        for question in (["--pixel", "400,300"], ["--point", "3,1,1.5"], ["--box", "300,200,700,500"]):
            self.assertTrue(self.document("aim", 0, "aim", self.head, "--at", "500,200,2500", *question)["reached"])

    def test_aim_that_does_not_reach(self):
        behind = self.document("aim", 3, "aim", self.head, "--at", "500,200,2500", "--point", "0.3,0,-40")
        self.assertFalse(behind["reached"])
        blind = self.document("aim", 3, "aim", self.head, "--at", "500,200,2500", "--box", "500,400,530,420")
        self.assertFalse(blind["reached"])

    def test_aim_at_a_distance(self):
        at = ["aim", self.head, "--at", "500,200,2500"]
        for question in (["--pixel", "400,300", "--distance", "12"], ["--point", "3,1,1.5", "--radius", "0.2", "--fill", "0.5"],
                         ["--point", "3,1,1.5", "--strict", "--all"], ["--point", "3,1,1.5", "--point", "4,1,1.5"]):
            found = self.document("aim_search", 0, *at, *question)
            self.assertTrue(found["reached"])
            self.assertEqual(found["alternatives"] is None, "--all" not in question)
        held = self.document("aim_search", 3, *at, "--box", "500,400,503,402", "--distance", "5", "--strict")
        self.assertEqual((held["zoom_bound"], held["reason"]), ("highest", "limited"))
        parts = self.document("aim_search", 3, *at, "--point", "5,0,0", "--point=-3,5.196,0", "--point=-3,-5.196,0")
        self.assertEqual((parts["whole"], parts["reason"]), (False, "not-whole"))
        blind = self.document("aim_search", 3, "aim", self.head, "--at", "0,0,11000", "--pixel", "1,1", "--distance", "3",
                              "--all")
        self.assertEqual((blind["pan"], blind["reason"], blind["alternatives"]), (None, "no-present-lens", []))

    def test_aim_with_a_track(self):
        track = self.write("track.txt", "3,1,1.5\n17,3,1,1.6\n1e2 0.3 0 -40\nnonsense\n")
        result = run("aim", self.head, "--at", "0,0,0", "--track", track, "--json")
        self.assertEqual(result.returncode, 1)
        answers = [json.loads(line, parse_constant=self.fail) for line in result.stdout.splitlines()]
        self.assertEqual([answer["line"] for answer in answers], [1, 2, 3, 4])
        self.assertEqual([answer["time"] for answer in answers], [None, 17, 100, None])
        self.assertEqual(answers[3]["reason"], "bad-line")
        for answer in answers:
            validator_of("aim_track").validate(answer)
            jsonschema.Draft202012Validator(SCHEMA).validate(answer)
            for key in answer:
                self.assertFalse(validator_of("aim_track").is_valid({k: v for k, v in answer.items() if k != key}), key)

    def adjust(self, path, *words, output="moved.txt"):
        return ["adjust", path, "--base", self.base, "--output", self.path(output), *words]

    def test_adjust(self):
        first = self.document("adjust", 0, *self.adjust(self.cameras))
        self.assertEqual((first["written"], first["objection"], first["backup"]), (True, None, None))
        self.assertNotEqual(first["cameras"][0]["center_on_robot"], first["cameras"][0]["center_on_robot_before"])
        moved = self.path("moved.txt")
        self.assertEqual(len(self.document("show_cameras", 0, "show", moved)["cameras"][0]["adjusted_by"]), 1)
        again = self.document("adjust", 1, *self.adjust(moved))
        self.assertFalse(again["written"])
        self.assertTrue(again["cameras"][1]["moved_before"])
        twice = self.document("adjust", 0, *self.adjust(moved, "--again", "--backup", "--binary"))
        self.assertEqual((twice["format"], twice["backup"]), ("binary", f"{moved}.bak"))

    def test_adjust_with_findings(self):
        bad = self.write("bad.txt", PLAIN.replace("fx: 1000", "fx: -1000"))
        refused = self.document("adjust", 1, *self.adjust(bad))
        self.assertIn("focal", {finding["check"] for finding in refused["findings"]})
        self.document("adjust", 0, *self.adjust(bad, "--force"))
        self.base = self.write("base.txt", re.sub(r"a: \[0.99\d+", "a: [nan", BASE))
        refused = self.document("adjust", 1, *self.adjust(self.cameras))
        self.assertEqual(refused["cameras"][0]["center_on_robot"], [None] * 3)
        self.document("adjust", 0, *self.adjust(self.cameras, "--force"))

    def test_validate(self):
        fine = self.document("validate", 0, "validate", self.cameras, self.base, self.head)
        self.assertEqual([file["kind"] for file in fine["files"]], ["robot", "base", "ptz"])
        self.assertEqual({finding["severity"] for finding in fine["findings"]}, {"info"})
        broken = self.write("broken.txt", "camera_calibration {")
        bad = self.write("bad.txt", PLAIN.replace("fx: 1000", "fx: nan") + PLAIN)
        pose = self.write("pose.txt", PLAIN.replace("1, 0, 0, 1000", "1, 1, 0, 3e38"))
        found = self.document("validate", 1, "validate", broken, bad, pose, self.path("missing"), "default")
        self.assertEqual([file["kind"] for file in found["files"]], [None, "robot", "robot", None, "robot"])
        self.assertEqual({"error", "warning"}, {finding["severity"] for finding in found["findings"]})
        self.document("validate", 0, "validate", self.write("info.txt", PLAIN.replace("1000, 0, 1", "0, 0, 1")))

    def test_diff(self):
        shifted = self.write("shifted.txt", CAMERAS.replace("cx: 640", "cx: 645") + PLAIN)
        cameras = self.document("diff_cameras", 0, "diff", "default", shifted)
        self.assertEqual((len(cameras["cameras"]), cameras["only_in_b"]), (2, ["lab"]))
        self.assertIsNone(cameras["cameras"][0]["images"][0]["on_robot"][0]["distance"])
        self.assertGreater(len(self.document("diff_cameras", 3, "diff", shifted, "default", "--fail-above", "1")["exceeded"]), 1)
        ptz = self.document("diff_ptz", 0, "diff", self.head, self.head)
        self.assertEqual(ptz["zooms"][0]["image"]["rotated"]["max"], 0)
        self.document("diff_ptz", 0, "diff", self.head,
                      self.write("size.txt", re.sub(r"\bimage_width: \d+", "image_width: 9", HEAD)))
        bare = self.write("bare.txt", re.sub(r"\bwheel_base: \S+", "", BASE))
        self.assertIsNone(self.document("diff_base", 0, "diff", "default", bare)["wheel_base"]["b"])

    def test_diff_of_what_is_absurd(self):
        for value in ("nan", "inf", "-1e300", "0"):
            for field in ("fx", "cx", "width"):
                if field == "width" and value != "0":
                    continue
                path = self.write("absurd.txt", re.sub(rf"\b{field}: \d+", f"{field}: {value}", PLAIN))
                self.document("diff_cameras", 0, "diff", path, self.write("plain.txt", PLAIN))
        pose = self.write("pose.txt", PLAIN.replace("1, 0, 0, 1000", "nan, 0, 0, inf"))
        found = self.document("diff_cameras", 0, "diff", self.write("plain.txt", PLAIN), pose)
        self.assertEqual(found["cameras"][0]["pose"]["movement"], [None] * 3)

    def test_view(self):
        head = self.document("view", 0, "view", "--camera", "head_camera", "--size", "640x480", "--resized", "320x240")
        self.assertEqual((head["delivered"], head["position"]), (False, None))
        self.assertIsNone(self.document("view", 0, "view", self.head, "--at", "0,0,2500")["camera"])
        fold = self.write("fold.txt", PLAIN.replace("radial: [0,", "radial: [-0.9,"))
        self.assertIsNone(self.document("view", 3, "view", fold, "--alpha", "1")["straightened"])

    def test_view_of_what_is_absurd(self):
        for value in ("nan", "inf", "-1e300", "0"):
            for field in ("fx", "cx"):
                path = self.write("absurd.txt", re.sub(rf"\b{field}: \d+", f"{field}: {value}", PLAIN))
                status = 3 if (field, value) != ("cx", "0") else 0
                view = self.document("view", status, "view", path)
                shown = json.loads(run("show", path, "--json").stdout)
                self.assertEqual((view["errors"], view["warnings"]), (shown["errors"], shown["warnings"]))
        self.document("view", 3, "view", self.write("lens.txt", PLAIN.replace("radial: [0,", "radial: [nan,")))
        self.document("view", 0, "view", self.write("pose.txt", PLAIN.replace("1, 0, 0, 1000", "nan, 0, 0, inf")))

    def test_what_convert_prints_is_read(self):
        for path in (self.cameras, self.base, self.head):
            converted = self.write("converted.json", run("convert", path, "--json").stdout)
            json.loads(converted.read_text(encoding="ascii"))
            self.assertEqual(run("convert", converted, "--binary", "-o", "-").stdout,
                             run("convert", path, "--binary", "-o", "-").stdout)
            fine = self.document("validate", 0, "validate", converted)
            self.assertEqual(fine["files"][0]["format"], "json")
        self.write("cameras.json", run("convert", self.cameras, "--json").stdout)
        self.assertEqual(self.document("adjust", 0, *self.adjust(self.path("cameras.json")))["format"], "text")

    def test_checks_are_explained(self):
        page = (ROOT / "docs/checks.md").read_text(encoding="utf-8")
        ids = set(re.findall(r"^\| `([a-z-]+)` \| (?:error|warning|info)", page, re.MULTILINE))
        self.assertGreater(len(ids), 40)
        for check in ids:
            self.assertEqual(self.document("explain", 0, "validate", "--explain", check)["check"], check)

    def test_no_document_from_what_does_not_load(self):
        broken = self.write("broken.txt", "camera_calibration {")
        empty = self.write("empty.txt", "")
        missing = self.path("missing")
        for path in (broken, missing, self.write("noise", bytes(range(256)))):
            self.expect_no_document(1, "show", path)
        for path in (broken, missing, empty, self.cameras):
            self.expect_no_document(1, "aim", path, "--at", "0,0,0", "--pixel", "1,1")
        for path in (broken, missing, empty, self.base):
            self.expect_no_document(1, *self.adjust(path))
        self.expect_no_document(1, *self.adjust(self.cameras, output="missing/moved.txt"))
        for path in (broken, missing, empty, self.base):
            self.expect_no_document(1, "diff", self.cameras, path)
        for path in (broken, missing, empty, self.base):
            self.expect_no_document(1, "view", path)
        for words in (["diff", self.cameras], ["view", "--alpha", "2"], ["view"], ["view", self.head], ["show", "--size", "1"], ["aim", self.head], ["adjust", self.cameras], ["shwo"]):
            self.expect_no_document(2, *words)

    def test_page_names_the_keys(self):
        """Those of the schema, and no others, each where its document is described."""
        sections = dict(re.findall(r"^## (\w[\w ]*)$(.*?)(?=^## |\Z)", PAGE, re.MULTILINE | re.DOTALL))
        for title, kinds in KINDS_OF_SECTIONS.items():
            rows = re.findall(r"^\| (`[^|]*) \|", sections[title], re.MULTILINE)
            named = {re.split(r"[.\]]+", key)[-1] for row in rows for key in re.findall(r"`([^`]+)`", row)}
            self.assertEqual(named, set().union(*(keys_of(SCHEMA["$defs"][kind]) for kind in kinds)), title)


# Which parts of the schema a chapter of the page describes.
KINDS_OF_SECTIONS = {
    "show": ("show_cameras", "show_ptz", "show_base", "metadata"),
    "aim": ("aim", "aim_position", "aim_search", "aim_track"),
    "adjust": ("adjust",),
    "validate": ("validate", "explain"),
    "diff": ("diff_cameras", "diff_ptz", "diff_base", "pixel_difference", "distance_difference", "image_intrinsics",
             "image_difference", "pose_difference", "value_change"),
    "view": ("view", "straightened_view"),
    "A finding": ("finding",),
}


def keys_of(schema):
    """The names of all properties in a schema, those of what it refers to left out."""
    if isinstance(schema, list):
        return set().union(*map(keys_of, schema))
    if not isinstance(schema, dict):
        return set()
    return set(schema.get("properties", ())) | keys_of(list(schema.values()))


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
