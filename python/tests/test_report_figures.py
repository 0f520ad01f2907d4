"""Figures of the report, read back out of the page and held against the library."""

import math
import re

import camera_parameters as cp
import numpy as np
import pytest
from camera_parameters._report import head_figures, head_scene
from camera_parameters.report import make_report

from calibrations import HEAD, PTZ


@pytest.fixture(scope="module")
def ptz_page():
    return make_report(PTZ)


def points_of(path):
    return np.array(re.findall(r"-?[0-9.]+", path), float).reshape(-1, 2)


def attribute(text, name):
    return re.search(rf' {name}="([^"]*)"', text)[1]


def lens_plot(page, size):
    return next(plot for plot in re.findall(r'<svg class="plot lens".*?</svg>', page, re.S)
                if attribute(plot, "data-size") == size)


def pixels_at(plot, points):
    """Pixels of the picture from places in a drawing."""
    corner = [float(attribute(plot, "data-left")), float(attribute(plot, "data-top"))]
    return (points - corner) / float(attribute(plot, "data-scale"))


@pytest.mark.parametrize("name, size, factor", [("head_camera", (1280, 960), 1), ("head_camera", (640, 480), 200),
                                                ("navigation_camera", (1280, 960), 1)])
def test_arrows_lead_from_the_pinholes_pixel_to_the_lenss(name, size, factor):
    cameras = cp.CameraParametersSet.from_file(HEAD)
    index = cameras.names.index(name)
    page = make_report(HEAD)
    section = page[page.index(f'id="camera-{index}"'):]
    plot = lens_plot(section, f"{size[0]}x{size[1]}")
    assert float(attribute(plot, "data-factor")) == factor
    arrows = [pixels_at(plot, points_of(path)) for path in re.findall(r'<path class="arrow" d="([^"]*)"', plot)]
    assert len(arrows) == 17 * 13
    k = cameras[name].intrinsics(*size)
    ends = np.array([arrow[1] for arrow in arrows])
    rays = cameras[name].rectify(ends, *size)
    starts = rays * [k.fx, k.fy] + [k.cx, k.cy]
    drawn = np.array([arrow[0] for arrow in arrows])
    # Places are written to 0.01 of the drawing's units, which are up to 4 pixels; the inverse of this lens stretches
    # that by up to 5 in the corners.
    tolerance = 0.01 / float(attribute(plot, "data-scale"))
    assert np.abs(drawn - (ends + factor * (starts - ends))).max() < 8 * max(1, factor / 20) * tolerance


def test_rings_have_the_displacement_that_is_written_on_them():
    camera = cp.CameraParametersSet.from_file(HEAD)["navigation_camera"]
    page = make_report(HEAD)
    plot = lens_plot(page[page.index('id="camera-1"'):], "1280x960")
    k = camera.intrinsics(1280, 960)
    rings = re.findall(r'<path class="ring" d="([^"]*)" data-level="([^"]*)"', plot)
    assert len(rings) >= 3
    for path, level in rings:
        pixels = pixels_at(plot, points_of(path))
        pinhole = camera.rectify(pixels, 1280, 960) * [k.fx, k.fy] + [k.cx, k.cy]
        displacement = np.linalg.norm(pixels - pinhole, axis=1)
        # Linear between grid points 27 pixels apart: 0.23 pixels at most were measured, where the lens bends most.
        assert np.abs(displacement - float(level)).max() < 0.6


def test_zoom_curves_go_through_the_samples(ptz_page):
    head = cp.PTZCameraModel.from_file(PTZ)
    charts = re.findall(r'<svg class="plot"[^>]*aria-label="([^"]*) over zoom steps".*?</svg>', ptz_page, re.S)
    assert charts == ["Focal length", "Field of view"]
    samples = re.findall(r'<circle class="sample c0"[^>]*data-step="([^"]*)" data-value="([^"]*)"', ptz_page)
    focal, fields = samples[:11], samples[11:]
    assert [int(step) for step, _value in focal] == [int(step) for step, _value in fields] == list(range(0, 10001, 1000))
    for (step, length), (_step, field) in zip(focal, fields):
        now = head.configuration(0, 0, int(step))
        assert float(length) == float(now.intrinsics.fx)
        assert float(field) == pytest.approx(math.degrees(now.view().fields_of_view.horizontal), abs=1e-5)


def test_the_map_of_reach_ends_where_the_motors_do(ptz_page):
    path = points_of(re.search(r'<path class="reach" d="([^"]*)"', ptz_page)[1])
    left, top = head_figures.map_place(-math.pi, math.pi / 2)
    right, bottom = head_figures.map_place(math.pi, -math.pi / 2)
    azimuths = (path[:, 0] - left) / (right - left) * 360 - 180
    elevations = 90 - (path[:, 1] - top) / (bottom - top) * 180
    # 170 degrees to either side, in parts of 2 degrees, from 30 degrees down to the zenith; arms of 0.03 m count at 10 m.
    assert azimuths.min() == pytest.approx(-170, abs=2.1) and azimuths.max() == pytest.approx(170, abs=2.1)
    assert elevations.min() == pytest.approx(-30, abs=0.4) and elevations.max() == pytest.approx(90, abs=0.4)


