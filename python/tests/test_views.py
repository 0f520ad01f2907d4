"""Views: their numbers, the pictures that are made from theirs, and views as values."""

import copy
import json
import math
import pickle
import subprocess

import camera_parameters as cp
import numpy as np
import pytest

from calibrations import BUILD, HEAD, environment_of_programs

NAMES = ["head_camera", "navigation_camera"]
SIZES = [(640, 480), (1280, 960), (1280, 720)]
LENS = [-0.3, 0.1, 1e-3, -5e-4, -0.01, 0.02, 0.03, -0.004]


def view_of(name, size):
    return cp.CameraParametersSet.from_file(HEAD)[name].view(*size)


def skewed(pose=None):
    return cp.CameraView(640, 480, [[500, 3, 310], [0, 510, 250], [0, 0, 1]], LENS, pose)


def of_tool(name, size):
    tool = BUILD / "tools" / "camera-parameters"
    command = [tool, "view", HEAD, "--camera", name, "--size", "{}x{}".format(*size), "--json"]
    ran = subprocess.run(command, env=environment_of_programs(), check=True, capture_output=True)
    return json.loads(ran.stdout)


@pytest.mark.parametrize("size", SIZES)
@pytest.mark.parametrize("name", NAMES)
def test_numbers_are_those_that_the_tool_prints(name, size):
    view, expected = view_of(name, size), of_tool(name, size)
    assert list(view.size) == [view.width, view.height] == expected["size"]
    for key in ("camera_matrix", "camera_matrix_from_first_pixel", "distortion"):
        # The tool writes numbers of single precision with the digits that those need.
        np.testing.assert_array_equal(getattr(view, key).astype(np.float32), np.float32(expected[key]))
    np.testing.assert_array_equal(view.pose.camera_from_robot, np.float32(expected["camera_from_parent"]))
    assert view.is_from_table is expected["delivered"]
    assert view.is_rectified_by_sensor is expected["rectified_by_sensor"]


@pytest.mark.parametrize("size", SIZES)
@pytest.mark.parametrize("name", NAMES)
def test_angles_and_the_end_of_the_lens_are_those_that_the_tool_prints(name, size):
    view, expected = view_of(name, size), of_tool(name, size)
    for key, degrees in expected["field_of_view_degrees"].items():
        # Radians become degrees by a division and a product, of which each rounds once.
        assert math.degrees(getattr(view.fields_of_view, key)) == pytest.approx(degrees, rel=1e-15)
    assert view.valid_radius == (math.inf if expected["valid_radius"] is None else expected["valid_radius"])
    assert math.degrees(view.valid_half_angle) == pytest.approx(expected["valid_half_angle_degrees"], rel=1e-15)
    coverage, nearest = view.coverage(), expected["nearest_pixel_without_ray"]
    assert coverage.share == expected["coverage"]
    assert coverage.nearest_without_ray == (math.inf if nearest is None else nearest)
    assert list(view.natural_view_size(0)) == expected["natural_size_valid_only"]
    straight = view.fit_view(*size, expected["alpha"])
    np.testing.assert_array_equal(straight.camera_matrix, expected["straightened"]["camera_matrix"])


def test_only_sizes_that_the_camera_delivers_have_views():
    camera = cp.CameraParametersSet.from_file(HEAD)["head_camera"]
    with pytest.raises(ValueError) as caught:
        camera.view(641, 480)
    assert str(caught.value) == "size: head_camera delivers 640x480, 1280x960, 1280x720, not 641x480"


def test_views_do_not_follow_loads():
    cameras = cp.CameraParametersSet.from_file(HEAD)
    camera = cameras["head_camera"]
    before = camera.view(640, 480)
    cameras.load_from_file(HEAD)
    assert before == camera.view(640, 480)


def test_matrices_count_pixels_from_the_corner_or_from_the_first_pixels_centre():
    view = skewed()
    expected = np.array([[500, 3, 310], [0, 510, 250], [0, 0, 1.0]])
    np.testing.assert_array_equal(view.camera_matrix, expected)
    expected[:2, 2] -= 0.5
    np.testing.assert_array_equal(view.camera_matrix_from_first_pixel, expected)
    np.testing.assert_array_equal(view.distortion, LENS)
    assert not view.camera_matrix.flags.writeable and not view.distortion.flags.writeable


