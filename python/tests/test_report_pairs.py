"""The report of two calibrations: both are reviewed and drawn, and each section says whose it is."""

import re

import camera_parameters as cp
import numpy as np
import pytest
from camera_parameters._report import scene
from camera_parameters.report import make_report

from calibrations import BASE, HEAD, PTZ


def folded():
    """A calibration whose navigation camera has moved and folds inside of its picture."""
    message = cp.CameraParametersSet.from_file(HEAD).to_dict()
    camera = message["camera_calibration"][1]
    camera["intrinsics"].update(radial=[-0.5, 0, 0, 0, 0, 0])
    camera["extrinsics"]["a"][3] += 6.0
    return cp.CameraParametersSet.from_dict(message)


@pytest.fixture(scope="module")
def page(tmp_path_factory):
    path = tmp_path_factory.mktemp("new") / "new.txt"
    folded().save(path)
    return make_report(HEAD, path)


def summaries(page):
    return [re.sub(r"<[^>]*>", " ", line).split() for line in re.findall(r'<p class="summary">.*?</p>', page)]


def test_both_calibrations_are_reviewed(page):
    first, second = summaries(page)
    assert (first[0], first[-2:]) == ("default_head_cal.txt", ["no", "findings"])
    assert (second[0], second[-2:]) == ("new.txt", ["1", "error"])
    findings = re.search(r'<section id="second-findings">.*?</section>', page, re.S)[0]
    assert "lens-fold" in findings
    assert 'href="#second-field-camera_calibration%5B1%5D.intrinsics.radial"' in page
    assert 'id="second-field-camera_calibration[1].intrinsics.radial"' in page


def test_each_section_says_whose_it_is(page):
    headings = re.findall(r"<h2>(.*?)</h2>", page)
    whose = [re.sub(r"<[^>]*>", "", heading) for heading in headings]
    assert whose == ["On the robot in default_head_cal.txt", "head_camera in default_head_cal.txt",
                     "navigation_camera in default_head_cal.txt", "navigation_camera in new.txt", "Differences",
                     "Findings in default_head_cal.txt", "Findings in new.txt", "Stored fields in default_head_cal.txt",
                     "Stored fields in new.txt"]
    assert "class=\"whose\"" not in make_report(HEAD)


def test_files_of_one_name_are_told_apart(tmp_path):
    for folder in ("old", "new"):
        (tmp_path / folder).mkdir()
        (tmp_path / folder / "base.txt").write_bytes(BASE.read_bytes())
    page = make_report(tmp_path / "old" / "base.txt", tmp_path / "new" / "base.txt")
    assert [summary[:2] for summary in summaries(page)] == [["base.txt", "(first)"], ["base.txt", "(second)"]]


def test_what_the_second_moves_is_drawn_dashed():
    message = cp.CameraParametersSet.from_file(HEAD).to_dict()
    message["camera_calibration"][1]["extrinsics"]["a"][3] += 6.0
    second = cp.CameraParametersSet.from_dict(message)
    page = make_report(HEAD, second)
    assert re.findall(r'<path class="frustum([^"]*)"', page) == [" c0", " c1", " second c1"]
    names = second.names
    drawn, changed = (scene.of_set(cameras, names, names) for cameras in (cp.CameraParametersSet.from_file(HEAD), second))
    scene.add_second(drawn, changed, "second")
    dashed = [line.points for line in drawn.lines if line.kind == "side second"]
    # The sides of a pyramid begin at the centre; those of the camera that stays are not drawn twice.
    assert len(dashed) == 4
    assert all(np.allclose(points[0], second["navigation_camera"].pose.center) for points in dashed)
    assert "second" not in [line.kind for line in drawn.lines if line.camera == 0]


def test_a_camera_that_only_the_second_has_is_drawn_and_named():
    message = cp.CameraParametersSet.from_file(HEAD).to_dict()
    del message["camera_calibration"][1]
    page = make_report(cp.CameraParametersSet.from_dict(message), HEAD)
    labels = re.findall(r'<text class="camera-name c(\d)"[^>]*>([^<]*)<', page)
    assert labels == [("0", "head_camera"), ("1", "navigation_camera")]
    assert 'id="added-camera-0"' in page


def test_changes_come_first_and_files_have_their_names(page):
    differences = page[page.index("<h2>Differences</h2>"):page.index("Stored fields that differ")]
    assert differences.index("<h3><bdi>navigation_camera") < differences.index(
        "<bdi>head_camera</bdi></strong>: unchanged")
    assert "diff-1" not in differences and "in place" not in differences
    words = re.sub(r"<[^>]*>", "", differences)
    assert "no ray in default_head_cal.txt, or not seen by new.txt" in words  # the key of the grey cells
    fields = re.sub(r"<[^>]*>", " ", page[page.index('id="changed-fields"'):page.index("<footer>")])
    assert "default_head_cal.txt" in fields and not re.search(r"\b(first|second)\b", fields)
    sound = make_report(HEAD, cp.CameraParametersSet.from_file(HEAD))
    assert "or not seen by" not in sound and sound.count(": unchanged") == 2


def test_a_head_that_changes_is_drawn_dashed():
    message = cp.PTZCameraModel.from_file(PTZ).to_dict()
    message["pan_tilt"]["base_to_pan"]["a"][3] += 50.0
    page = make_report(PTZ, cp.PTZCameraModel.from_dict(message))
    assert '<path class="joint second"' in page and '<path class="joint second"' not in make_report(PTZ, PTZ)
    assert "Reach<span" in page