def test_the_map_of_reach_has_the_left_on_its_left(ptz_page):
    left, _y = head_figures.map_place(math.radians(90), 0)
    assert left < head_figures.map_place(0, 0)[0] < head_figures.map_place(math.radians(-90), 0)[0]
    assert "azimuth, positive to the left" in ptz_page
    texts = re.findall(r'class="axis-text mid" x="([0-9.]+)"[^>]*>(\u2212?\d+)\u00b0<', ptz_page)
    assert [text for _x, text in sorted((float(x), text) for x, text in texts)] == [
        "180", "90", "0", "\u221290", "\u2212180"]


def test_a_home_that_is_not_stated_is_not_called_one(ptz_page):
    assert "the optical axis at zero pan and tilt (no home stated)" in ptz_page and "axis at home" not in ptz_page
    message = cp.PTZCameraModel.from_file(PTZ).to_dict()
    message["pan_tilt"].update(home_pan=10, home_tilt=20)
    assert "\u25cb the optical axis at home<" in make_report(cp.PTZCameraModel.from_dict(message))
    message["pan_tilt"] = {**cp.PTZCameraModel.from_file(PTZ).to_dict()["pan_tilt"], "min_tilt": 30}
    page = make_report(cp.PTZCameraModel.from_dict(message))
    assert "the optical axis at pan 0, tilt 30 (no home stated)" in page


def turned_head(generator):
    """The example's head in a base frame that is turned at random, and with a tilt axis that is not square."""
    message = cp.PTZCameraModel.from_file(PTZ).to_dict()
    for name in ("base_to_pan", "pan_to_tilt"):
        rotation, _ = np.linalg.qr(generator.normal(size=(3, 3)))
        rotation *= np.linalg.det(rotation)
        pose = np.array(message["pan_tilt"][name]["a"], float).reshape(3, 4)
        pose[:, :3] = rotation
        message["pan_tilt"][name]["a"] = pose.ravel().tolist()
    return cp.PTZCameraModel.from_dict(message)


def test_every_direction_on_the_map_can_be_centred_and_no_other():
    generator = np.random.default_rng(3)
    for _ in range(4):
        head = turned_head(generator)
        path = points_of(head_figures.reach_path(head_figures.reach_spans(head)))
        assert np.isfinite(path).all() and len(path) > 100
        centre = np.asarray(head.coverage(head_figures.DISTANCE, azimuths=4).centre)
        for azimuth, lowest, highest in head_figures.reach_spans(head)[:-1:15]:
            for elevation, wanted in ((lowest + 0.01, True), (0.5 * (lowest + highest), True), (highest - 0.01, True),
                                      (lowest - 0.01, False), (highest + 0.01, False)):
                if highest - lowest < 0.05 or abs(elevation) > math.pi / 2 - 0.02:
                    continue
                ray = np.array([math.cos(elevation) * math.cos(azimuth), math.cos(elevation) * math.sin(azimuth),
                                math.sin(elevation)])
                assert head.can_see(centre + head_figures.DISTANCE * ray, "centred") == wanted


def test_the_chain_stands_where_the_poses_put_it():
    head = cp.PTZCameraModel.from_file(PTZ)
    scene = head_scene.build(head, head.to_dict()["pan_tilt"])
    chain = next(line for line in scene.lines if line.kind == "joint").points
    camera = head.configuration(0, 0, 0).pose
    # The pan joint is 100 mm ahead and 1200 mm up, the tilt joint 25 and 60 mm from there.
    assert np.allclose(chain, [(0, 0, 0), (0.1, 0, 1.2), (0.125, 0, 1.26), camera.center], atol=1e-6)
    sweeps = [line for line in scene.lines if line.kind == "sweep"]
    assert len(sweeps) == 2
    for motor, line in enumerate(sweeps):
        low, high = (head.pan_range, head.tilt_range)[motor]
        motors = [(low, 0, 0), (0, low, 0)][motor]
        frame = head.configuration(*motors).pose.robot_from_camera
        end = line.points[0] - frame[:3, 3]
        assert np.allclose(end / np.linalg.norm(end), frame[:3, 2], atol=1e-6)
        assert high > low


def test_heat_maps_reach_the_largest_difference():
    changed = cp.CameraParametersSet.from_file(HEAD).to_dict()
    changed["camera_calibration"][1]["intrinsics"]["fx"] += 9.0
    other = cp.CameraParametersSet.from_dict(changed)
    page = make_report(HEAD, other)
    found = cp.diff(HEAD, other).cameras[1]
    maps = re.findall(r'<svg class="heat".*?</svg>', page, re.S)
    assert len(maps) == 2 * len(found.images)  # the head camera is the same
    for image, as_is, rotated in zip(found.images, maps[::2], maps[1::2]):
        assert float(attribute(as_is, "data-max")) == pytest.approx(image.as_is.max, rel=1e-12)
        assert float(attribute(rotated, "data-max")) == pytest.approx(image.rotated.max, rel=1e-12)
        cells = sum(int(length) for length in re.findall(r"h(\d+)v", as_is))
        assert cells == image.as_is.compared
        assert cells == int(attribute(as_is, "data-columns")) * int(attribute(as_is, "data-rows"))
    assert re.findall(r"<strong><bdi>(\w+)</bdi></strong>: unchanged", page) == ["head_camera"]
    assert "no pixel differs" not in page
    row = page[page.index(">camera_calibration[1].intrinsics.fx</code>"):]
    assert re.findall(r'data-v="([^"]*)"', row)[:2] == ["905", "914"]


def test_calibrations_of_different_kinds_are_not_compared():
    with pytest.raises(cp.CalibrationError, match="is of a pan-tilt-zoom camera, default_head_cal.txt of fixed cameras"):
        make_report(HEAD, PTZ)
