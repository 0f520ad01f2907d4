"""The calibration of a robot's cameras: camera matrix, lens and pose, and where to point a head.

Units are metres, radians and pixels from the image's corner; frames and formulas are those of docs/conventions.md.
"""

from camera_parameters._errors import CalibrationError, NoSolutionError
from camera_parameters._core import CameraParameters, CameraParametersSet, Intrinsics, Pose, project, rectify
from camera_parameters._core import CameraView, FieldsOfView, ImageCoverage, Ray, RectificationJacobian
from camera_parameters._core import RectifiedView, ViewJacobian
from camera_parameters._logging import install as _install, set_log_level
from camera_parameters._statuses import PointStatus

__all__ = [
    "CalibrationError",
    "CameraParameters",
    "CameraParametersSet",
    "CameraView",
    "FieldsOfView",
    "ImageCoverage",
    "Intrinsics",
    "NoSolutionError",
    "PointStatus",
    "Pose",
    "Ray",
    "RectificationJacobian",
    "RectifiedView",
    "ViewJacobian",
    "project",
    "rectify",
    "set_log_level",
]

# Where doctest, pickle and readers look for them.
for _name in __all__:
    globals()[_name].__module__ = __name__
_install()
