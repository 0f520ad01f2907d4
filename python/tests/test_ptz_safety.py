"""Nothing that Python hands to pan-tilt-zoom cameras ends the process, and threads do not wait for each other."""

import copy
import math
import pickle
import threading

import camera_parameters as cp
import numpy as np
import pytest

from calibrations import PTZ


@pytest.fixture(scope="module")
def head():
    return cp.PTZCameraModel.from_file(PTZ)


def without(message, path):
    """A copy without what is at the path."""
    part = message = copy.deepcopy(message)
    for name in path[:-1]:
        part = part[name]
    del part[path[-1]]
    return message


@pytest.mark.parametrize("path, field", [
    (("intrinsics",), "intrinsics.samples"),
    (("intrinsics", "samples"), "intrinsics.samples"),
    (("pan_tilt",), "pan_tilt.base_to_pan.a"),
    (("pan_tilt", "base_to_pan"), "pan_tilt.base_to_pan.a"),
    (("pan_tilt", "pan_to_tilt"), "pan_tilt.pan_to_tilt.a"),
    (("pan_tilt", "tilt_to_camera", "a", 11), "pan_tilt.tilt_to_camera.a"),
])
def test_calibrations_with_missing_parts_make_no_model(head, path, field):
    with pytest.raises(cp.CalibrationError) as caught:
        cp.PTZCameraModel.from_dict(without(head.to_dict(), path))
    assert caught.value.field == field and caught.value.text


def ask_everything(head):
    """Each question once; what has no answer may say so."""
    for zoom in (-(2**31), 0, 2500, 11000, 2**31 - 1):
        now = head.configuration(2**31 - 1, -(2**31), zoom)
        now.project([[1, 2, 3]]), now.rectify([[1, 2]]), now.project_pixel_to_ray([[1, 2]])
        for question in (lambda: now.get_pan_tilt((1, 2)), lambda: now.get_pan_tilt_zoom((1, 2), (300, 400)),
                         lambda: now.get_pan_tilt((1, 2), world=(1, 2, 3)), now.view,
                         lambda: now.aim(point=(3, 1, 1.5)), lambda: now.aim(box=(1, 2, 300, 400), distance=5)):
            try:
                question()
            except cp.CalibrationError as error:
                assert error.text
    model = head.pan_tilt_model
    model.solve((3, 1, 1.5)), model.solve_all((3, 1, 1.5)), model.get_full_transform(1e300, -1e300)
    head.can_see((3, 1, 1.5), sight="centred"), head.coverage(5, azimuths=2), repr(head)
    head.geometry.findable_elevations, head.blind_cones, head.levelling_turn, head.zoom_range, head.better_frame()
    head.zoom_x_factor_to_steps(math.nan), head.steps_to_zoom_x_factor(-5), head.intrinsics.focal_lengths_at([0, -7])


def test_damaged_dicts(head):
    random = np.random.default_rng(14)
    values = [0, -1, 1e38, 2**31 - 1, -(2**31), "NaN", "Infinity", None, "x", [], {}]
    made = 0
    for _ in range(400):
        message = head.to_dict()
        for _ in range(random.integers(1, 4)):
            part = message["intrinsics"] if random.integers(2) else message["pan_tilt"]
            name = str(random.choice(sorted(part)))
            inner = part[name]
            value = values[random.integers(len(values))]
            if name == "samples" and inner and random.integers(4):
                sample = inner[random.integers(len(inner))]
                sample[str(random.choice(sorted(sample)))] = value
            elif isinstance(inner, dict) and "a" in inner and random.integers(4):
                inner["a"][random.integers(12)] = value
            else:
                part[name] = copy.deepcopy(value)
                break  # what comes after may no longer have parts
        try:
            damaged = cp.PTZCameraModel.from_dict(message)
        except cp.CalibrationError as error:
            assert error.text
            continue
        made += 1
        ask_everything(damaged)
    assert 100 < made < 400


def test_damaged_bytes_and_text(head):
    random = np.random.default_rng(14)
    made = 0
    for data in (head.to_bytes(), head.to_text().encode()):
        for _ in range(150):
            damaged = bytearray(data)
            for _ in range(random.integers(1, 4)):
                damaged[random.integers(len(damaged))] = random.integers(256)
            try:
                ask_everything(cp.PTZCameraModel.from_bytes(bytes(damaged[:random.integers(1, 2 * len(damaged))])))
                made += 1
            except cp.CalibrationError as error:
                assert error.text
    assert made > 50


@pytest.mark.parametrize("arguments", [
    (1.5, 0, 0), (None, 0, 0), ("1", 0, 0), (True, 0, 0), (np.True_, 0, 0), ([1], 0, 0), (np.float64(1), 0, 0),
])
def test_positions_that_are_no_whole_steps(head, arguments):
    with pytest.raises(TypeError, match="^pan: expected a whole number, got "):
        head.configuration(*arguments)


