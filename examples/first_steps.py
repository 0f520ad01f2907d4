"""First steps with the Python package: needs NumPy, and OpenCV to straighten a picture."""

import pathlib
import sys

import cv2
import numpy as np

import camera_parameters as cp

# Load: a robot's cameras from a file, or without one the compiled-in calibration.
cameras = cp.CameraParametersSet.from_file(sys.argv[1]) if len(sys.argv) > 1 else cp.CameraParametersSet()
camera = cameras[cameras.names[0]]
print(camera)

# Project: points in the robot's frame, metres, to pixels from the picture's corner.
width, height = camera.size
points = np.array([[0, 0, 2], [0.2, 0.1, 2], [0, 0, -2]]) @ camera.pose.robot_from_camera[:3, :3].T + camera.pose.center
status = np.empty(len(points), np.uint8)
for pixel, code in zip(camera.project(points, width, height, status=status), status):
    print(pixel, cp.PointStatus(code).name)

# Straighten: maps once for the camera, cv2.remap for each picture.
view = camera.view(width, height)
straight = view.fit_view(width, height, 0, margin=0.5)
picture = np.indices((height, width)).sum(axis=0).astype(np.uint8)
straightened = cv2.remap(picture, *view.make_rectify_map(straight), cv2.INTER_LINEAR)
print(f"straightened {straightened.shape[1]}x{straightened.shape[0]}, fx {straight.fx:.1f}")

# Aim: the motor positions that bring what a pixel shows, 12 m away, to the middle of the picture.
example = pathlib.Path(__file__).resolve().parents[1] / "calibration" / "example_ptz_cal.txt"
head = cp.PTZCameraModel.from_file(sys.argv[2] if len(sys.argv) > 2 else example)
best = head.aim(at=(500, 200, 2500), pixel=(400, 300), distance=12).best
print(f"pan {best.motors[0]} and tilt {best.motors[1]} centre it to {best.miss:.1f} px")

# Validate: what is doubtful. Diff: what differs from the compiled-in calibration, in pixels.
for finding in cp.validate(cameras):
    print(finding)
for difference in cp.diff(cameras, cp.CameraParametersSet()).cameras:
    print(f"{difference.name} differs by {max(image.as_is.max for image in difference.images):.2f} px")
