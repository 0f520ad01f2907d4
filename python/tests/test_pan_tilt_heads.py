"""Heads: their chain, all angles that see a point, what they reach, and better frames."""

import math
import pickle

import camera_parameters as cp
import numpy as np
import pytest

import tool
from calibrations import PTZ


@pytest.fixture(scope="module")
def camera():
    return cp.PTZCameraModel.from_file(PTZ)


@pytest.fixture(scope="module")
def head(camera):
    return camera.pan_tilt_model


def turned(angle):
    c, s = math.cos(angle), math.sin(angle)
    return np.array([[c, -s, 0, 0], [s, c, 0, 0], [0, 0, 1, 0], [0, 0, 0, 1]])


def chain(head, pan, tilt):
    """camera_from_base at two angles, in double."""
    poses = [pose.astype(float) for pose in (head.tilt_to_camera, head.pan_to_tilt, head.base_to_pan)]
    return poses[0] @ turned(tilt) @ poses[1] @ turned(pan) @ poses[2]


def with_head(camera, **fields):
    message = camera.to_dict()
    message["pan_tilt"].update(fields)
    return cp.PTZCameraModel.from_dict(message)


def test_what_the_file_states(head):
    assert head.base_to_pan.tolist() == [[1, 0, 0, np.float32(-0.1)], [0, 1, 0, 0], [0, 0, 1, np.float32(-1.2)],
                                         [0, 0, 0, 1]]
    assert head.pan_to_tilt[:3, :3].tolist() == [[1, 0, 0], [0, 0, -1], [0, 1, 0]]
    assert head.tilt_to_camera[:3, 3].tolist() == np.array([0.002, 0.012, -0.03], np.float32).tolist()
    assert (head.pan_scale, head.tilt_scale) == (np.float32(0.0005), np.float32(0.0005))
    assert (head.pan_offset, head.tilt_offset, head.aux_value_1, head.aux_value_2) == (0, 0, 0, 0)
    assert not head.base_to_pan.flags.writeable


def test_every_root_sees_the_point(head):
    random = np.random.default_rng(14)
    counts = []
    for _ in range(200):
        point, dev = random.uniform(-6, 6, 3), random.uniform(-0.3, 0.3, 2)
        roots = head.solve_all(point, dev)
        counts.append(len(roots))
        for root in roots:
            seen = (chain(head, root.pan, root.tilt) @ [*point, 1])[:3]
            # 4.4e-16 measured, and 6.7e-16 of the range.
            assert seen[2] > 0 and np.abs(seen[:2] / seen[2] - dev).max() < 1e-13
            assert root.range == pytest.approx(np.linalg.norm(seen), rel=1e-13)
            assert root.miss <= 1e-12 and root.sensitivity > 0.9
        assert [root.pan for root in roots] == sorted(root.pan for root in roots)
        assert (roots.reach == "reached") == (len(roots) > 0)
    assert max(counts) == 2 and counts.count(2) > 150


def test_roots_are_a_sequence(head):
    roots = head.solve_all((3, 1, 1.5))
    assert roots[-1].pan == list(roots)[-1].pan and len(list(roots)) == 2
    for index in (2, -3, 2**40):
        with pytest.raises(IndexError):
            roots[index]


@pytest.mark.parametrize("point, dev, reach", [
    ((3, 1, 1.5), (0, 0), "reached"),
    ((0.1, 0, 1.21), (0, 0), "out-of-reach"),
    ((math.nan, 0, 0), (0, 0), "not-finite"),
    ((math.inf, 0, 0), (0, 0), "not-finite"),
    ((3, 1, 1.5), (math.nan, 0), "not-finite"),
])
def test_the_reach_says_why(head, point, dev, reach):
    roots = head.solve_all(point, dev)
    assert roots.reach == reach and (len(roots) > 0) == (reach == "reached")


def test_axes_that_are_parallel(camera):
    parallel = with_head(camera, pan_to_tilt={"a": [1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0]})
    assert parallel.pan_tilt_model.solve_all((3, 1, 1)).reach == "parallel-axes"
    assert np.isnan(parallel.coverage(5, azimuths=4).centre).all() and len(parallel.coverage(5, azimuths=4)) == 0