@pytest.mark.parametrize("steps", [2**31, -(2**31) - 1, 10**40])
def test_positions_beyond_the_range_of_int(head, steps):
    with pytest.raises(ValueError, match="^tilt: expected -2147483648 to 2147483647, got "):
        head.configuration(0, steps, 0)


def test_zooms_that_are_no_whole_steps(head):
    for zooms in ([0.5], [math.nan], [2.0**31], [math.inf]):
        with pytest.raises(ValueError, match="^zoom: expected whole steps of 32 bits$"):
            head.intrinsics.focal_lengths_at(zooms)
    with pytest.raises(TypeError):
        head.intrinsics.focal_lengths_at([None])


def test_pickles_that_are_damaged_raise(head):
    with pytest.raises(cp.CalibrationError):
        cp.PTZCameraModel.__new__(cp.PTZCameraModel).__setstate__(b"\xff\xff")
    now = cp.PTZCameraModelConfiguration.__new__(cp.PTZCameraModelConfiguration)
    for state in ((), (head, 1, 2), (head, 1, 2, "3"), (None, 1, 2, 3), (head, 1, 2, 2**40)):
        with pytest.raises((TypeError, ValueError)):
            now.__setstate__(state)


def test_a_view_without_a_lens_says_so(head):
    with pytest.raises(cp.CalibrationError) as caught:
        head.configuration(0, 0, 11000).view()
    assert caught.value.text == "zoom position 11000 is one where the lens is not known"
    message = head.to_dict()
    message["intrinsics"]["image_height"] = 0
    with pytest.raises(cp.CalibrationError) as caught:
        cp.PTZCameraModel.from_dict(message).configuration(0, 0, 0).view()
    assert (caught.value.field, caught.value.text) == ("intrinsics", "states no image size")


def test_threads_work_at_once(head):
    """Loads, questions, log records with a Python handler, and tracks, in eight threads."""
    points = np.random.default_rng(14).uniform(1, 6, (200, 3))
    expected = head.track(points, at=(0, 0, 0)).motors
    failures = []

    def work(kind):
        try:
            for _ in range(20):
                if kind == 0:
                    assert cp.PTZCameraModel.from_file(PTZ) == head
                elif kind == 1:
                    with pytest.raises(cp.NoSolutionError):
                        head.pan_tilt_model.compute_pan_tilt((math.nan, 0, 0))
                elif kind == 2:
                    assert pickle.loads(pickle.dumps(head)) == head
                else:
                    assert np.array_equal(head.track(points, at=(0, 0, 0)).motors, expected)
        except BaseException as error:
            failures.append(error)

    threads = [threading.Thread(target=work, args=(i % 4,), daemon=True) for i in range(8)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join(timeout=60)
    assert not any(thread.is_alive() for thread in threads) and not failures


def test_tracks_run_without_the_interpreters_lock(head):
    points = np.random.default_rng(14).uniform(1, 6, (3000, 3))
    done = threading.Event()
    thread = threading.Thread(target=lambda: (head.track(points, at=(0, 0, 0)), done.set()))
    thread.start()
    counted = 0
    while not done.is_set():
        counted += 1
    thread.join()
    # While the lock is kept nobody counts; 1e5 measured.
    assert counted > 1000


def test_tracks_follow(head):
    points = [(3, 1, 1.5), (3, 0.9, 1.5), (0.1, 0, 1.21), (math.nan, 0, 0), (3, 0.8, 1.5)]
    track = head.track(points, at=(500, 200, 2500))
    assert track.reason == [None, None, "out-of-reach", "invalid-request", None]
    assert track.reached.tolist() == [True, True, False, False, True] and len(track) == 5
    at = (500, 200, 2500)
    for i, point in enumerate(points):
        if track.reached[i]:
            best = head.aim(at=at, point=point).best
            at = best.motors
            assert track.miss[i] == best.miss and track.lands[i].tolist() == best.lands.tolist()
        else:
            assert math.isnan(track.miss[i]) and np.isnan(track.lands[i]).all() and not track.is_limited[i]
        assert tuple(track.motors[i].tolist()) == at == (track.pan[i], track.tilt[i], track.zoom[i])
    assert head.track(np.empty((0, 3)), at=(0, 0, 0)).motors.shape == (0, 3)
    for wrong in ((1, 2, 3), [[[1, 2, 3]]], [[1, 2]]):
        with pytest.raises(ValueError):
            head.track(wrong, at=(0, 0, 0))
    with pytest.raises(TypeError, match="unexpected argument 'point'"):
        head.track(points, at=(0, 0, 0), point=(1, 2, 3))
