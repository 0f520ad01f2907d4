"""The report's page as text: what it escapes, what it may reach, and which numbers it holds."""

import doctest
import html.parser
import importlib
import json
import math
import os
import pkgutil
import re
import stat
import subprocess
import sys

import camera_parameters as cp
import camera_parameters._report
import numpy as np
import pytest
from camera_parameters._report import contours, lens, markup, numbers, scene
from camera_parameters.report import make_report

from calibrations import BASE, HEAD, PTZ, SOURCE

HOSTILE = "</script><img src=x onerror=alert(1)>\u202e\U0001f916\"'&"


class Reader(html.parser.HTMLParser):
    """Reads a page back: elements with their attributes, and the rows of tables."""

    def __init__(self, page):
        super().__init__()
        self.elements, self.tables, self.data = [], {}, {}
        self._table = self._cell = self._script = None
        self.feed(page)

    def handle_starttag(self, tag, attributes):
        attributes = dict(attributes)
        self.elements.append((tag, attributes))
        if tag == "table":
            self._table = self.tables.setdefault(attributes.get("id"), [])
        elif tag == "tr" and self._table is not None:
            self._table.append([])
        elif tag in ("td", "th"):
            self._table[-1].append(attributes.get("data-v", ""))
            self._cell = attributes
        elif tag == "script":
            self._script = attributes.get("id")

    def handle_data(self, data):
        if self._script:
            self.data[self._script] = data
        elif self._cell is not None and "data-v" not in self._cell:
            self._table[-1][-1] += data

    def handle_endtag(self, tag):
        if tag in ("td", "th"):
            self._cell = None
        elif tag == "table":
            self._table = None
        elif tag == "script":
            self._script = None


@pytest.fixture(scope="module")
def head_page():
    return make_report(HEAD)


@pytest.mark.parametrize("path", [HEAD, BASE, PTZ])
def test_a_page_is_small_and_reaches_nothing_outside(path):
    page = make_report(path)
    assert len(page.encode()) < 500_000
    assert set(re.findall(r"\w+://[^\s\"'<)]*", page)) <= {"http://www.w3.org/2000/svg"}
    policy = re.search(r'Content-Security-Policy" content="([^"]*)"', page)[1]
    assert policy.startswith("default-src 'none'; ") and "unsafe" not in policy and "*" not in policy
    assert not re.search(r"\s(style|on\w+)=", re.sub(r"<script>.*?</script>|<style>.*?</style>", "", page, flags=re.S))
    assert not [attributes for tag, attributes in Reader(page).elements if "src" in attributes
                or tag in ("img", "link", "iframe", "object") or not attributes.get("href", "#").startswith("#")]


def test_ids_are_unique_and_links_lead_to_them(head_page):
    import urllib.parse
    for page in (head_page, make_report(PTZ), make_report(BASE), make_report(HEAD, HEAD)):
        elements = Reader(page).elements
        ids = [attributes["id"] for _tag, attributes in elements if "id" in attributes]
        assert len(ids) == len(set(ids))
        for _tag, attributes in elements:
            if "href" in attributes:
                assert urllib.parse.unquote(attributes["href"][1:]) in ids


def test_tables_hold_all_digits_of_the_library(head_page):
    tables = Reader(head_page).tables
    camera = cp.CameraParametersSet.from_file(HEAD)["navigation_camera"]
    k = camera.intrinsics(1280, 720)
    assert tables["camera-1-matrix"][3] == ["1280 \u00d7 720", *(str(np.float32(v)) for v in (
        k.fx, k.fy, k.skew, k.cx, k.cy))]
    shown = np.array(tables["camera-1-distortion"][1][1:], float)
    assert np.array_equal(shown.astype(np.float32), k.distortion)
    pose = np.array([row[1:] for row in tables["camera-1-pose"]], float)
    assert np.array_equal(pose.astype(np.float32), camera.pose.camera_from_robot)
    centre = np.array(tables["camera-1-centre"][1][1:], float)
    assert np.array_equal(centre.astype(np.float32), camera.pose.center)


def test_the_table_of_sizes_has_the_fields_of_view_of_the_library(head_page):
    tables = Reader(head_page).tables
    cameras = cp.CameraParametersSet.from_file(HEAD)
    for index, name in enumerate(cameras.names):
        for size, row in zip(cameras[name].sizes, tables[f"camera-{index}-sizes"][1:]):
            fields = cameras[name].view(*size).fields_of_view
            assert row[0] == f"{size[0]}x{size[1]}"
            assert [float(v) for v in row[1:4]] == [math.degrees(angle) for angle in (
                fields.horizontal, fields.vertical, fields.diagonal)]
    # The sizes of the navigation camera are cut out of these rectangles, docs/models_and_sizes.md.
    places = [[float(v) for v in row[4].split()] for row in tables["camera-1-sizes"][1:]]
    assert np.allclose(places, [(0, 0, 1280, 960), (0, 0, 1280, 960), (0, 120, 1280, 840)], atol=1e-4)


