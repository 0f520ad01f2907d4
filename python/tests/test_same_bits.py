"""Every value is the C++ library's to the last bit."""

import camera_parameters as cp
import numpy as np

from reference_values import Results, same_bits

COUNT = 1000
OTHER_SIZES = [(333, 222), (1, 1), (4000, 3000)]


def make_inputs(cameras):
    random = np.random.default_rng(14)
    points = random.uniform(-4, 4, (COUNT, 3)).astype(np.float32)
    points[:4] = [[0, 0, 0], [np.nan, 1, 1], [np.inf, 0, 1], [1e30, -1e30, 1e-30]]
    pixels = random.uniform(-300, 1600, (COUNT, 2)).astype(np.float32)
    pixels[:3] = [[np.nan, 1], [np.inf, 1], [1e30, 1e30]]
    sizes = sorted({size for name in cameras for size in cameras[name].sizes}) + OTHER_SIZES
    return points, pixels, sizes


def check_image(camera, size, points, pixels, results):
    intrinsics = camera.intrinsics(*size)
    assert same_bits(intrinsics.matrix, results.take((3, 3)))
    assert same_bits(intrinsics.distortion, results.take(8))
    expected = results.take((COUNT, 2))
    assert same_bits(camera.project(points, *size), expected)
    assert same_bits(cp.project(camera.pose, intrinsics, points), expected)
    assert np.isfinite(expected).all(axis=1).sum() > COUNT / 2
    expected = results.take((COUNT, 2))
    assert same_bits(camera.rectify(pixels, *size), expected)
    assert same_bits(cp.rectify(intrinsics, pixels), expected)


def test_project_rectify_poses_and_intrinsics_of_the_default_cameras():
    cameras = cp.CameraParametersSet()
    points, pixels, sizes = make_inputs(cameras)
    counts = np.array([COUNT, len(sizes)], np.int32)
    results = Results("cameras", counts, points, pixels, np.array(sizes, np.int32))
    for name in cameras:
        camera = cameras[name]
        assert same_bits(camera.pose.camera_from_robot, results.take((4, 4)))
        assert same_bits(camera.pose.robot_from_camera, results.take((4, 4)))
        assert same_bits(camera.pose.center, results.take(3))
        for size in sizes:
            check_image(camera, size, points, pixels, results)
    assert results.is_at_end()
