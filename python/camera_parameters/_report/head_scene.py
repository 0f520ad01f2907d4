"""The chain of a pan-tilt head in its base frame: axes of the joints, where the motors turn the camera, blind cones."""

import math

import numpy as np

from camera_parameters._report import scene as scenes
from camera_parameters._report.scene import Label, Line

SWEEP_POINTS = 48
CONE_POINTS = 48


def pose_matrix(message):
    """A stored pose as a matrix in metres; NaN where it has no 12 numbers."""
    numbers = [float(value) for value in (message or {}).get("a", [])[:12]]
    matrix = np.full((4, 4), np.nan)
    if len(numbers) == 12:
        matrix[:3] = np.array(numbers).reshape(3, 4)
        matrix[:3, 3] /= 1000.0
        matrix[3] = (0, 0, 0, 1)
    return matrix


def turn(angle):
    """The rotation of coordinates about z by an angle, radians."""
    c, s = math.cos(angle), math.sin(angle)
    matrix = np.eye(4)
    matrix[:2, :2] = ((c, -s), (s, c))
    return matrix


def inverse(matrix):
    """The inverse; NaN where there is none."""
    if not np.isfinite(matrix).all():
        return np.full((4, 4), np.nan)
    try:
        return np.linalg.inv(matrix)
    except np.linalg.LinAlgError:
        return np.full((4, 4), np.nan)


def joints(head, pan_tilt):
    """The frames of the pan and the tilt joint in the base, (4, 4) each, with pan at its home."""
    base_to_pan = pose_matrix(pan_tilt.get("base_to_pan"))
    pan, _tilt = home_of(head)
    angle = (pan - float(pan_tilt.get("pan_offset", 0))) * float(pan_tilt.get("pan_scale", 0))
    if not math.isfinite(angle):
        angle = 0.0
    tilt = inverse(pose_matrix(pan_tilt.get("pan_to_tilt")) @ turn(angle) @ base_to_pan)
    return inverse(base_to_pan), tilt


def home_of(head):
    """Where the head stands in the drawing: home as far as the calibration states it, else the nearest to 0."""
    home = head.home or (0, 0)
    place = []
    for at, (low, high) in zip(home, (head.pan_range, head.tilt_range)):
        at = at or 0
        at = at if low is None else max(at, low)
        place.append(at if high is None else min(at, high))
    return tuple(place)


def zoom_of(head):
    """The widest zoom position with a lens; None where there is none."""
    return head.zoom_range[0] if head.zoom_range else None


def sweep(head, zoom, length, motor):
    """Where the end of the optical axis goes while one motor turns through its range, at the other's home."""
    low, high = (head.pan_range, head.tilt_range)[motor]
    if low is None or high is None or high <= low:
        return np.empty((0, 3))
    points = []
    for step in np.linspace(low, high, SWEEP_POINTS).round().astype(int):
        place = list(home_of(head))
        place[motor] = int(step)
        frame = np.asarray(head.configuration(*place, zoom).pose.robot_from_camera, float)
        points.append(frame[:3, 3] + length * frame[:3, 2])
    return np.array(points)


def cone(apex, axis, half_angle, length):
    """A cone about an axis: its rim, and lines to the apex."""
    aside = np.cross(axis, [1, 0, 0] if abs(axis[0]) < 0.9 else [0, 1, 0])
    aside /= np.linalg.norm(aside)
    other = np.cross(axis, aside)
    angles = np.linspace(0, 2 * math.pi, CONE_POINTS, endpoint=False)[:, None]
    rim = apex + length * (math.cos(half_angle) * axis
                           + math.sin(half_angle) * (np.cos(angles) * aside + np.sin(angles) * other))
    yield Line(rim, "cone", closed=True)
    for index in range(0, CONE_POINTS, CONE_POINTS // 4):
        yield Line(np.stack([apex, rim[index]]), "cone")


def joint(frame, length, name, camera):
    """A joint's axis with its name at the end."""
    centre, axis = frame[:3, 3], frame[:3, 2] / np.linalg.norm(frame[:3, 2])
    return (Line(np.stack([centre - 0.5 * length * axis, centre + length * axis]), "turn", camera),
            Label(centre + 1.12 * length * axis, name, "axis-name joint-name", camera))


def chain_points(frames):
    """The chain from the base's origin over the joints to the camera."""
    return np.array([np.zeros(3)] + [frame[:3, 3] for frame in frames])


def is_drawable(frames):
    """Whether all frames are finite, near the base, and have an axis."""
    return all(np.isfinite(frame).all() and np.abs(frame).max() < scenes.FARTHEST
               and np.linalg.norm(frame[:3, 2]) > 1e-6 for frame in frames)


def build(head, pan_tilt):
    """The scene of a head; None where its poses or its lens are not finite.

    >>> import camera_parameters as cp
    >>> from camera_parameters._report import head_scene
    >>> head = cp.PTZCameraModel.from_file("calibration/example_ptz_cal.txt")
    >>> [label.text for label in head_scene.build(head, head.to_dict()["pan_tilt"]).labels]
    ['camera', 'pan axis', 'tilt axis', 'x', 'y', 'z']
    """
    zoom = zoom_of(head)
    if zoom is None:
        return None
    configuration = head.configuration(*home_of(head), zoom)
    camera = np.asarray(configuration.pose.robot_from_camera, float)
    frames = [*joints(head, pan_tilt), camera]
    if not is_drawable(frames) or not scenes.is_drawable(configuration.pose, configuration.intrinsics):
        return None
    reach = max(np.linalg.norm(frame[:3, 3]) for frame in frames)
    reach = reach if reach > 1e-3 else 1.0
    scene = scenes.Scene([], [], [])
    scene.lines += scenes.frustum(configuration.pose, configuration.intrinsics, 0.7 * reach, 0)
    scene.labels.append(Label(camera[:3, 3] + 0.7 * reach * camera[:3, 2], "camera", "camera-name", 0, (0, -12)))
    for frame, name, colour in zip(frames, ("pan axis", "tilt axis"), (1, 2)):
        line, label = joint(frame, 0.4 * reach, name, colour)
        scene.lines.append(line)
        scene.labels.append(label)
    scene.lines.append(Line(chain_points(frames), "joint"))
    for motor in (0, 1):
        points = sweep(head, zoom, 0.7 * reach, motor)
        if len(points) and np.isfinite(points).all():
            scene.lines.append(Line(points, "sweep", 1 + motor))
    scene.lines += blind(head, frames[0], 0.5 * reach)
    return scenes.finish(scene, reach, ("x", "y", "z"), scenes.AT_END)


def blind(head, pan, length):
    """The blind cones about the pan axis, those that there are."""
    axis = pan[:3, 2] / np.linalg.norm(pan[:3, 2])
    for half_angle, sign in ((head.blind_cones.upper, 1), (head.blind_cones.lower, -1)):
        if math.isfinite(half_angle) and half_angle > 1e-3:
            yield from cone(pan[:3, 3], sign * axis, half_angle, length)
