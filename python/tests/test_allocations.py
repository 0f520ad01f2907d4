"""What calls with arrays in place allocate, and that other threads run meanwhile."""

import threading
import tracemalloc

import camera_parameters as cp
import numpy as np

CAMERA = cp.CameraParametersSet()["head_camera"]


def peak_of(action):
    """Bytes at the highest point of one call, over those before."""
    action()
    tracemalloc.start()
    try:
        before = tracemalloc.get_traced_memory()[0]
        action()
        return tracemalloc.get_traced_memory()[1] - before
    finally:
        tracemalloc.stop()


def calls_of(count):
    points = np.random.default_rng(3).uniform(1, 3, (count, 3)).astype(np.float32)
    pixels = np.random.default_rng(4).uniform(0, 640, (count, 2)).astype(np.float32)
    out, status = np.empty((count, 2), np.float32), np.empty(count, np.uint8)
    return [lambda: CAMERA.project(points, 640, 480, out=out, status=status),
            lambda: CAMERA.rectify(pixels, 640, 480, out=out, status=status)]


def test_tracemalloc_sees_arrays():
    points = np.zeros((100000, 3), np.float32)
    assert peak_of(lambda: CAMERA.project(points, 640, 480)) > 800000


def test_nothing_that_grows_with_the_number_of_points():
    for small, large in zip(calls_of(10), calls_of(100000)):
        assert peak_of(large) == peak_of(small) < 5000


def test_nor_in_eight_threads():
    def call_all():
        threads = [threading.Thread(target=call) for call in calls]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()

    calls = [call for _ in range(4) for call in calls_of(50000)]
    # A thread's own objects: a few kilobytes each; one array of results would be 400 kB.
    assert peak_of(call_all) < 100000


def test_other_threads_run_meanwhile():
    pixels = np.random.default_rng(5).uniform(0, 640, (1000000, 2)).astype(np.float32)
    done = threading.Event()
    thread = threading.Thread(target=lambda: (CAMERA.rectify(pixels, 640, 480), done.set()))
    counted = 0
    thread.start()
    while not done.is_set():
        counted += 1
    thread.join()
    assert counted > 1000  # one or two where the call keeps the interpreter
