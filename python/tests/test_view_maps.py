"""Straightened pictures: views that are chosen for them, and maps for cv2.remap."""

import camera_parameters as cp
import numpy as np
import pytest

from calibrations import HEAD

cv2 = pytest.importorskip("cv2")


def head():
    return cp.CameraParametersSet.from_file(HEAD)["head_camera"].view(1280, 960)


def folding():
    """Of a lens that ends within the picture."""
    return cp.CameraView(640, 480, [[500, 0, 320], [0, 500, 240], [0, 0, 1]], [-0.5, 0, 0, 0, 0, 0, 0, 0])


def turned():
    """0.2 radians about the camera's y."""
    c, s = np.cos(0.2), np.sin(0.2)
    return np.array([[c, 0, -s], [0, 1, 0], [s, 0, c]])


@pytest.mark.parametrize("rotation", [np.eye(3), turned()])
def test_maps_are_those_of_cv2(rotation):
    view = head()
    straight = view.fit_view(800, 600, 0, view_from_camera=rotation)
    expected = cv2.initUndistortRectifyMap(view.camera_matrix_from_first_pixel, view.distortion, rotation,
                                           straight.camera_matrix_from_first_pixel, straight.size, cv2.CV_32FC1)
    maps = view.make_rectify_map(straight)
    for ours, theirs in zip(maps, expected):
        assert ours.dtype == np.float32 and ours.shape == (600, 800)
        # Measured: none; a step of single precision at 1000 is 6e-5 pixels.
        np.testing.assert_allclose(ours, theirs, rtol=0, atol=6.2e-5)


def test_a_map_is_the_projection_of_the_straight_pictures_rays():
    view, straight = head(), head().fit_view(64, 48, 0.5)
    columns, rows = np.meshgrid(np.arange(64) + 0.5, np.arange(48) + 0.5)
    camera = view.straightened(straight)
    ray = camera.ray_at(np.stack([columns, rows], axis=-1))
    pixels = view.project(ray.origin + ray.direction)
    maps = np.stack(view.make_rectify_map(straight), axis=-1)
    # The straightened camera's pose is rounded to single precision. Measured: 6e-5 pixels.
    np.testing.assert_allclose(maps, pixels - 0.5, rtol=0, atol=6e-4)


def test_two_channels_are_the_two_maps():
    for view in (head(), folding()):
        straight = cp.RectifiedView(300, 200, fx=100, fy=90, cx=160, cy=90)
        for make in (view.make_rectify_map, view.make_undistort_map):
            apart = make(straight)
            np.testing.assert_array_equal(make(straight, two_channels=True), np.stack(apart, axis=-1))


def test_fixed_point_maps_are_what_cv2_makes_of_the_others():
    straight = head().fit_view(640, 480, 0.3)
    x, y = head().make_rectify_map(straight)
    xy, fraction = head().make_fixed_point_rectify_map(straight)
    expected = cv2.convertMaps(x, y, cv2.CV_16SC2)
    assert xy.dtype == np.int16 and fraction.dtype == np.uint16
    np.testing.assert_array_equal(xy, expected[0])
    np.testing.assert_array_equal(fraction, expected[1])


def test_pixels_without_a_ray_get_the_borders_colour():
    view = folding()
    straight = cp.RectifiedView(400, 300, fx=100, fy=100, cx=200, cy=150)
    x, y = view.make_rectify_map(straight)
    missing = np.isnan(x)
    np.testing.assert_array_equal(missing, np.isnan(y))
    # Rays beyond r = sqrt(2 / 3), which lies 81.6 pixels from the middle.
    columns, rows = np.meshgrid(np.arange(400) - 199.5, np.arange(300) - 149.5)
    radius = np.hypot(columns, rows)
    assert missing[radius > 81.7].all() and not missing[radius < 81.6].any()
    imaged = (x >= 0) & (x <= 639) & (y >= 0) & (y <= 479)
    picture = np.full((480, 640), 200, np.uint8)
    for maps in ((x, y), (view.make_rectify_map(straight, two_channels=True), None),
                 view.make_fixed_point_rectify_map(straight)):
        painted = cv2.remap(picture, *maps, cv2.INTER_NEAREST, borderValue=7)
        assert (painted[missing] == 7).all() and (painted[imaged] == 200).all()


def test_lines_become_straight():
    view = head()
    straight = view.fit_view(1280, 960, 0, margin=0.5)
    across = np.linspace(-0.8, 0.8, 2001)
    line = np.stack([across, 0.3 * across + 0.2, np.ones(2001)], axis=-1)
    pixels = view.moved_to(cp.Pose(np.eye(4))).project(line)
    picture = np.zeros((960, 1280), np.uint8)
    cv2.polylines(picture, [np.round((pixels - 0.5) * 16).astype(np.int32)], False, 255, 2, cv2.LINE_AA, 4)
    painted = cv2.remap(picture, *view.make_fixed_point_rectify_map(straight), cv2.INTER_LINEAR).astype(float)
    k = straight.camera_matrix
    columns = np.arange(300, 980)
    middles = (painted[:, columns] * (np.arange(960)[:, None] + 0.5)).sum(axis=0) / painted[:, columns].sum(axis=0)
    expected = k[1, 1] * (0.3 * (columns + 0.5 - k[0, 2]) / k[0, 0] + 0.2) + k[1, 2]
    # Measured: 0.2 pixels, of a line that is drawn two pixels wide and bends by tens of pixels before.
    np.testing.assert_allclose(middles, expected, rtol=0, atol=0.5)