def test_the_scene_has_the_cameras_rays(head_page):
    data = json.loads(Reader(head_page).data["scene-data"])
    cameras = cp.CameraParametersSet.from_file(HEAD)
    lines = re.findall(r'<path class="(\w+)[^"]*" d="[^"]*" data-line="(\d+)">', head_page)
    frusta = [np.array(data["lines"][int(index)]["points"]) for kind, index in lines if kind == "frustum"]
    assert len(frusta) == 2
    for camera, border in zip((cameras[name] for name in cameras), frusta):
        centre = np.asarray(camera.pose.center, float)
        corners = border[::scene.POINTS_PER_SIDE]
        rays = corners - centre
        # All as long as each other; the angle between opposite corners is the field of view, and the
        # library sees them in the corners of the picture.
        assert np.allclose(np.linalg.norm(rays, axis=1), np.linalg.norm(rays[0]))
        a, b = rays[0], rays[2]
        angle = math.atan2(np.linalg.norm(np.cross(a, b)), a @ b)
        assert math.isclose(angle, camera.view(1280, 960).fields_of_view.diagonal, abs_tol=2e-6)
        pixels = camera.project(corners, 1280, 960)
        assert np.allclose(pixels, [(0, 0), (1280, 0), (1280, 960), (0, 960)], atol=2e-3)


def test_names_cannot_act():
    message = cp.CameraParametersSet.from_file(HEAD).to_dict()
    message["camera_calibration"] = message["camera_calibration"][1:]
    message["camera_calibration"][0].update(name=HOSTILE, model=HOSTILE)
    page = make_report(cp.CameraParametersSet.from_dict(message))
    assert "<img" not in page and page.count("</script>") == page.count("<script") == 2
    names = [data for data in Reader(page).tables["overview"][1]]
    assert names[:2] == [HOSTILE, HOSTILE]


def test_a_name_that_is_no_text_is_no_obstacle():
    data = cp.CameraParametersSet.from_file(HEAD).to_bytes()
    cameras = cp.CameraParametersSet.from_bytes(data.replace(b"navigation_camera", b"navigation_\xff\xfeamer"))
    page = make_report(cameras)
    page.encode("utf-8")
    assert "navigation_" in page and "2 cameras" in page


def test_script_data_cannot_end_its_element():
    text = markup.script_data({"a": "</script><!--&"})
    assert not set("<>&") & set(text) and json.loads(text) == {"a": "</script><!--&"}
    with pytest.raises(ValueError):
        markup.script_data([math.nan])


def test_text_that_no_page_can_hold_is_replaced():
    assert markup.escape("a\x00\x1b\ud800b") == "a\ufffd\ufffd\ufffdb"
    assert markup.escape(markup.element("b", "<")) == "<b>&lt;</b>"


@pytest.mark.parametrize("value", [0.1, 1 / 3, 5e-324, 1.7e308, np.float32(0.1), np.float32(1e-45)])
def test_full_numbers_read_back_to_the_same_bits(value):
    assert type(value)(numbers.full(value)) == value


def test_a_fold_is_where_the_radius_is_largest_and_a_pole_where_the_denominator_ends():
    generator = np.random.default_rng(14)
    folds = poles = 0
    for _ in range(300):
        distortion = generator.normal(0, 0.3, 8)
        end = lens.lens_end(distortion)
        r = np.linspace(0, min(end.fold, end.pole, 3.0), 2000)[:-1]
        image = lens.distort(np.where([0, 0, 1, 1, 0, 0, 0, 0], 0, distortion), np.stack([r, 0 * r], axis=-1))[:, 0]
        assert np.all(np.diff(image) > 0)
        if end.fold < 3:
            folds += 1
            beyond = lens.distort(np.where([0, 0, 1, 1, 0, 0, 0, 0], 0, distortion), [end.fold * 1.001, 0])[0]
            assert beyond < end.fold_image and math.isclose(image[-1], end.fold_image, rel_tol=1e-5)
        if end.pole < 3:
            poles += 1
            k4, k5, k6 = distortion[5:]
            s = end.pole**2
            assert abs(1 + k4 * s + k5 * s**2 + k6 * s**3) < 1e-6 * (1 + abs(k6) * s**3 + abs(k5) * s**2)
    assert folds > 50 and poles > 20


