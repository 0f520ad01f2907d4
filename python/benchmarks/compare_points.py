"""Usage: compare_points.py

Times projection and rectification of points, and what OpenCV's functions take for the same, where python3-opencv is
installed. Microseconds a call, the least of several rounds; ratios are those of one run, and what to go by on a machine
that does other work too. PYTHONPATH says where the package is.
"""

import timeit

import camera_parameters as cp
import numpy as np

try:
    import cv2
except ImportError:
    cv2 = None

COUNTS = (1, 10, 100, 1000, 10000)


def microseconds(call):
    """Of one call, in the best of five rounds."""
    timer = timeit.Timer(call)
    number = max(1, int(0.02 / max(timer.timeit(1), 1e-7)))
    return min(timer.repeat(5, number)) / number * 1e6


def opencv_calls(camera, k, points, pixels):
    """cv2.projectPoints, and cv2.undistortPointsIter as exact as the library."""
    pose = camera.pose.camera_from_robot.astype(float)
    turn, _ = cv2.Rodrigues(pose[:3, :3])
    matrix, lens = k.matrix.astype(float), k.distortion.astype(float)
    criteria = (cv2.TERM_CRITERIA_COUNT | cv2.TERM_CRITERIA_EPS, 100, 1e-12)
    wide_points, wide_pixels = points.astype(float), pixels.astype(float)[:, None]
    return (lambda: cv2.projectPoints(wide_points, turn, pose[:3, 3], matrix, lens),
            lambda: cv2.undistortPointsIter(wide_pixels, matrix, lens, None, None, criteria))


def time_count(camera, count):
    random = np.random.default_rng(count)
    k = camera.intrinsics(640, 480)
    directions = random.uniform(-0.5, 0.5, (count, 2))
    in_camera = np.column_stack([directions, np.ones((count, 2))]) * [2, 2, 2, 1]
    points = (in_camera @ camera.pose.robot_from_camera.T)[:, :3].astype(np.float32)
    pixels = random.uniform([0, 0], [640, 480], (count, 2)).astype(np.float32)
    out = np.empty((count, 2), np.float32)
    wide = points.astype(float)
    times = [microseconds(lambda: camera.project(points, 640, 480)),
             microseconds(lambda: camera.project(points, 640, 480, out=out)),
             microseconds(lambda: camera.project(wide, 640, 480)),
             microseconds(lambda: camera.rectify(pixels, 640, 480))]
    line = f"{count:6} {times[0]:10.2f} {times[1]:10.2f} {times[2]:10.2f} {times[3]:10.2f}"
    if cv2 is not None:
        project, rectify = (microseconds(call) for call in opencv_calls(camera, k, points, pixels))
        line += f" {project:12.2f} {times[0] / project:7.3f} {rectify:12.2f} {times[3] / rectify:7.3f}"
    print(line)


def main():
    heading = f"{'points':>6} {'project':>10} {'with out=':>10} {'of float64':>10} {'rectify':>10}"
    if cv2 is not None:
        heading += f" {'cv2 project':>12} {'ratio':>7} {'cv2 undist.':>12} {'ratio':>7}"
    print(heading)
    for count in COUNTS:
        time_count(cp.CameraParametersSet()["head_camera"], count)


if __name__ == "__main__":
    main()
