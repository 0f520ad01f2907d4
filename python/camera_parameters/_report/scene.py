"""What stands on the robot, in its frame and in metres: axes, ground and cameras, as lines for a drawing that turns."""

import dataclasses
import math

import numpy as np

import camera_parameters as cp
from camera_parameters._report import lens, numbers

# Where the eye is at first: before the robot, to its right and above, degrees.
HOME = {"azimuth": -50.0, "elevation": 24.0}
SIZE = (800, 520)
POINTS_PER_SIDE = 8
# What is farther than this from the robot is no robot's camera; double precision is kept for the rest.
FARTHEST = 1e6


@dataclasses.dataclass
class Line:
    """Points (N, 3) that are joined, closed to an area or not. `kind` is the class in the style sheet."""

    points: np.ndarray
    kind: str
    camera: int = -1
    closed: bool = False


@dataclasses.dataclass
class Label:
    """Text that stays upright at a point, beside it by `offset`, units of the drawing."""

    at: np.ndarray
    text: str
    kind: str
    camera: int = -1
    offset: tuple = (0, 0)


@dataclasses.dataclass
class Scene:
    """Lines and labels with what fits them into the drawing: the middle, and units of the drawing per metre. `reach` is
    how far from the origin something stands, `second` the file whose changes are drawn too."""

    lines: list
    labels: list
    left_out: list
    target: np.ndarray = dataclasses.field(default_factory=lambda: np.zeros(3))
    scale: float = 1.0
    grid: float = 1.0
    reach: float = 1.0
    second: str = ""


def screen_axes(azimuth, elevation):
    """Right and up of a drawing as seen from a direction: azimuth from x to y, elevation above z = 0, degrees.

    >>> import camera_parameters as cp
    >>> from camera_parameters._report.scene import screen_axes
    >>> screen_axes(0, 0)  # from ahead: the robot's left is to the right, up is up
    array([[-0.,  1.,  0.],
           [-0., -0.,  1.]])
    """
    a, e = math.radians(azimuth), math.radians(elevation)
    return np.array([[-math.sin(a), math.cos(a), 0],
                     [-math.sin(e) * math.cos(a), -math.sin(e) * math.sin(a), math.cos(e)]])


def to_screen(scene, points, azimuth, elevation, zoom=1.0):
    """Points of the robot's frame in the drawing, without perspective: (N, 3) -> (N, 2)."""
    seen = (np.asarray(points, float) - scene.target) @ screen_axes(azimuth, elevation).T * (scene.scale * zoom)
    return np.array(SIZE) / 2 + seen * [1, -1]


def border_pixels(width, height, count=POINTS_PER_SIDE):
    """The image's border, clockwise from its upper left corner, `count` points a side: (4 count, 2)."""
    t = np.arange(count) / count
    zero, one = np.zeros(count), np.ones(count)
    u = np.concatenate([t, one, 1 - t, zero])
    v = np.concatenate([zero, t, one, 1 - t])
    return np.stack([u * width, v * height], axis=-1)


def border_rays(intrinsics, count=POINTS_PER_SIDE):
    """Rays of length 1 in the camera frame at the border's pixels; NaN where the lens has none."""
    points = lens.rays_at(intrinsics, border_pixels(intrinsics.width, intrinsics.height, count))
    rays = np.concatenate([points, np.ones((len(points), 1))], axis=1)
    return rays / np.linalg.norm(rays, axis=1, keepdims=True)


def is_drawable(pose, intrinsics):
    """Whether a camera has a place near the robot and rays at its border."""
    numbers_of_pose = np.asarray(pose.robot_from_camera, float)
    if not np.all(np.isfinite(numbers_of_pose)) or np.abs(numbers_of_pose).max() > FARTHEST:
        return False
    return bool(np.isfinite(border_rays(intrinsics)).all(axis=1).sum() >= 3)


