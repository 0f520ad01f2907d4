"""What notebooks show: well-formed, escaped, small, without scripts and other resources."""

import html.parser
import re

import camera_parameters as cp
import numpy as np
import pytest

from calibrations import BASE, HEAD, PTZ

NASTY = "<script>alert(1)</script>\"'&<img src=x onerror=alert(1)>"
ALLOWED = {"table", "caption", "thead", "tbody", "tr", "th", "td", "b"}


class Reader(html.parser.HTMLParser):
    """Collects tags, attributes and text, and sees that all that opens closes."""

    def __init__(self):
        super().__init__()
        self.tags, self.attributes, self.open, self.text = set(), set(), [], []

    def handle_starttag(self, tag, attrs):
        self.tags.add(tag)
        self.attributes |= {name for name, _ in attrs}
        self.open.append(tag)

    def handle_endtag(self, tag):
        assert self.open.pop() == tag

    def handle_data(self, data):
        self.text.append(data)


def read(shown):
    reader = Reader()
    reader.feed(shown._repr_html_())
    reader.close()
    assert reader.open == []
    assert reader.tags <= ALLOWED and reader.attributes <= {"style", "colspan"}
    return reader.text


@pytest.fixture(name="nasty")
def fixture_nasty(tmp_path):
    """Cameras called as an attack would be, and a file with an error in one."""
    robot = cp.CameraParametersSet.from_file(HEAD).to_dict()
    for camera in robot["camera_calibration"]:
        camera["name"] += NASTY
    robot["camera_calibration"][1]["intrinsics"]["fx"] *= -1
    return robot


def test_names_are_shown_as_they_are_and_never_as_markup(nasty):
    cameras = cp.CameraParametersSet.from_dict(nasty)
    first = "head_camera" + NASTY
    for shown in (cameras, cameras[first], cp.diff(cameras, cameras), cp.load_report(nasty)):
        assert NASTY in "".join(read(shown))
    assert NASTY in "".join(read(cp.validate(nasty)))
    assert NASTY in "".join(read(cp.diff(cameras, cp.CameraParametersSet())))


def test_findings_made_by_hand_are_escaped_too():
    finding = cp.Finding(NASTY, NASTY, NASTY, 1, 2, NASTY, NASTY, None, None, None, NASTY)
    assert "".join(read(finding)).count(NASTY) == 6
    left = cp.NotTakenOver(NASTY, NASTY, NASTY)
    camera = cp.ImportedCamera(NASTY, 0, (1, 2), NASTY, cp.LensDeviation(1.0, 2.0, 1.0))
    made = cp.ImportResult(None, [camera], [cp.ImportedFile(NASTY, NASTY, "", None, [])], [left], cp.Findings(), [NASTY], [])
    assert "".join(read(made)).count(NASTY) == 8
    result = cp.ExportResult(NASTY, None, "centre", {NASTY: b""}, [cp.ExportedCamera(NASTY, (1, 2), None)], [NASTY])
    assert "".join(read(result)).count(NASTY) == 4
    base = cp.BaseCalibrationData()
    base.set_gyroscope_gain(1)
    base.set_global_transform([[1, 0, 0], [0, 1, 0], [0, 0, 1]], [0, 0, 0], cp.CalibrationMetadata(validity_key=NASTY))
    assert NASTY in "".join(read(base))


def test_numbers_are_those_of_the_objects():
    camera = cp.CameraParametersSet.from_file(HEAD)["head_camera"]
    k = camera.intrinsics(*camera.size)
    for shown in (camera, k):
        text = read(shown)
        for number in (k.fx, k.fy, k.cx, k.cy):
            assert f"{number:.6g}" in text
    assert "\N{MULTIPLICATION SIGN}".join(map(str, camera.size)) in read(k)
    assert sum(re.fullmatch(r"-?[\d.e-]+", cell) is not None for cell in read(camera.pose)) == 16
    difference = cp.diff(HEAD, cp.adjust_calibration(cp.CameraParametersSet.from_file(HEAD), cp.BaseCalibrationData()))
    assert f"{difference.cameras[0].pose.distance:.4g}" in read(difference)
    assert f"{difference.cameras[0].images[0].on_robot[0].max:.3g}" in read(difference.cameras[0].images[0])


def test_all_kinds_of_objects_are_shown_and_small():
    cameras = cp.CameraParametersSet.from_file(HEAD)
    exported = cp.export_calibration(HEAD, "opencv", camera="navigation_camera")
    for shown in (cameras, cameras["head_camera"], cameras["head_camera"].pose, cp.BaseCalibrationData(),
                  cp.validate(b"x"), cp.load_report(PTZ), cp.diff(HEAD, HEAD), cp.diff(PTZ, PTZ), cp.diff(BASE, BASE),
                  exported, cp.import_calibration(exported.files)):
        read(shown)
        assert len(shown._repr_html_()) < 40000


def test_long_lists_are_cut():
    findings = cp.validate(b"\x0a\x00" * 1500, kind="robot")
    assert len(findings) > 1000 and len(findings._repr_html_()) < 40000
    assert f"and {len(findings) - 50} more" in read(findings)


def test_configurations_and_tracks_are_shown_with_their_numbers():
    head = cp.PTZCameraModel.from_file(PTZ)
    now = head.configuration(500, 200, 2500)
    assert {"500", "200", "2500", f"{now.intrinsics.fx:.6g}", f"{now.intrinsics.cy:.6g}"} <= set(read(now))
    track = head.track([(3, 1, 1.5), (3, 1.1, 1.5)], at=(500, 200, 2500))
    assert f"AimTrack, {len(track)} positions" in read(track) and str(track.pan[1]) in read(track)


def test_views_and_parts_of_heads_are_shown_with_their_numbers():
    view = cp.CameraParametersSet()["head_camera"].view(1280, 960)
    shown = read(view)
    assert {f"{view.camera_matrix[0, 0]:.6g}", "1280\N{MULTIPLICATION SIGN}960"} <= set(shown)
    assert f"{np.degrees(view.fields_of_view.diagonal):.4g}" in "".join(shown)
    head = cp.PTZCameraModel.from_file(PTZ)
    assert f"{head.geometry.axis_gap:.6g}" in read(head.geometry)
    assert f"{head.intrinsics.focal_length[3]:.6g}" in read(head.intrinsics)
    coverage = head.coverage(5, azimuths=36)
    assert f"PtzCoverage, {len(coverage)} spans" in read(coverage)
    assert f"{np.degrees(coverage.spans[3, 0]):.4g}" in read(coverage)
