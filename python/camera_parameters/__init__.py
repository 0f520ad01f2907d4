"""The calibration of a robot's cameras: camera matrix, lens and pose, and where to point a head.

Units are metres, radians and pixels from the image's corner; frames and formulas are those of docs/conventions.md.
"""

from importlib.util import find_spec as _find_spec

if _find_spec("numpy") is None:
    raise ImportError("camera_parameters needs NumPy (Debian's python3-numpy, or numpy with pip)")

from camera_parameters import _html, _html_heads
from camera_parameters._core import __version__
from camera_parameters._errors import CalibrationError, NoSolutionError
from camera_parameters._core import CameraParameters, CameraParametersSet, Intrinsics, Pose, project, rectify
from camera_parameters._core import CameraView, FieldsOfView, ImageCoverage, Ray, RectificationJacobian
from camera_parameters._core import RectifiedView, ViewJacobian
from camera_parameters._core import BaseCalibrationData, adjust_calibration, formats, was_adjusted_by
from camera_parameters._core import BlindCones, HeadGeometry, PTZCameraModel, PTZCameraModelConfiguration
from camera_parameters._core import PTZIntrinsicsTable, PanTiltModel, PanTiltRoot, PanTiltRoots, PanTiltSolution
from camera_parameters._core import Aim, AimPosition, AimTrack, PtzCoverage
from camera_parameters._differences import BaseDifference, CameraDifference, DistanceDifference, HeadPoseDifference
from camera_parameters._differences import ImageDifference, PixelDifference, PoseDifference, PtzDifference
from camera_parameters._differences import RobotDifference, ValueChange, ZoomDifference, diff
from camera_parameters._exports import ExportResult, ExportedCamera, export_calibration
from camera_parameters._findings import Check, Finding, Findings, LoadReport, checks, load_report, validate
from camera_parameters._imports import ImportResult, ImportedCamera, ImportedFile, LensDeviation, NotTakenOver, PointCheck
from camera_parameters._imports import ReprojectionError, import_calibration
from camera_parameters._logging import install as _install, set_log_level
from camera_parameters._metadata import CalibrationMetadata
from camera_parameters._statuses import PointStatus

__all__ = [
    "Aim",
    "AimPosition",
    "AimTrack",
    "BaseCalibrationData",
    "BaseDifference",
    "BlindCones",
    "CalibrationError",
    "CalibrationMetadata",
    "CameraDifference",
    "CameraParameters",
    "CameraParametersSet",
    "CameraView",
    "Check",
    "DistanceDifference",
    "ExportResult",
    "ExportedCamera",
    "FieldsOfView",
    "Finding",
    "Findings",
    "HeadGeometry",
    "HeadPoseDifference",
    "ImageCoverage",
    "ImageDifference",
    "ImportResult",
    "ImportedCamera",
    "ImportedFile",
    "Intrinsics",
    "LensDeviation",
    "LoadReport",
    "NoSolutionError",
    "NotTakenOver",
    "PTZCameraModel",
    "PTZCameraModelConfiguration",
    "PTZIntrinsicsTable",
    "PanTiltModel",
    "PanTiltRoot",
    "PanTiltRoots",
    "PanTiltSolution",
    "PixelDifference",
    "PointCheck",
    "PointStatus",
    "Pose",
    "PoseDifference",
    "PtzCoverage",
    "PtzDifference",
    "Ray",
    "RectificationJacobian",
    "RectifiedView",
    "ReprojectionError",
    "RobotDifference",
    "ValueChange",
    "ViewJacobian",
    "ZoomDifference",
    "__version__",
    "adjust_calibration",
    "checks",
    "diff",
    "export_calibration",
    "formats",
    "import_calibration",
    "load_report",
    "project",
    "rectify",
    "set_log_level",
    "validate",
    "was_adjusted_by",
]

# Where doctest, pickle and readers look for them.
for _name in __all__:
    if callable(globals()[_name]):
        globals()[_name].__module__ = __name__
_html.install({CameraParameters: _html.camera, CameraParametersSet: _html.camera_set, Intrinsics: _html.intrinsics,
               Pose: _html.pose, CameraView: _html.view, BaseCalibrationData: _html.base, Aim: _html_heads.aim,
               AimPosition: _html_heads.position, AimTrack: _html_heads.track, PTZCameraModel: _html_heads.camera,
               PTZCameraModelConfiguration: _html_heads.configuration, HeadGeometry: _html_heads.geometry,
               PtzCoverage: _html_heads.coverage, PTZIntrinsicsTable: _html_heads.zoom_table})
_install()
