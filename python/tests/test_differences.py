"""Differences of calibrations, held to the command-line tool's."""

import copy
import math
import pickle

import camera_parameters as cp
import numpy as np
import pytest

from calibrations import BASE, HEAD, PTZ
import tool


@pytest.fixture(name="changed_head")
def fixture_changed_head(tmp_path):
    """A calibration with another principal point, another pose and another size."""
    robot = cp.CameraParametersSet.from_file(HEAD).to_dict()
    for camera in robot["camera_calibration"]:
        camera["intrinsics"]["cx"] += 2.5
        camera["extrinsics"]["a"][3] += 7
    path = tmp_path / "changed.txt"
    moved = cp.adjust_calibration(cp.CameraParametersSet.from_dict(robot), cp.BaseCalibrationData())
    moved.save(path)
    return path


def number(value):
    return None if value is None or not math.isfinite(value) else value


def same(value, expected):
    """Whether a number is the tool's, which prints floats with the digits that they need."""
    if value is None or expected is None:
        return number(value) == expected
    return number(value) == expected or np.float32(value) == np.float32(expected)


def check_pixels(figures, expected):
    for key in ("compared", "without_ray", "not_imaged"):
        assert getattr(figures, key) == expected[key]
    for key in ("max", "median", "rms"):
        assert number(getattr(figures, key)) == expected[key]
    assert [number(value) for value in figures.worst_at] == expected["worst_at"]


def check_intrinsics(entry, expected):
    for key in ("fx", "fy", "skew", "cx", "cy"):
        assert same(getattr(entry, key), expected[key])
    assert np.array_equal(entry.distortion, np.float32(expected["distortion"]))


def check_image(image, expected):
    assert (image.width, image.height) == (expected["width"], expected["height"])
    check_intrinsics(image.intrinsics_a, expected["intrinsics_a"])
    check_intrinsics(image.intrinsics_b, expected["intrinsics_b"])
    check_pixels(image.as_is, expected["as_is"])
    check_pixels(image.rotated, expected["rotated"])
    assert list(image.rotation_degrees) == expected["rotation_degrees"]
    assert len(image.on_robot) == len(expected["on_robot"])
    for at, other in zip(image.on_robot, expected["on_robot"]):
        assert number(at.distance) == other["distance"]
        check_pixels(at, other)


def check_pose(pose, expected):
    assert (pose.angle_degrees, pose.distance, list(pose.movement)) == (
        expected["angle_degrees"], expected["distance"], expected["movement"])


def check_robot(difference, expected):
    assert difference.only_in_a == expected["only_in_a"] and difference.only_in_b == expected["only_in_b"]
    assert [camera.name for camera in difference.cameras] == [camera["name"] for camera in expected["cameras"]]
    for camera, other in zip(difference.cameras, expected["cameras"]):
        check_pose(camera.pose, other["pose"])
        assert [list(size) for size in camera.sizes_only_in_a] == other["sizes_only_in_a"]
        assert [list(size) for size in camera.sizes_only_in_b] == other["sizes_only_in_b"]
        assert len(camera.images) == len(other["images"]) > 0
        for image, other_image in zip(camera.images, other["images"]):
            check_image(image, other_image)


@pytest.mark.parametrize("options, flags", [
    ({}, []),
    ({"distances": [0.5, math.inf]}, ["--distance=0.5", "--distance=inf"]),
    ({"camera": "navigation_camera"}, ["--camera=navigation_camera"]),
    ({"size": (640, 480)}, ["--size=640x480"]),
])
def test_fixed_cameras_differ_as_the_tool_says(changed_head, options, flags):
    expected = tool.run_json("diff", HEAD, changed_head, *flags)
    difference = cp.diff(HEAD, changed_head, **options)
    assert (difference.a, difference.b, difference.kind) == (expected["a"], expected["b"], expected["kind"])
    check_robot(difference, expected)
    objects = cp.diff(cp.CameraParametersSet.from_file(HEAD), cp.CameraParametersSet.from_file(changed_head), **options)
    assert objects.cameras == difference.cameras and (objects.a, objects.b) == (None, None)
    assert pickle.loads(pickle.dumps(difference.cameras[0].images[0].as_is)) == difference.cameras[0].images[0].as_is


def test_heads_differ_as_the_tool_says(tmp_path):
    changed = tmp_path / "changed.txt"
    changed.write_text(PTZ.read_text().replace("cx: 963.42", "cx: 970.42", 1).replace("0, -100]", "0, -90]", 1))
    expected = tool.run_json("diff", PTZ, changed)
    difference = cp.diff(PTZ, changed)
    assert (list(difference.size_a), list(difference.size_b)) == (expected["size_a"], expected["size_b"])
    assert [at.zoom for at in difference.zooms] == [at["zoom"] for at in expected["zooms"]]
    for at, other in zip(difference.zooms, expected["zooms"]):
        check_image(at.image, other["image"])
    assert [(at.pan, at.tilt) for at in difference.poses] == [(at["pan"], at["tilt"]) for at in expected["poses"]]
    for at, other in zip(difference.poses, expected["poses"]):
        check_pose(at.pose, other["pose"])
    # The principal point of the first sample is moved by 7 pixels, and the pan joint by 10 mm.
    assert abs(difference.zooms[0].image.as_is.max - 7) < 0.5
    assert all(abs(at.pose.distance - 0.01) < 1e-6 for at in difference.poses)


