"""Views of absurd cameras: each question is answered or refused, and none takes long or ends the process."""

import itertools

import camera_parameters as cp
import numpy as np
import pytest

NUMBERS = [0.0, 1.0, -1.0, 500.0, 1e-300, 1e300, -3e38, 1e-45]
LENGTHS = [1, 2, 640, 2**31 - 1]


def absurd_view(rng):
    fx, fy, skew, cx, cy = rng.choice(NUMBERS, 5)
    lens = rng.choice([0.0, 0.1, -0.5, 1e10, -1e38, 1e300], 8)
    place = rng.choice(NUMBERS, (4, 4)).astype(np.float32) if rng.random() < 0.3 else np.eye(4)
    return cp.CameraView(*rng.choice(LENGTHS, 2), [[fx, skew, cx], [0, fy, cy], [0, 0, 1]], lens, cp.Pose(place))


QUESTIONS = [
    lambda view: view.fields_of_view,
    lambda view: (view.valid_radius, view.valid_half_angle, repr(view)),
    lambda view: view.width * view.height <= 10**6 and view.coverage(),
    lambda view: view.project(np.array(list(itertools.product([0, 1, -1e300, np.nan, np.inf], repeat=3))),
                              derivatives=True),
    lambda view: view.rectify([[0, 0], [1e300, -1], [np.nan, 1], [320, 240]], derivatives=True),
    lambda view: view.ray_at([[0, 0], [1e300, -1], [np.nan, 1], [320, 240]]),
    lambda view: view.resized(2**31 - 1, 1).fields_of_view,
    lambda view: view.binned(3, 1).cropped(0, 0, 1, 1).flipped(True, True).fields_of_view,
    lambda view: view.natural_view_size(0),
    lambda view: view.natural_view_size(1),
    lambda view: view.fit_view(32, 24, 0),
    lambda view: view.fit_view(2**31 - 1, 24, 0.5, centre="kept"),
    lambda view: view.make_rectify_map(cp.RectifiedView(8, 6, fx=1e300, fy=-1e-300, cx=0, cy=1e308)),
    lambda view: view.make_fixed_point_rectify_map(cp.RectifiedView(8, 6, fx=3, fy=3, cx=4, cy=3)),
    lambda view: view.straightened(cp.RectifiedView(8, 6, fx=0, fy=3, cx=4, cy=3)).fields_of_view,
]


@pytest.mark.filterwarnings("ignore:overflow")
@pytest.mark.parametrize("seed", range(4))
def test_absurd_cameras_are_asked_without_harm(seed):
    rng = np.random.default_rng(seed)
    answered = refused = 0
    for _ in range(12):
        view = absurd_view(rng)
        for question in QUESTIONS:
            try:
                question(view)
                answered += 1
            except ValueError as error:  # CalibrationError among them
                assert str(error)
                refused += 1
    assert answered > refused > 0