PROCESSED = {
    "resized": (lambda view: view.resized(1280, 240), [[2, 0, 0], [0, 0.5, 0], [0, 0, 1]], (1280, 240)),
    "cropped": (lambda view: view.cropped(10, 20, 300, 200), [[1, 0, -10], [0, 1, -20], [0, 0, 1]], (300, 200)),
    "binned": (lambda view: view.binned(4, 7), [[1 / 4, 0, 0], [0, 1 / 7, 0], [0, 0, 1]], (160, 68)),
    "flipped": (lambda view: view.flipped(True, True), [[-1, 0, 640], [0, -1, 480], [0, 0, 1]], (640, 480)),
}


@pytest.mark.parametrize("step", PROCESSED)
def test_pixels_of_processed_pictures_are_those_of_the_picture_moved(step):
    take, new_from_old, size = PROCESSED[step]
    points = np.random.default_rng(5).uniform([-0.5, -0.4, 1], [0.5, 0.4, 2], (200, 3))
    old = np.concatenate([skewed().project(points), np.ones((200, 1))], axis=1)
    new = take(skewed())
    assert new.size == size and not new.is_from_table
    np.testing.assert_array_equal(new.distortion, LENS)
    # Measured: 6e-14 pixels.
    np.testing.assert_allclose(new.project(points), (old @ np.transpose(new_from_old))[:, :2], rtol=0, atol=6e-13)


def test_flips_are_each_for_itself():
    assert skewed().flipped() == skewed()
    np.testing.assert_array_equal(skewed().flipped(horizontally=True).camera_matrix,
                                  [[-500, -3, 330], [0, 510, 250], [0, 0, 1]])
    np.testing.assert_array_equal(skewed().flipped(vertically=True).camera_matrix,
                                  [[500, 3, 310], [0, -510, 230], [0, 0, 1]])


def test_moved_views_are_elsewhere_and_else_the_same():
    view = view_of("head_camera", (640, 480))
    place = np.eye(4, dtype=np.float32)
    place[:3, 3] = [0.5, -1, 2]
    moved = view.moved_to(cp.Pose(place))
    np.testing.assert_array_equal(moved.pose.camera_from_robot, place)
    np.testing.assert_array_equal(moved.camera_matrix, view.camera_matrix)
    assert moved.is_from_table and moved.is_rectified_by_sensor
    assert moved.moved_to(view.pose) == view


def test_a_straightened_picture_has_a_camera_without_lens():
    view = view_of("head_camera", (1280, 960))
    quarter = np.array([[0, 0, -1.0], [0, 1, 0], [1, 0, 0]])
    described = cp.RectifiedView(400, 300, fx=200, fy=210, cx=190, cy=160, view_from_camera=quarter)
    camera = view.straightened(described)
    assert camera.size == (400, 300) and not camera.distortion.any()
    np.testing.assert_array_equal(camera.camera_matrix, described.camera_matrix)
    np.testing.assert_array_equal(camera.pose.camera_from_robot[:3], (quarter @ view.pose.camera_from_robot[:3]))


@pytest.mark.parametrize("view", [skewed(), view_of("head_camera", (640, 480)), skewed().binned(2, 2)])
def test_views_are_values(view):
    for twin in (pickle.loads(pickle.dumps(view)), copy.copy(view), copy.deepcopy(view)):
        assert twin == view and not twin != view
        assert (twin.is_from_table, twin.is_rectified_by_sensor) == (view.is_from_table, view.is_rectified_by_sensor)
        points = [[0.3, 0.1, 2], [1, 0.1, 0.5]]
        np.testing.assert_array_equal(twin.project(points), view.project(points))
    assert view != view.flipped(True) and view != 3
    with pytest.raises(TypeError):
        hash(view)


def test_rectified_views_are_values():
    view = cp.RectifiedView(400, 300, fx=200, fy=-210, cx=190, cy=160, view_from_camera=np.diag([1, -1, -1]))
    assert pickle.loads(pickle.dumps(view)) == view == copy.deepcopy(view)
    assert view != cp.RectifiedView(400, 300, fx=200, fy=-210, cx=190, cy=160)
    assert (view.width, view.height, view.fx, view.fy, view.cx, view.cy) == (400, 300, 200, -210, 190, 160)
    np.testing.assert_array_equal(view.camera_matrix_from_first_pixel, [[200, 0, 189.5], [0, -210, 159.5], [0, 0, 1]])
    np.testing.assert_array_equal(view.view_from_camera, np.diag([1, -1, -1]))