def lower_middle(pose, intrinsics, length):
    """The middle of a pyramid's lower border, below which a camera's name covers neither it nor the axes; the tip where
    it has none."""
    inverse = np.asarray(pose.robot_from_camera, float)
    ray = border_rays(intrinsics)[5 * POINTS_PER_SIDE // 2]
    return inverse[:3, 3] + (length * (inverse[:3, :3] @ ray) if np.isfinite(ray).all() else 0)


def frustum(pose, intrinsics, length, camera):
    """The pyramid of what a camera sees, its rays `length` metres long: border, edges and the line to the ground."""
    inverse = np.asarray(pose.robot_from_camera, float)
    centre = inverse[:3, 3]
    rays = border_rays(intrinsics) @ inverse[:3, :3].T
    points = centre + length * rays
    seen = np.isfinite(points).all(axis=1)
    yield Line(points[seen], "frustum", camera, closed=True)
    closed, all_seen = np.concatenate([points, points[:1]]), np.append(seen, seen[0])
    sides = [slice(first, first + POINTS_PER_SIDE + 1) for first in range(0, len(points), POINTS_PER_SIDE)]
    for side in sides:
        yield Line(np.concatenate([centre[None], closed[side][all_seen[side]]]), "side", camera, closed=True)
    # The upper border is marked, so that up can be told.
    yield Line(closed[sides[0]][all_seen[sides[0]]], "top", camera)
    yield Line(np.stack([centre, centre * [1, 1, 0]]), "drop", camera)


# Where the axes' names stand: how far out, in lengths of the axis, and beside it, units of the drawing. Beside the axes
# of the robot, since cameras before it are drawn where the axes end; and at the ends of those that are a letter.
BESIDE = ((0.55, (-12, 20)), (0.75, (2, -9)), (1.12, (0, 0)))
AT_END = ((1.12, (0, 0)),) * 3


def axes(length, names, places):
    """The axes of the frame with their names."""
    for index, (name, (out, offset)) in enumerate(zip(names, places)):
        end = np.zeros(3)
        end[index] = length
        yield Line(np.stack([np.zeros(3), end]), f"axis axis-{'xyz'[index]}"), Label(
            end * out, name, f"axis-name axis-{'xyz'[index]}", offset=offset)


def ground(reach):
    """Lines of the ground z = 0, a nice step apart, around the origin."""
    step = numbers.nice_step(reach, 4)
    count = max(2, math.ceil(reach / step))
    ends = count * step
    lines = []
    for index in range(-count, count + 1):
        for way in ((0, 1), (1, 0)):
            line = np.zeros((2, 3))
            line[:, way[0]] = index * step
            line[:, way[1]] = (-ends, ends)
            lines.append(Line(line, "grid grid-axis" if index == 0 else "grid"))
    return step, lines


def fit(scene, reach):
    """Sets the middle and the scale so that nothing leaves the drawing however it is turned."""
    points = np.concatenate([line.points for line in scene.lines if not line.kind.startswith("grid")])
    scene.target = (points.min(axis=0) + points.max(axis=0)) / 2
    radius = np.linalg.norm(points - scene.target, axis=1).max()
    scene.scale = 0.46 * min(SIZE) / max(radius, 0.6 * reach, 1e-9)


def is_same(line, other):
    """Whether two lines are drawn alike."""
    return line.kind == other.kind and line.camera == other.camera and np.array_equal(line.points, other.points)


def add_second(scene, second, name):
    """Adds what another calibration changes of a scene, its lines of the kind `second`; `name` is its file's."""
    old = [line for line in scene.lines if not line.kind.startswith(("grid", "axis"))]
    new = [line for line in second.lines if not line.kind.startswith(("grid", "axis"))]
    changed = [line for line in new if not any(is_same(line, other) for other in old)]
    scene.lines += [dataclasses.replace(line, kind=line.kind + " second") for line in changed]
    known = {label.text for label in scene.labels}
    scene.labels += [label for label in second.labels if label.text not in known]
    scene.left_out += [f"{left_out} in {name}" for left_out in second.left_out]
    scene.second = name if changed else ""
    fit(scene, max(scene.reach, second.reach))


def build(cameras):
    """The scene of cameras: a list of (name, pose, intrinsics of the full frame, index in the page).

    >>> import camera_parameters as cp
    >>> from camera_parameters._report import scene
    >>> camera = cp.CameraParametersSet()["head_camera"]
    >>> drawn = scene.build([("head_camera", camera.pose, camera.intrinsics(1280, 960), 0)])
    >>> [label.text for label in drawn.labels]
    ['head_camera', 'x ahead', 'y left', 'z up']
    """
    drawn = [camera for camera in cameras if is_drawable(camera[1], camera[2])]
    scene = Scene([], [], [camera[0] for camera in cameras if camera not in drawn])
    centres = [np.asarray(pose.robot_from_camera, float)[:3, 3] for _name, pose, _k, _index in drawn]
    reach = max([float(np.linalg.norm(centre)) for centre in centres] + [0.0])
    reach = reach if reach > 1e-3 else 1.0
    for name, pose, intrinsics, index in drawn:
        scene.lines += frustum(pose, intrinsics, 0.42 * reach, index)
        scene.labels.append(Label(lower_middle(pose, intrinsics, 0.42 * reach), name, "camera-name", index, (0, 28)))
    return finish(scene, reach, ("x ahead", "y left", "z up"), BESIDE)


def finish(scene, reach, names, places):
    """Adds axes and ground to what stands up to `reach` metres from the origin, and fits all into the drawing."""
    for line, label in axes(0.24 * reach, names, places):
        scene.lines.append(line)
        scene.labels.append(label)
    scene.reach = reach
    scene.grid, grid = ground(1.2 * reach)
    # Of a border without rays a point or none is left.
    scene.lines = grid + [line for line in scene.lines if len(line.points) > 1]
    fit(scene, reach)
    return scene


def full_frame(camera):
    """The intrinsics of a camera's full frame; None where it has no size."""
    width, height = camera.size
    return camera.intrinsics(width, height) if width > 0 and height > 0 else None


def of_set(cameras, names, order):
    """The scene of a set's cameras; a camera's place in `order` gives its colour."""
    placed = []
    for name in names:
        camera = cameras.get_camera(name)
        intrinsics = full_frame(camera) if camera is not None else None
        if intrinsics is None:
            intrinsics = cp.Intrinsics(1, 1, np.full((3, 3), np.nan), np.zeros(8))
        placed.append((name, camera.pose, intrinsics, order.index(name)))
    return build(placed)
