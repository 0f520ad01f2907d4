"""Points and rays of views: against cv2, against differences, and whatever arrays they come in."""

import threading

import camera_parameters as cp
import numpy as np
import pytest

from calibrations import HEAD

LENS = [-0.3, 0.1, 1e-3, -5e-4, -0.01, 0.02, 0.03, -0.004]


def posed():
    turn = np.eye(4, dtype=np.float32)
    turn[:3, :3] = [[0.8, 0, -0.6], [0, 1, 0], [0.6, 0, 0.8]]
    turn[:3, 3] = [0.1, -0.2, 0.3]
    return cp.CameraView(640, 480, [[500, 3, 310], [0, 510, 250], [0, 0, 1]], LENS, cp.Pose(turn))


def points_before(view, count, seed=3):
    """Points of the parent frame before the camera, metres."""
    in_camera = np.random.default_rng(seed).uniform([-0.5, -0.4, 0.8], [0.5, 0.4, 1.5], (count, 3))
    camera_from_parent = view.pose.camera_from_robot.astype(float)
    return (in_camera - camera_from_parent[:3, 3]) @ np.linalg.inv(camera_from_parent[:3, :3]).T


def test_pixels_are_those_of_cv2():
    cv2 = pytest.importorskip("cv2")
    view = cp.CameraParametersSet.from_file(HEAD)["navigation_camera"].view(1280, 960)
    in_camera = np.random.default_rng(1).uniform([-0.8, -0.6, 1], [0.8, 0.6, 3], (1000, 3))
    expected, jacobian = cv2.projectPoints(in_camera, np.zeros(3), np.zeros(3), view.camera_matrix, view.distortion)
    pixels, derivatives = view.moved_to(cp.Pose(np.eye(4))).project(in_camera, derivatives=True)
    # Measured: 2e-13 pixels, 7e-13 in the derivatives.
    np.testing.assert_allclose(pixels, expected[:, 0], rtol=0, atol=2e-12)
    # cv2's columns: rotation, translation, fx, fy, cx, cy, then the lens as here.
    jacobian = jacobian.reshape(1000, 2, -1)
    ours = derivatives.intrinsics[..., [0, 1, 3, 4, *range(5, 13)]]
    np.testing.assert_allclose(ours, jacobian[..., 6:18], rtol=0, atol=7e-12)
    np.testing.assert_allclose(derivatives.pose[..., :3], jacobian[..., 3:6], rtol=0, atol=7e-12)


def test_rays_are_those_of_cv2():
    cv2 = pytest.importorskip("cv2")
    view = cp.CameraParametersSet.from_file(HEAD)["navigation_camera"].view(1280, 960)
    pixels = np.random.default_rng(2).uniform([0, 0], [1280, 960], (500, 2))
    criteria = (cv2.TERM_CRITERIA_EPS + cv2.TERM_CRITERIA_COUNT, 200, 1e-13)
    expected = cv2.undistortPointsIter(pixels[:, None], view.camera_matrix, view.distortion, None, None, criteria)
    # Measured: 1e-12; cv2's steps converge slowly in the corners.
    np.testing.assert_allclose(view.rectify(pixels), expected[:, 0], rtol=0, atol=1e-11)


def central(function, at, step):
    """Derivatives of function at `at`, a column for each element."""
    columns = [(function(at + step * axis) - function(at - step * axis)) / (2 * step) for axis in np.eye(len(at))]
    return np.stack(columns, axis=-1)


def numbers_of(view):
    k = view.camera_matrix
    return np.array([k[0, 0], k[1, 1], k[0, 1], k[0, 2], k[1, 2], *view.distortion])


def with_numbers(view, n):
    return cp.CameraView(*view.size, [[n[0], n[2], n[3]], [0, n[1], n[4]], [0, 0, 1]], n[5:], view.pose)


def test_derivatives_of_pixels_are_those_of_differences():
    view = posed()
    points = points_before(view, 20)
    _, jacobian = view.project(points, derivatives=True)
    for i, point in enumerate(points):
        # Measured, with steps of 1e-5: 3e-8 pixels a metre, 5e-9 by the numbers.
        np.testing.assert_allclose(jacobian.point[i], central(view.project, point, 1e-5), rtol=0, atol=3e-7)
        by_numbers = central(lambda n, p=point: with_numbers(view, n).project(p), numbers_of(view), 1e-5)
        np.testing.assert_allclose(jacobian.intrinsics[i], by_numbers, rtol=0, atol=5e-8)


def test_derivatives_by_the_pose_are_those_of_points_that_move_the_other_way():
    view = posed()
    points = points_before(view, 20)
    camera_from_parent = view.pose.camera_from_robot.astype(float)
    in_camera = points @ camera_from_parent[:3, :3].T + camera_from_parent[:3, 3]
    _, jacobian = view.project(points, derivatives=True)
    at_origin = view.moved_to(cp.Pose(np.eye(4)))
    for i, p in enumerate(in_camera):
        # To first order exp(xi) p = p + translation + rotation x p.
        moved = central(lambda xi, p=p: at_origin.project(p + xi[:3] + np.cross(xi[3:], p)), np.zeros(6), 1e-5)
        # Measured: 3e-8 pixels a metre or radian.
        np.testing.assert_allclose(jacobian.pose[i], moved, rtol=0, atol=3e-7)