def test_a_point_on_the_pan_axis_is_seen_at_every_pan(camera):
    # Without lever arms, so that the optical axis meets the pan axis.
    meeting = with_head(camera, pan_to_tilt={"a": [1, 0, 0, 0, 0, 0, -1, 0, 0, 1, 0, 0]},
                        tilt_to_camera={"a": [0, 0, -1, 0, 0, 1, 0, 0, 1, 0, 0, 0]}).pan_tilt_model
    on_axis = float(-meeting.base_to_pan[0, 3])  # to the bit: beside it there are two pans
    roots = meeting.solve_all((on_axis, 0, 4), free_pan=0.7)
    assert roots.reach == "any-pan" and [root.pan for root in roots] == [0.7]
    assert math.isinf(roots[0].sensitivity)


def test_failures_of_the_fixed_operations(camera, head):
    with pytest.raises(cp.NoSolutionError) as caught:
        head.compute_pan_tilt((math.nan, 0, 0))
    assert caught.value.reason == "no-candidate"
    assert caught.value.text == "the head cannot point there: no solution with a tilt within 90 deg either way"
    with pytest.raises(cp.NoSolutionError) as caught:
        head.compute_pan_tilt((0.093, -0.027, 1.253))
    error = head.solve((0.093, -0.027, 1.253)).error
    assert caught.value.reason == head.solve((0.093, -0.027, 1.253)).verdict == "high-residual" and 1e-5 < error <= 0.01
    assert caught.value.text == ("the head cannot point there: the best solution has an error of "
                                 f"{error:.3g} square metres")
    with pytest.raises(cp.NoSolutionError) as caught:
        camera.configuration(0, 0, 11000).get_pan_tilt((960, 540))
    assert (caught.value.reason, caught.value.text) == ("no-ray", "no ray reaches pixel 960,540")


@pytest.mark.parametrize("call", [
    lambda h: h.solve(None), lambda h: h.solve("abc"), lambda h: h.solve([True, False, True]),
    lambda h: h.solve_points([1j, 2, 3]), lambda h: h.solve_all((1, 2, 3), tolerance="x"),
    lambda h: h.get_full_transform("a", 0), lambda h: h.get_full_transform(True, 0),
])
def test_what_is_no_number_is_a_type_error(head, call):
    with pytest.raises(TypeError):
        call(head)


@pytest.mark.parametrize("call", [
    lambda h: h.solve((1, 2)), lambda h: h.solve((1, 2, 3), dev=(1, 2, 3)), lambda h: h.solve_points([[1, 2]]),
    lambda h: h.solve_all([[1, 2, 3]]), lambda h: h.solve_all((1, 2, 3), tolerance=math.nan),
    lambda h: h.solve_all((1, 2, 3), free_pan=math.inf),
])
def test_wrong_shapes_and_searches_are_value_errors(head, call):
    with pytest.raises(ValueError):
        call(head)


def test_arrays_of_points_have_their_shape(head):
    points = np.random.default_rng(14).uniform(-4, 4, (3, 4, 3))
    answers = head.solve_points(points)
    assert answers.shape == (3, 4, 2) and answers.dtype == np.float32
    assert head.solve_points(np.empty((0, 3))).shape == (0, 2)


def test_reach_is_what_the_tool_shows(camera):
    reach = tool.run_json("show", PTZ)["reach"]
    coverage = camera.coverage(5, azimuths=36)
    assert coverage.centre.tolist() == reach["centre"]
    spans = {}
    for azimuth, lowest, highest in coverage.spans:
        spans.setdefault(round(math.degrees(azimuth)), []).append([lowest, highest])
    for direction in reach["directions"]:
        expected = direction["elevations_degrees"]
        here = spans.get(direction["azimuth_degrees"], [])
        assert np.allclose(np.degrees(here), expected, rtol=0, atol=1e-12)


def test_what_is_seen_lies_within_the_coverage(camera):
    coverage = camera.coverage(5, azimuths=8)
    for azimuth, lowest, highest in coverage.spans:
        for elevation, seen in ((lowest - 0.01, False), (lowest + 0.01, True)):
            away = 5 * np.array([math.cos(elevation) * math.cos(azimuth), math.cos(elevation) * math.sin(azimuth),
                                 math.sin(elevation)])
            assert camera.can_see(coverage.centre + away, sight="centred") is seen
        assert highest > lowest


