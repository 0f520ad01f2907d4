"""What one calibration changes in another one."""

import dataclasses
import math
import typing
from typing import Any, List, Optional, Tuple

import numpy

from camera_parameters import _core, _sources
from camera_parameters._core import Intrinsics


class _Shown:
    """What notebooks show as a table."""

    def _repr_html_(self):
        from camera_parameters import _html

        return _html.difference(self)


@dataclasses.dataclass(frozen=True)
class PixelDifference:
    """How far apart A and B image what A sees at the pixels of a grid: the distances between B's pixel and A's, pixels.

    `compared` counts the points that both image, of which the figures are; `without_ray` the grid's pixels at which A
    images no ray; `not_imaged` the points that B does not image. `worst_at` is A's pixel (u, v) with the largest one.
    Without any point that both image `max`, `median`, `rms` and `worst_at` are NaN.

    >>> import camera_parameters as cp
    >>> cameras = cp.CameraParametersSet()
    >>> cp.diff(cameras, cameras).cameras[0].images[0].as_is.max
    0.0
    """

    compared: int
    without_ray: int
    not_imaged: int
    max: float
    median: float
    rms: float
    worst_at: Tuple[float, float]


@dataclasses.dataclass(frozen=True)
class DistanceDifference(PixelDifference):
    """The same for points at one `distance` on A's rays, metres from its optical centre, with the cameras in their places.

    >>> import camera_parameters as cp
    >>> cameras = cp.CameraParametersSet()
    >>> [at.distance for at in cp.diff(cameras, cameras).cameras[0].images[0].on_robot]
    [inf, 3.0]
    """

    distance: float = math.inf


@dataclasses.dataclass(frozen=True)
class PoseDifference:
    """Two poses of one camera: the angle of the rotation between them (0 to 180 degrees), the distance between the two
    optical centres (metres), and the way from A's to B's in the robot's frame (x, y, z, metres).

    >>> import camera_parameters as cp
    >>> base = cp.BaseCalibrationData()
    >>> cp.diff(base, base).global_transform
    PoseDifference(angle_degrees=0.0, distance=0.0, movement=(0.0, 0.0, 0.0))
    """

    angle_degrees: float
    distance: float
    movement: Tuple[float, float, float]


@dataclasses.dataclass(frozen=True)
class ImageDifference(_Shown):
    """Two cameras at one image size, pixels.

    `as_is` takes the two camera frames to be one; `rotated` is after the one rotation that makes the RMS smallest,
    `rotation_degrees` (axis times angle, from A's camera frame into B's). `on_robot` has the differences at each of the
    distances, poses included. `grid` is None unless it was asked for, else a read-only (N, 6) float64 array, row by row
    of the picture: A's pixel u, v, by how much B images its ray elsewhere, du, dv, and the same after the rotation; NaN
    where A has no ray or B does not image it.

    >>> import camera_parameters as cp
    >>> cameras = cp.CameraParametersSet()
    >>> image = cp.diff(cameras, cameras, grid=True).cameras[0].images[0]
    >>> image.grid.shape[1], image.rotation_degrees
    (6, (0.0, 0.0, 0.0))
    """

    width: int
    height: int
    intrinsics_a: Intrinsics = dataclasses.field(compare=False)
    intrinsics_b: Intrinsics = dataclasses.field(compare=False)
    as_is: PixelDifference
    rotated: PixelDifference
    rotation_degrees: Tuple[float, float, float]
    on_robot: List[DistanceDifference]
    grid: Optional[numpy.ndarray] = dataclasses.field(default=None, compare=False, repr=False)


@dataclasses.dataclass(frozen=True)
class CameraDifference(_Shown):
    """A camera that both calibrations have: its poses, and its images at the sizes that both deliver, in A's order.

    >>> import camera_parameters as cp
    >>> cameras = cp.CameraParametersSet()
    >>> [camera.name for camera in cp.diff(cameras, cameras).cameras]
    ['head_camera', 'navigation_camera']
    """

    name: str
    pose: PoseDifference
    images: List[ImageDifference]
    sizes_only_in_a: List[Tuple[int, int]]
    sizes_only_in_b: List[Tuple[int, int]]


@dataclasses.dataclass(frozen=True)
class RobotDifference(_Shown):
    """Two calibrations of fixed cameras: those that both have, in A's order, and the names of the others.

    `a` and `b` are the paths of the files, None for data and objects.

    >>> import camera_parameters as cp
    >>> cameras = cp.CameraParametersSet()
    >>> cp.diff(cameras, cameras).only_in_b
    []
    """

    a: Optional[str]
    b: Optional[str]
    cameras: List[CameraDifference]
    only_in_a: List[str]
    only_in_b: List[str]
    kind: str = "robot"


@dataclasses.dataclass(frozen=True)
class ZoomDifference:
    """A pan-tilt-zoom camera at one zoom position, steps; `on_robot` of its image is with the head at A's home.

    >>> import camera_parameters as cp
    >>> cp.ZoomDifference.__dataclass_fields__["zoom"].type
    <class 'int'>
    """

    zoom: int
    image: ImageDifference


@dataclasses.dataclass(frozen=True)
class HeadPoseDifference:
    """The poses that the heads give their cameras at one position of the motors, steps.

    >>> import camera_parameters as cp
    >>> cp.HeadPoseDifference(0, 0, cp.PoseDifference(0.0, 0.0, (0.0, 0.0, 0.0))).pan
    0
    """

    pan: int
    tilt: int
    pose: PoseDifference


