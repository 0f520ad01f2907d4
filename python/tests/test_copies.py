"""Pickles, copies and values that compare."""

import copy
import pickle

import camera_parameters as cp
import numpy as np
import pytest

from calibrations import HEAD
from reference_values import same_bits


def same_camera(a, b):
    sizes = a.sizes + [(333, 222)]
    return (a.name == b.name and a.model == b.model and a.size == b.size and a.sizes == b.sizes and a.pose == b.pose
            and all(a.intrinsics(*size) == b.intrinsics(*size) for size in sizes) and a.to_bytes() == b.to_bytes())


def by_pickle(thing):
    return pickle.loads(pickle.dumps(thing))


COPIES = [by_pickle, copy.copy, copy.deepcopy,
          *[lambda thing, protocol=protocol: pickle.loads(pickle.dumps(thing, protocol)) for protocol in range(2, 6)]]


@pytest.mark.parametrize("copied", COPIES)
def test_sets_keep_all(copied):
    cameras = cp.CameraParametersSet.from_file(HEAD)
    twin = copied(cameras)
    assert twin is not cameras and twin.names == cameras.names and twin.to_bytes() == cameras.to_bytes()
    assert all(same_camera(twin[name], cameras[name]) for name in cameras)


@pytest.mark.parametrize("copied", COPIES)
def test_cameras_keep_all(copied):
    camera = cp.CameraParametersSet()["head_camera"]
    twin = copied(camera)
    assert twin is not camera and same_camera(twin, camera)
    assert twin.to_dict() == camera.to_dict()


@pytest.mark.parametrize("copied", COPIES)
def test_values_keep_all(copied):
    camera = cp.CameraParametersSet()["navigation_camera"]
    pose = copied(camera.pose)
    assert same_bits(pose.camera_from_robot, camera.pose.camera_from_robot)
    assert same_bits(pose.robot_from_camera, camera.pose.robot_from_camera)
    intrinsics = copied(camera.intrinsics(640, 480))
    assert intrinsics == camera.intrinsics(640, 480) and repr(intrinsics) == repr(camera.intrinsics(640, 480))


def test_a_set_keeps_cameras_of_earlier_loads(tmp_path):
    cameras = cp.CameraParametersSet()
    other = cp.CameraParametersSet.from_dict({"camera_calibration": [
        dict(cameras["navigation_camera"].to_dict(), name="rear_camera")]})
    other.save(tmp_path / "rear.txt")
    cameras.load_from_file(tmp_path / "rear.txt")
    assert cameras.names == ["head_camera", "navigation_camera", "rear_camera"]
    twin = by_pickle(cameras)
    assert twin.names == cameras.names and twin.to_bytes() == cameras.to_bytes()
    assert all(same_camera(twin[name], cameras[name]) for name in cameras)


def test_a_copy_is_independent(tmp_path):
    cameras = cp.CameraParametersSet()
    twin = copy.copy(cameras)
    entry = dict(cameras["head_camera"].to_dict(), name="x")
    only_head = cp.CameraParametersSet.from_dict({"camera_calibration": [entry]})
    only_head.save(tmp_path / "x.txt")
    twin.load_from_file(tmp_path / "x.txt")
    assert "x" in twin and "x" not in cameras


def test_a_broken_pickle_raises():
    cameras = cp.CameraParametersSet()
    for thing, state in [(cameras, (b"\xff", b"")), (cameras, (b"", b"")), (cameras, ()), (cameras, (1, 2)),
                         (cameras["head_camera"], (b"x", b"\xff")), (cameras["head_camera"], (b"x", b"")),
                         (cameras["head_camera"].pose, (np.eye(4),)), (cameras["head_camera"].pose, (np.eye(3), 1)),
                         (cameras["head_camera"].intrinsics(9, 9), (1, 2, 3, 4))]:
        made = type(thing).__new__(type(thing))
        with pytest.raises((ValueError, TypeError, RuntimeError)):
            made.__setstate__(state)


def test_values_compare_and_hash():
    matrix, lens = np.eye(3), np.arange(8)
    one = cp.Intrinsics(4, 3, matrix, lens)
    assert one == cp.Intrinsics(4, 3, matrix, lens) and hash(one) == hash(cp.Intrinsics(4, 3, matrix, lens))
    assert one != cp.Intrinsics(5, 3, matrix, lens) and one != cp.Intrinsics(4, 4, matrix, lens)
    assert one != cp.Intrinsics(4, 3, 2 * matrix, lens) and one != cp.Intrinsics(4, 3, matrix, lens + 1)
    assert one != 4 and one is not None and one != "one"
    negative = cp.Intrinsics(4, 3, matrix * [[1, -1, 1], [1, 1, 1], [1, 1, 1]], lens)
    assert negative == one and hash(negative) == hash(one)  # zeros of either sign
    assert cp.Pose(np.eye(4)) == cp.Pose(np.eye(4)) and cp.Pose(np.eye(4)) != cp.Pose(2 * np.eye(4))
    assert len({cp.Pose(np.eye(4)), cp.Pose(np.eye(4)), one, negative}) == 2
    unknown = cp.Intrinsics(4, 3, matrix * np.nan, lens)
    assert unknown != unknown


def test_arrays_of_values_cannot_be_written():
    camera = cp.CameraParametersSet()["head_camera"]
    k = camera.intrinsics(640, 480)
    pose = camera.pose
    for array in [pose.camera_from_robot, pose.robot_from_camera, pose.center, k.matrix, k.distortion]:
        assert not array.flags.writeable and array.flags.owndata and array.dtype == np.float32
        with pytest.raises(ValueError, match="read-only"):
            array[...] = 1
    with pytest.raises(AttributeError):
        k.width = 5


def test_a_camera_that_was_moved_keeps_its_place():
    cameras = cp.CameraParametersSet()
    camera = cameras["head_camera"]
    loaded = camera.to_dict()["extrinsics"]
    base = cp.BaseCalibrationData.from_dict({"global_transform_adjustment": {"global_transform": {
        "a": [0, -1, 0, 10, 1, 0, 0, 20, 0, 0, 1, 30]}}})
    assert camera.to_dict()["extrinsics"] == loaded
    before = camera.pose
    cameras.adjust_using_base_calibration(base)
    assert camera.pose != before and same_bits(by_pickle(camera).pose.camera_from_robot, camera.pose.camera_from_robot)
    assert same_camera(by_pickle(cameras)["head_camera"], camera)