def test_seeing_takes_arrays(camera):
    points = np.array([[[3, 1, 1.5]], [[math.nan, 0, 0]]])
    assert camera.can_see(points).tolist() == [[True], [False]]
    assert camera.can_see(points[0, 0], "in-picture") is True
    assert camera.can_see(np.empty((0, 3))).shape == (0,)


@pytest.mark.parametrize("call, error, text", [
    (lambda c: c.can_see((1, 2, 3), sight="centered"), ValueError,
     "sight: expected one of centred, in-picture, got 'centered'"),
    (lambda c: c.can_see((1, 2)), ValueError, "points: expected shape (..., 3), got (2,)"),
    (lambda c: c.coverage(0), ValueError, "distance: expected a positive number"),
    (lambda c: c.coverage(math.nan), ValueError, "distance: expected a positive number"),
    (lambda c: c.coverage(math.inf), ValueError, "distance: expected a positive number"),
    (lambda c: c.coverage(5, azimuths=0), ValueError, "azimuths: expected 1 to 36000, got 0"),
    (lambda c: c.coverage(5, azimuths=36001), ValueError, "azimuths: expected 1 to 36000, got 36001"),
    (lambda c: c.coverage(None), TypeError, "distance: expected a number, got NoneType"),
])
def test_questions_of_reach_that_are_none(camera, call, error, text):
    with pytest.raises(error) as caught:
        call(camera)
    assert str(caught.value) == text


def test_the_same_head_in_other_frames(camera):
    # A quarter turn of zero tilt, and the pan frame turned by 30 degrees.
    c, s = math.cos(math.radians(30)), math.sin(math.radians(30))
    message = camera.to_dict()["pan_tilt"]
    pan = np.array(message["base_to_pan"]["a"], float).reshape(3, 4)
    tilt = np.array(message["pan_to_tilt"]["a"], float).reshape(3, 4)
    z = np.array([[c, -s, 0], [s, c, 0], [0, 0, 1]])
    tilt[:, :3] = tilt[:, :3] @ z.T
    odd = with_head(camera, base_to_pan={"a": (z @ pan).ravel().tolist()}, pan_to_tilt={"a": tilt.ravel().tolist()})
    assert not odd.geometry.azimuth_is_supported
    assert math.degrees(abs(odd.geometry.azimuth)) == pytest.approx(30, abs=1e-9)
    better, turn = odd.better_frame()
    assert turn == 0 and better.geometry.azimuth_is_supported and better.better_frame() is None
    ask = dict(at=(0, 0, 0), point=(3, 1, 1.5))
    assert better.aim(**ask).best.motors == odd.aim(**ask).best.motors == camera.aim(**ask).best.motors
    assert camera.reframed(0.25).aim(**ask).best.motors == camera.aim(**ask).best.motors


def test_frames_that_are_none(camera):
    with pytest.raises(ValueError, match="tau: expected a finite number"):
        camera.reframed(math.nan)
    with pytest.raises(cp.CalibrationError) as caught:
        with_head(camera, tilt_scale=0).reframed(0.1)
    assert caught.value.field == "pan_tilt.tilt_scale"
    assert not with_head(camera, tilt_scale=0).motors_turn and camera.motors_turn


def test_a_blind_cone(camera):
    # A tilt axis one degree off square leaves a cone of one degree at zenith and nadir.
    angle = math.radians(1)
    c, s = math.cos(angle), math.sin(angle)
    tilt = [1, 0, 0, -25, 0, s, -c, 60, 0, c, s, 0]
    cones = with_head(camera, pan_to_tilt={"a": tilt}).blind_cones
    assert cones.upper == pytest.approx(angle, abs=1e-7) and cones.lower == pytest.approx(angle, abs=1e-7)
    assert (camera.blind_cones.upper, camera.blind_cones.lower) == (0, 0)


def test_heads_pickle(head):
    again = pickle.loads(pickle.dumps(head))
    assert np.array_equal(again.get_full_transform(7, 8).camera_from_robot,
                          head.get_full_transform(7, 8).camera_from_robot)