def test_fold_and_pole_agree_with_the_librarys_radius():
    # Without tangential terms the valid radius is the nearer of the two.
    k = [[600, 0, 320], [0, 600, 240], [0, 0, 1]]
    for distortion in ([-0.3, 0.05, 0, 0, 0, 0, 0, 0], [-0.2, 0, 0, 0, 0, 0.1, 0.02, 0], [0.2, 0, 0, 0, 0, -0.4, 0, 0]):
        end = lens.lens_end(np.float32(distortion))
        view = cp.CameraView(640, 480, k, np.float32(distortion))
        assert math.isclose(min(end.fold, end.pole), view.valid_radius, rel_tol=1e-9)


def test_contours_lie_on_a_circle():
    y, x = np.mgrid[-20:21, -20:21] / 10.0
    pieces = np.array(contours.contour(np.hypot(x, y), 1.5)) / 10.0 - 2.0
    radii = np.hypot(pieces[..., 0], pieces[..., 1])
    # Linear between grid points a tenth apart: the error is h^2 / 8 r, 0.0009.
    assert len(pieces) > 80 and np.abs(radii - 1.5).max() < 1.2e-3
    assert contours.contour(np.full((3, 3), math.nan), 1) == []


def test_paths_and_objects_give_the_same_page():
    for kind, path in ((cp.CameraParametersSet, HEAD), (cp.PTZCameraModel, PTZ), (cp.BaseCalibrationData, BASE)):
        of_path, of_object = make_report(path), make_report(kind.from_file(path))
        cut = of_path.index("<nav")
        assert of_object[of_object.index("<nav"):] == of_path[cut:]
    with pytest.raises(TypeError, match="expected a path, bytes, a dict or an object that holds a calibration, got int"):
        make_report(3)


def test_findings_link_to_the_field():
    message = cp.CameraParametersSet.from_file(HEAD).to_dict()
    message["camera_calibration"][1]["intrinsics"]["radial"][0] = -3.0
    message["camera_calibration"][1]["intrinsics"]["skew"] = 2.0
    page = make_report(cp.CameraParametersSet.from_dict(message))
    assert 'href="#field-camera_calibration%5B1%5D.intrinsics.skew"' in page
    assert 'id="field-camera_calibration[1].intrinsics.skew"' in page
    assert "lens-fold" in page and "no findings" not in page


# ---- the command

def run(*arguments, **options):
    return subprocess.run([sys.executable, "-m", "camera_parameters.report", *map(str, arguments)],
                          capture_output=True, text=True, **options)


def test_the_command_writes_the_page(tmp_path):
    page = tmp_path / "report.html"
    result = run(HEAD, "-o", page)
    assert (result.returncode, result.stdout, result.stderr) == (0, "", "")
    assert page.read_text(encoding="utf-8") == make_report(HEAD)
    assert [entry.name for entry in tmp_path.iterdir()] == ["report.html"]
    assert run(HEAD, "-o", "-").stdout == make_report(HEAD)


def test_a_written_page_has_the_rights_of_a_new_file(tmp_path):
    page = tmp_path / "report.html"
    assert run(BASE, "-o", page, preexec_fn=lambda: os.umask(0o027)).returncode == 0
    assert stat.S_IMODE(page.stat().st_mode) == 0o640


def test_a_page_that_is_replaced_keeps_its_rights_and_the_links_to_it(tmp_path):
    page, link = tmp_path / "report.html", tmp_path / "link.html"
    page.write_text("before")
    page.chmod(0o604)
    link.symlink_to("report.html")
    assert run(BASE, "-o", link).returncode == 0
    assert link.is_symlink() and page.read_text(encoding="utf-8") == make_report(BASE)
    assert stat.S_IMODE(page.stat().st_mode) == 0o604


def test_what_is_no_file_is_not_replaced(tmp_path):
    pipe = tmp_path / "pipe"
    os.mkfifo(pipe)
    result = run(BASE, "-o", pipe)
    assert (result.returncode, result.stderr) == (
        1, f"camera-parameters: {pipe}: cannot be written: not a regular file\n")
    assert stat.S_ISFIFO(pipe.stat().st_mode) and len(list(tmp_path.iterdir())) == 1