@dataclasses.dataclass(frozen=True)
class PtzDifference(_Shown):
    """Two pan-tilt-zoom cameras: at each zoom sample and between each two, none where the image sizes differ, and the poses
    at home and at each corner of the motors' range.

    >>> import camera_parameters as cp
    >>> cp.PtzDifference(None, None, (640, 480), (800, 600), [], []).kind
    'ptz'
    """

    a: Optional[str]
    b: Optional[str]
    size_a: Tuple[int, int]
    size_b: Tuple[int, int]
    zooms: List[ZoomDifference]
    poses: List[HeadPoseDifference]
    kind: str = "ptz"


@dataclasses.dataclass(frozen=True)
class ValueChange:
    """A stored number in both calibrations, None where it is absent.

    >>> import camera_parameters as cp
    >>> base = cp.BaseCalibrationData()
    >>> base.wheel_base = 0.5
    >>> cp.diff(cp.BaseCalibrationData(), base).wheel_base.b
    0.5
    """

    a: Optional[float]
    b: Optional[float]


@dataclasses.dataclass(frozen=True)
class BaseDifference(_Shown):
    """Two calibrations of a mobile base; the sizes in metres, the gyroscope's gain without a unit.

    >>> import camera_parameters as cp
    >>> base = cp.BaseCalibrationData()
    >>> cp.diff(base, base).kind
    'base'
    """

    a: Optional[str]
    b: Optional[str]
    global_transform: PoseDifference
    gyroscope_gain: ValueChange
    wheel_base: ValueChange
    base_width: ValueChange
    base_length: ValueChange
    kind: str = "base"


def diff(a: _sources.Source, b: _sources.Source, *, kind: Optional[str] = None,
         distances: typing.Iterable[float] = (math.inf, 3.0), camera: Optional[str] = None,
         size: Optional[Tuple[int, int]] = None,
         grid: bool = False) -> Any:
    """What calibration `b` changes in calibration `a`: a `RobotDifference`, `PtzDifference` or `BaseDifference`.

    `a`, `b` and `kind` are as the source of `validate`; two `CameraParameters` are compared whatever they are called.
    `distances` are how far away the points are by which cameras in their places are compared, metres, infinity for
    directions. Of fixed cameras alone: `camera` is the name of the only one to compare, `size` the only (width, height).
    `grid` keeps the differences at each pixel of the grid. Two cameras whose numbers are the same differ by exactly 0.

    Raises CalibrationError where one of them does not load or the two are of different kinds, KeyError where neither has
    `camera`, ValueError for a distance that is not above 0 and for options that are not for the kind, OSError where a
    file cannot be read. Thread-safe.

    >>> import camera_parameters as cp
    >>> cameras = cp.CameraParametersSet()
    >>> cp.diff(cameras["head_camera"], cameras["navigation_camera"], distances=[10]).cameras[0].pose.distance > 0
    True
    """
    distances = [float(distance) for distance in distances]
    if not all(distance > 0 for distance in distances):
        raise ValueError("distances: expected positive numbers of metres, or infinity")
    if size is not None:
        size = _sources.size_of(size, "size")
    (argument_a, path_a), (argument_b, path_b) = _take_both(a, b, kind)
    found = _core._diff(argument_a, argument_b, distances, camera, size, bool(grid))
    if "side" in found:
        raise _sources.error(found["problem"], path_a if found["side"] == "a" else path_b, found["side"])
    if found["kind"] != "robot" and (camera is not None or size is not None):
        raise ValueError("camera and size are for calibrations of fixed cameras")
    if camera is not None and not (found["cameras"] or found["only_in_a"] or found["only_in_b"]):
        raise KeyError(f"no camera {camera!r} in a or b")
    return _MAKERS[found.pop("kind")](found, path_a, path_b)


def _take_both(a, b, kind):
    taken_a = _sources.take(a, "a", kind)
    if isinstance(a, _core.CameraParameters) and isinstance(b, _core.CameraParameters):
        return taken_a, ((_core._robot_of(b, a.name), "robot", True), None)
    return taken_a, _sources.take(b, "b", kind)


def _image(found):
    found["as_is"] = PixelDifference(**found["as_is"])
    found["rotated"] = PixelDifference(**found["rotated"])
    found["on_robot"] = [DistanceDifference(**at) for at in found["on_robot"]]
    return ImageDifference(**found)


def _robot(found, path_a, path_b):
    for camera in found["cameras"]:
        camera["pose"] = PoseDifference(**camera["pose"])
        camera["images"] = [_image(image) for image in camera["images"]]
    found["cameras"] = [CameraDifference(**camera) for camera in found["cameras"]]
    return RobotDifference(path_a, path_b, **found)


def _ptz(found, path_a, path_b):
    found["zooms"] = [ZoomDifference(at["zoom"], _image(at["image"])) for at in found["zooms"]]
    found["poses"] = [HeadPoseDifference(at["pan"], at["tilt"], PoseDifference(**at["pose"])) for at in found["poses"]]
    return PtzDifference(path_a, path_b, **found)


def _base(found, path_a, path_b):
    transform = PoseDifference(**found.pop("global_transform"))
    return BaseDifference(path_a, path_b, transform, **{name: ValueChange(*pair) for name, pair in found.items()})


_MAKERS = {"robot": _robot, "ptz": _ptz, "base": _base}