def test_derivatives_of_rays_are_those_of_differences():
    view = posed()
    pixels = np.random.default_rng(4).uniform([0, 0], [640, 480], (20, 2))
    _, jacobian = view.rectify(pixels, derivatives=True)
    for i, pixel in enumerate(pixels):
        # Measured: 3e-13 of derivatives up to 0.004.
        np.testing.assert_allclose(jacobian.pixel[i], central(view.rectify, pixel, 1e-3), rtol=0, atol=3e-12)
        by_numbers = central(lambda n, p=pixel: with_numbers(view, n).rectify(p), numbers_of(view), 1e-5)
        # Measured: 2e-7 of derivatives up to 6: rays are exact to 1e-12, steps of 1e-5 make 1e-7 of that.
        np.testing.assert_allclose(jacobian.intrinsics[i], by_numbers, rtol=0, atol=2e-6)


def test_derivatives_change_no_pixel_and_are_nan_without_one():
    view = posed()
    points = np.concatenate([points_before(view, 200), -100 * np.ones((3, 3))])
    pixels, jacobian = view.project(points, derivatives=True)
    np.testing.assert_array_equal(pixels, view.project(points))
    for part in (jacobian.point, jacobian.pose, jacobian.intrinsics):
        assert np.isfinite(part[:200]).all() and np.isnan(part[200:]).all()


def test_statuses_say_what_became_of_each_point():
    fold = cp.CameraView(640, 480, [[500, 0, 320], [0, 500, 240], [0, 0, 1]], [-0.5, 0, 0, 0, 0, 0, 0, 0])
    status = np.full(5, 99, np.uint8)
    points = [[0, 0, 1], [0, 0, -1], [3, 0, 1], [0, 0.6, 1], [0, np.nan, 1]]
    pixels = fold.project(points, status=status)
    expected = [cp.PointStatus.OK, cp.PointStatus.BEHIND_CAMERA, cp.PointStatus.BEYOND_LENS,
                cp.PointStatus.OUTSIDE_IMAGE, cp.PointStatus.NOT_FINITE]
    assert list(status) == expected
    assert [np.isfinite(pixel).all() for pixel in pixels] == [code.has_answer for code in expected]


def test_pixels_without_a_ray_are_nan_and_say_so():
    # r (1 - r^2 / 2) has its fold at r = sqrt(2 / 3), of which 0.544 is imaged: 272 pixels from the axis.
    fold = cp.CameraView(640, 480, [[500, 0, 320], [0, 500, 240], [0, 0, 1]], [-0.5, 0, 0, 0, 0, 0, 0, 0])
    pixels = [[320 + 272, 240], [320 + 273, 240], [320, 500], [np.inf, 0]]
    expected = [cp.PointStatus.OK, cp.PointStatus.BEYOND_LENS, cp.PointStatus.OUTSIDE_IMAGE,
                cp.PointStatus.NOT_FINITE]
    for ask in (fold.rectify, lambda *args, **kwargs: fold.ray_at(*args, **kwargs).direction):
        status = np.full(4, 99, np.uint8)
        answers = ask(pixels, status=status)
        assert list(status) == expected
        assert list(np.isfinite(answers).all(axis=1)) == [code.has_answer for code in expected]
    assert fold.valid_radius == pytest.approx(np.sqrt(2 / 3), rel=1e-11)
    assert fold.coverage().share < 1 and fold.coverage().nearest_without_ray == pytest.approx(272.2, abs=1)


def test_rays_lead_back_to_their_pixels():
    view = posed()
    pixels = np.random.default_rng(6).uniform([0, 0], [640, 480], (5, 40, 2))
    ray = view.ray_at(pixels)
    assert ray.origin.shape == (3,) and ray.direction.shape == (5, 40, 3)
    np.testing.assert_allclose(np.linalg.norm(ray.direction, axis=-1), 1, rtol=0, atol=1e-15)
    np.testing.assert_allclose(ray.origin, view.pose.center, rtol=0, atol=1e-6)
    # Measured: 5e-10 pixels; 1e-9 is promised for every 1000 pixels of focal length.
    np.testing.assert_allclose(view.project(ray.origin + 7 * ray.direction), pixels, rtol=0, atol=1e-9)


def test_rays_of_a_pose_without_inverse_are_none():
    flat = cp.CameraView(640, 480, [[500, 0, 320], [0, 500, 240], [0, 0, 1]], None, cp.Pose(np.zeros((4, 4))))
    status = np.zeros((), np.uint8)
    ray = flat.ray_at([100, 100], status=status)
    assert status == cp.PointStatus.NOT_FINITE and np.isnan(ray.direction).all() and np.isnan(ray.origin).all()