def test_a_calibration_that_is_read_is_not_written_over(tmp_path):
    contents = HEAD.read_bytes()
    old, new, link, hard = (tmp_path / name for name in ("old.txt", "new.txt", "link.txt", "hard.txt"))
    old.write_bytes(contents)
    new.write_bytes(contents)
    link.symlink_to(new)
    os.link(new, hard)
    for output in (new, link, hard, tmp_path / "." / "new.txt"):
        for words in ((new,), (old, new), ("default", new)):
            result = run(*words, "-o", output)
            assert result.returncode == 2
            assert result.stderr.startswith(f"camera-parameters: --output is the file that is read as {new}\n")
    with open(new, "rb") as file:
        assert run("-", "-o", new, stdin=file).returncode == 2
    assert new.read_bytes() == contents and link.is_symlink() and len(list(tmp_path.iterdir())) == 4


def test_bad_input_is_one_line_and_leaves_the_page_as_it_was(tmp_path):
    bad, page = tmp_path / "bad.txt", tmp_path / "report.html"
    bad.write_text("camera_calibration {\n  name: 3\n}\n")
    page.write_text("before")
    result = run(bad, "-o", page)
    assert result.returncode == 1 and result.stdout == ""
    assert re.fullmatch(rf"camera-parameters: {bad}:2:9: camera_calibration\[0\].name: [^\n]+\n", result.stderr)
    assert page.read_text() == "before"
    missing = run(tmp_path / "none\n\x1b.txt", "-o", page)
    assert missing.returncode == 1
    assert missing.stderr == f"camera-parameters: {tmp_path}/none\\n\\x1b.txt: there is no such file\n"


def test_a_page_that_cannot_be_written_is_an_error(tmp_path):
    result = run(BASE, "-o", tmp_path / "none" / "report.html")
    assert result.returncode == 1
    assert result.stderr == (f"camera-parameters: {tmp_path}/none/report.html: cannot be written: "
                             "No such file or directory\n")
    (tmp_path / "folder").mkdir()
    assert run(BASE, "-o", tmp_path / "folder").stderr.endswith(": not a regular file\n")
    assert [entry.name for entry in tmp_path.iterdir()] == ["folder"]
    with open("/dev/full", "w") as full:
        result = subprocess.run([sys.executable, "-m", "camera_parameters.report", str(BASE), "-o", "-"], stdout=full,
                                stderr=subprocess.PIPE, text=True)
    assert (result.returncode, result.stderr) == (
        1, "camera-parameters: cannot write to standard output\n")


@pytest.mark.parametrize("arguments", [[], ["a"], ["a", "b", "c", "-o", "x"], ["a", "-o"], ["a", "--what", "-o", "x"]])
def test_wrong_usage_has_status_2(arguments):
    result = run(*arguments)
    assert result.returncode == 2 and result.stdout == ""
    assert result.stderr.startswith("camera-parameters: ") and result.stderr.count("\n") == 2


def test_standard_input_and_the_compiled_in_default_have_their_names(tmp_path):
    page = run("-", "-o", "-", input=HEAD.read_text()).stdout
    assert page[page.index("<nav"):] == make_report(HEAD)[make_report(HEAD).index("<nav"):]
    assert "compiled-in" in run("default", "-o", "-").stdout
    assert "The base" in run("default", BASE, "-o", "-").stdout  # the default is of the other's kind


# ---- the parts

def test_examples_in_the_parts_are_true(monkeypatch):
    monkeypatch.chdir(SOURCE)
    modules = [importlib.import_module(f"camera_parameters._report.{module.name}")
               for module in pkgutil.iter_modules(camera_parameters._report.__path__)]
    results = [doctest.testmod(module) for module in modules]
    assert sum(result.failed for result in results) == 0
    assert sum(result.attempted for result in results) > 40


def test_reports_take_what_reviews_take():
    cameras = cp.CameraParametersSet()
    for source in [cameras.to_bytes(), bytearray(cameras.to_bytes()), memoryview(cameras.to_bytes()), cameras.to_dict(),
                   cameras.to_text().encode(), json.dumps(cameras.to_dict()).encode()]:
        page = make_report(source)
        assert "head_camera" in page and "navigation_camera" in page
    page = make_report(cameras["head_camera"])
    assert "head_camera" in page and "navigation_camera" not in page
    with pytest.raises(TypeError, match="^expected a path, bytes, a dict or an object that holds a calibration, got int"):
        make_report(3)


def test_objects_of_different_kinds_are_told_apart():
    with pytest.raises(cp.CalibrationError) as caught:
        make_report(cp.CameraParametersSet(), cp.BaseCalibrationData())
    assert caught.value.text == "second is of a mobile base, first of fixed cameras"