def test_pictures_are_drawn_into_by_the_other_map():
    view = head()
    straight = view.fit_view(1280, 960, 0)
    x, y = view.make_undistort_map(straight)
    assert x.shape == (960, 1280)
    rays = view.rectify([[400.5, 300.5]])
    expected = rays @ straight.camera_matrix[:2, :2] + straight.camera_matrix[:2, 2] - 0.5
    # Single precision at 400.
    np.testing.assert_allclose([[x[300, 400], y[300, 400]]], expected, rtol=0, atol=4e-5)


def test_maps_go_where_they_are_wanted():
    view, straight = head(), head().fit_view(320, 240, 0)
    pair = np.empty((240, 320), np.float32), np.empty((240, 320), np.float32)
    given = view.make_rectify_map(straight, out=pair)
    assert given[0] is pair[0] and given[1] is pair[1]
    np.testing.assert_array_equal(pair, view.make_rectify_map(straight))
    both = np.empty((240, 320, 2), np.float32)
    assert view.make_rectify_map(straight, two_channels=True, out=both) is both
    fixed = np.empty((240, 320, 2), np.int16), np.empty((240, 320), np.uint16)
    assert view.make_fixed_point_rectify_map(straight, out=fixed)[1] is fixed[1]
    np.testing.assert_array_equal(fixed[1], view.make_fixed_point_rectify_map(straight)[1])


REFUSED = [
    (dict(out=np.empty((240, 320))), TypeError, "out: expected a pair of arrays"),
    (dict(out=(None,)), ValueError, "out: expected a pair of arrays"),
    (dict(out=(np.empty((240, 321), np.float32), None)), ValueError,
     "out[0]: expected shape (240, 320), got (240, 321)"),
    (dict(out=(None, np.empty((240, 320)))), ValueError, "out[1]: expected dtype float32, got float64"),
    (dict(out=[np.empty((240, 320), np.float32)] * 2), ValueError, "out[1]: shares memory with another argument"),
    (dict(threads=257), ValueError, "threads: expected 0 to 256, got 257"),
]


@pytest.mark.parametrize("arguments, kind, text", REFUSED)
def test_other_arrays_are_refused(arguments, kind, text):
    with pytest.raises(kind) as caught:
        head().make_rectify_map(head().fit_view(320, 240, 0), **arguments)
    assert str(caught.value) == text


def test_no_map_is_made_that_no_memory_holds():
    huge = cp.RectifiedView(10**6, 10**6, fx=1, fy=1, cx=1, cy=1)
    for make in (head().make_rectify_map, head().make_fixed_point_rectify_map):
        with pytest.raises(ValueError, match="size: 1000000x1000000 has more than 268435456 pixels"):
            make(huge)
    with pytest.raises(ValueError, match="size: 1000000x1000000 has more than 268435456 pixels"):
        head().resized(10**6, 10**6).make_undistort_map(head().fit_view(32, 24, 0))


def test_threads_change_no_bit():
    straight = head().fit_view(640, 480, 0)
    expected = head().make_rectify_map(straight)
    for threads in (0, 3):
        np.testing.assert_array_equal(head().make_rectify_map(straight, threads=threads), expected)


def test_options_do_what_they_say():
    view = head()
    middle = view.fit_view(640, 480, 0, centre="middle", aspect=2.0)
    assert (middle.cx, middle.cy) == pytest.approx((320, 240), rel=1e-15)
    assert middle.fx / middle.fy == pytest.approx(2, rel=1e-12)
    kept = view.fit_view(640, 480, 0, centre="kept")
    k = view.camera_matrix
    assert (kept.cx / 640, kept.cy / 480) == pytest.approx((k[0, 2] / 1280, k[1, 2] / 960), rel=1e-12)
    assert view.fit_view(640, 480, 0, margin=20).fx > view.fit_view(640, 480, 0).fx
    valid, whole = view.fit_view(640, 480, 0), view.fit_view(640, 480, 1)
    x, y = view.make_rectify_map(valid)
    assert x.min() > -0.5 and x.max() < 1279.5 and y.min() > -0.5 and y.max() < 959.5
    assert whole.fx < valid.fx


def test_a_camera_that_sees_nothing_makes_maps_of_nan():
    blind = cp.CameraView(640, 480, np.diag([0, 0, 1]))
    x, y = blind.make_rectify_map(cp.RectifiedView(32, 24, fx=10, fy=10, cx=16, cy=12))
    assert np.isnan(x).all() and np.isnan(y).all()
    assert np.isnan(blind.coverage().share) and np.isnan(blind.fields_of_view.diagonal)