def test_bases_differ_as_the_tool_says(tmp_path):
    base = cp.BaseCalibrationData.from_file(BASE)
    base.set_global_transform(np.eye(3), [0.1, 0, 0])
    base.wheel_base = 0.5
    base.save(tmp_path / "base.txt")
    (tmp_path / "base.txt").write_text((tmp_path / "base.txt").read_text().replace("base_width", "# base_width"))
    expected = tool.run_json("diff", BASE, tmp_path / "base.txt")
    difference = cp.diff(BASE, tmp_path / "base.txt")
    check_pose(difference.global_transform, expected["global_transform"])
    for key in ("gyroscope_gain", "wheel_base", "base_width", "base_length"):
        change = getattr(difference, key)
        assert same(change.a, expected[key]["a"]) and same(change.b, expected[key]["b"])
    assert difference.base_width.b is None and difference.wheel_base.b == 0.5
    assert pickle.loads(pickle.dumps(difference)) == difference


def test_the_grid_is_what_the_figures_are_of(changed_head):
    image = cp.diff(HEAD, changed_head, grid=True, camera="head_camera", size=(640, 480)).cameras[0].images[0]
    assert image.grid.dtype == np.float64 and not image.grid.flags.writeable
    distances = np.hypot(image.grid[:, 2], image.grid[:, 3])
    compared = np.isfinite(distances)
    assert compared.sum() == image.as_is.compared
    assert np.nanmax(distances) == image.as_is.max
    worst = image.grid[np.nanargmax(distances), :2]
    assert tuple(worst) == image.as_is.worst_at
    # The sum's order is the library's, not NumPy's.
    assert math.isclose(np.sqrt(np.mean(distances[compared] ** 2)), image.as_is.rms, rel_tol=1e-12)
    assert cp.diff(HEAD, changed_head, camera="head_camera", size=(640, 480)).cameras[0].images[0].grid is None


def test_a_shift_of_the_principal_point_is_a_shift_of_every_pixel():
    cameras = cp.CameraParametersSet.from_file(HEAD)
    robot = cameras.to_dict()
    navigation = next(c for c in robot["camera_calibration"] if c["name"] == "navigation_camera")
    navigation["intrinsics"]["cx"] += 3
    moved = cp.CameraParametersSet.from_dict(robot)
    image = next(i for i in cp.diff(cameras["navigation_camera"], moved["navigation_camera"]).cameras[0].images
                 if (i.width, i.height) == cameras["navigation_camera"].size)
    # cx is a float of about 640, whose last place is 6e-5.
    assert abs(image.as_is.max - 3) < 1e-4 and abs(image.as_is.median - 3) < 1e-4
    assert image.rotated.max < image.as_is.max


def test_two_cameras_are_compared_whatever_they_are_called():
    cameras = cp.CameraParametersSet.from_file(HEAD)
    difference = cp.diff(cameras["head_camera"], cameras["navigation_camera"])
    assert [camera.name for camera in difference.cameras] == ["head_camera"]
    assert difference.only_in_a == difference.only_in_b == []
    centres = [cameras[name].pose.center for name in cameras]
    assert abs(difference.cameras[0].pose.distance - np.linalg.norm(centres[0] - centres[1])) < 1e-6
    assert cp.diff(cameras["head_camera"], copy.deepcopy(cameras)).only_in_b == ["navigation_camera"]


def test_what_does_not_load_is_named(tmp_path):
    short = tmp_path / "short.txt"
    short.write_text(HEAD.read_text().replace("radial:", "# radial:", 1))
    for arguments in ((short, HEAD), (HEAD, short)):
        with pytest.raises(cp.CalibrationError) as raised:
            cp.diff(*arguments)
        error = raised.value
        _, message = tool.run("diff", *arguments, status=1)
        assert message.strip().endswith(str(error)) and error.path == str(short) and error.line > 0


@pytest.mark.parametrize("arguments, error, text", [
    ((HEAD, BASE), cp.CalibrationError, f"{BASE}: holds the calibration of a mobile base, and a that of fixed cameras"),
    ((HEAD, b"wheel_base: x"), cp.CalibrationError, "1:13: wheel_base: Expected double, got: x (in b)"),
    ((b"", HEAD), cp.CalibrationError, "is empty (in a)"),
    ((HEAD, 3), TypeError, "b: expected a path, bytes, a dict or an object that holds a calibration, got int"),
])
def test_what_cannot_be_compared_is_refused(arguments, error, text):
    with pytest.raises(error) as raised:
        cp.diff(*arguments)
    assert str(raised.value) == text


@pytest.mark.parametrize("a, options, error, text", [
    (HEAD, {"distances": [0]}, ValueError, "distances: expected positive numbers of metres, or infinity"),
    (HEAD, {"distances": [math.nan]}, ValueError, "distances: expected positive numbers of metres, or infinity"),
    (HEAD, {"size": (640, 0)}, ValueError, "size: expected positive numbers, got 640x0"),
    (HEAD, {"size": (640,)}, TypeError, "size: expected (width, height), got (640,)"),
    (HEAD, {"size": "640x480"}, TypeError, "size: expected (width, height), got '640x480'"),
    (HEAD, {"camera": "head"}, KeyError, "\"no camera 'head' in a or b\""),
    (PTZ, {"camera": "head"}, ValueError, "camera and size are for calibrations of fixed cameras"),
    (BASE, {"size": (640, 480)}, ValueError, "camera and size are for calibrations of fixed cameras"),
])
def test_options_that_are_none_are_refused(a, options, error, text):
    with pytest.raises(error) as raised:
        cp.diff(a, a, **options)
    assert str(raised.value) == text