def swapped(points):
    return points.astype(">f8")


def misaligned(points):
    raw = bytearray(points.nbytes + 1)
    raw[1:] = points.tobytes()
    return np.frombuffer(raw, np.float64, offset=1).reshape(points.shape)


def strided(points):
    wide = np.full((2 * len(points), 3), np.nan)
    wide[::2] = points
    return wide[::2]


def frozen(points):
    points = points.copy()
    points.flags.writeable = False
    return points


SAME = [swapped, misaligned, strided, frozen, np.asfortranarray, lambda p: p[::-1].copy()[::-1], np.ndarray.tolist]


@pytest.mark.parametrize("make", SAME)
def test_no_layout_changes_a_bit(make):
    view = posed()
    points = points_before(view, 50)
    np.testing.assert_array_equal(view.project(make(points)), view.project(points))


@pytest.mark.parametrize("dtype", [np.float32, np.float16, np.int32, np.uint8, np.int64, np.longdouble])
def test_other_numbers_are_converted_once(dtype):
    view = cp.CameraView(640, 480, [[500, 0, 320], [0, 500, 240], [0, 0, 1]], LENS)
    points = np.random.default_rng(7).uniform(1, 9, (50, 3)).astype(dtype)
    pixels = view.project(points)
    assert pixels.dtype == np.float64
    np.testing.assert_array_equal(pixels, view.project(points.astype(np.float64)))


REFUSED = [
    (np.ones((5, 3), complex), TypeError, "points: expected numbers, got dtype complex128"),
    (np.ones((5, 3), bool), TypeError, "points: expected numbers, got dtype bool"),
    (np.ones((5, 3), object), TypeError, "points: expected numbers, got dtype object"),
    ("points", TypeError, "points: expected numbers, got dtype <U6"),
    (None, TypeError, "points: expected numbers, got None"),
    (np.ones((5, 2)), ValueError, "points: expected shape (..., 3), got (5, 2)"),
    (3.0, ValueError, "points: expected shape (..., 3), got ()"),
]


@pytest.mark.parametrize("points, kind, text", REFUSED)
def test_what_holds_no_points_is_refused(points, kind, text):
    with pytest.raises(kind) as caught:
        posed().project(points)
    assert str(caught.value) == text


@pytest.mark.parametrize("leading", [(), (0,), (4, 0, 2), (1,), (2, 3, 4)])
def test_any_leading_shape_is_kept(leading):
    view = posed()
    points, pixels = np.ones(leading + (3,)), np.ones(leading + (2,))
    status = np.empty(leading, np.uint8)
    answer, jacobian = view.project(points, status=status, derivatives=True)
    assert answer.shape == leading + (2,) and jacobian.pose.shape == leading + (2, 6)
    assert jacobian.point.shape == leading + (2, 3) and jacobian.intrinsics.shape == leading + (2, 13)
    answer, jacobian = view.rectify(pixels, status=status, derivatives=True)
    assert answer.shape == leading + (2,) and jacobian.pixel.shape == leading + (2, 2)
    assert view.ray_at(pixels, status=status).direction.shape == leading + (3,)


def test_results_go_where_they_are_wanted():
    view = posed()
    points = points_before(view, 30)
    out, rays = np.empty((30, 2)), np.empty((30, 3))
    assert view.project(points, out=out) is out
    np.testing.assert_array_equal(out, view.project(points))
    assert view.ray_at(out, out=rays).direction is rays
    with pytest.raises(ValueError, match="out: expected shape"):
        view.project(points, out=np.empty((29, 2)))
    with pytest.raises(ValueError, match="out: expected dtype float64, got float32"):
        view.project(points, out=np.empty((30, 2), np.float32))
    with pytest.raises(ValueError, match="out: shares memory with another argument"):
        view.rectify(out, out=out)
    with pytest.raises(ValueError, match="status: expected shape"):
        view.project(points, status=np.empty(29, np.uint8))


def test_threads_change_no_bit():
    view = posed()
    points = points_before(view, 20000)
    expected, by = view.project(points, derivatives=True)
    for threads in (0, 3):
        pixels, jacobian = view.project(points, derivatives=True, threads=threads)
        np.testing.assert_array_equal(pixels, expected)
        np.testing.assert_array_equal(jacobian.intrinsics, by.intrinsics)
        np.testing.assert_array_equal(view.rectify(pixels, threads=threads), view.rectify(expected))
    with pytest.raises(ValueError, match="threads: expected 0 to 256, got -1"):
        view.project(points, threads=-1)


def test_the_interpreter_runs_on_meanwhile():
    view = posed()
    pixels = np.random.default_rng(8).uniform([0, 0], [640, 480], (400000, 2))
    worker = threading.Thread(target=view.rectify, args=(pixels,))
    worker.start()
    steps = 0
    while worker.is_alive():
        steps += 1
    worker.join()
    assert steps > 100