K = [[500, 0, 320], [0, 500, 240], [0, 0, 1]]
NAN = math.nan
BAD = [
    (lambda: cp.CameraView(0, 480, K), ValueError, "width: expected 1 to 2147483647, got 0"),
    (lambda: cp.CameraView(640, -1, K), ValueError, "height: expected 1 to 2147483647, got -1"),
    (lambda: cp.CameraView(10**30, 1, K), ValueError, f"width: expected 1 to 2147483647, got {10**30}"),
    (lambda: cp.CameraView(640.0, 480, K), TypeError, "width: expected a whole number, got 640.0"),
    (lambda: cp.CameraView(640, 480, np.full((3, 3), NAN)), ValueError, "camera_matrix: expected a finite number, got nan"),
    (lambda: cp.CameraView(640, 480, np.ones((3, 3))), ValueError,
     "camera_matrix: expected rows (fx, skew, cx), (0, fy, cy), (0, 0, 1)"),
    (lambda: cp.CameraView(640, 480, K, [0] * 5), ValueError, "distortion: expected shape (8,), got (5,)"),
    (lambda: cp.CameraView(640, 480, K, [math.inf] * 8), ValueError, "distortion: expected a finite number, got inf"),
    (lambda: skewed().resized(0, 5), ValueError, "width: expected 1 to 2147483647, got 0"),
    (lambda: skewed().cropped(-1, 0, 5, 5), ValueError, "x0: expected 0 to 2147483647, got -1"),
    (lambda: skewed().cropped(636, 0, 5, 5), ValueError, "5x5 at (636, 0): not in a picture of 640x480"),
    (lambda: skewed().cropped(2**31 - 1, 0, 2**31 - 1, 5), ValueError,
     "2147483647x5 at (2147483647, 0): not in a picture of 640x480"),
    (lambda: skewed().binned(641, 1), ValueError, "a block of 641x1 pixels: not in a picture of 640x480"),
    (lambda: skewed().resized(10**6, 10**6).coverage(), ValueError,
     "size: 1000000x1000000 has more than 268435456 pixels"),
    (lambda: skewed().fit_view(640, 480, NAN), ValueError, "alpha: expected 0 to 1, got nan"),
    (lambda: skewed().fit_view(640, 480, 1.5), ValueError, "alpha: expected 0 to 1, got 1.5"),
    (lambda: skewed().natural_view_size(-1), ValueError, "alpha: expected 0 to 1, got -1"),
    (lambda: skewed().fit_view(640, 0, 0), ValueError, "height: expected 1 to 2147483647, got 0"),
    (lambda: skewed().fit_view(640, 480, 0, aspect=0), ValueError, "aspect: expected above 0, got 0"),
    (lambda: skewed().fit_view(640, 480, 0, aspect=NAN), ValueError, "aspect: expected a finite number, got nan"),
    (lambda: skewed().fit_view(640, 480, 0, margin=240), ValueError,
     "margin: expected 0 or more and below 240, got 240"),
    (lambda: skewed().fit_view(640, 480, 0, centre="left"), ValueError,
     'centre: expected "free", "middle" or "kept", got "left"'),
    (lambda: skewed().fit_view(640, 480, 0, view_from_camera=np.ones((3, 3))), ValueError,
     "view_from_camera: expected a rotation"),
    (lambda: skewed().fit_view(640, 480, 1, view_from_camera=np.diag([-1, 1, -1])), cp.CalibrationError,
     "no straightened picture with alpha 1"),
    (lambda: cp.CameraView(640, 480, np.diag([0, 0, 1])).natural_view_size(0), cp.CalibrationError,
     "no straightened picture with alpha 0"),
    (lambda: cp.RectifiedView(640, 480, fx=NAN, fy=1, cx=1, cy=1), ValueError,
     "fx: expected a finite number, got nan"),
]


@pytest.mark.parametrize("call, kind, text", BAD, ids=[str(i) for i in range(len(BAD))])
def test_bad_arguments_are_named(call, kind, text):
    with pytest.raises(kind) as caught:
        call()
    assert str(caught.value) == text
