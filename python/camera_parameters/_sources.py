"""Calibrations as they are given to functions: files, data, or objects."""

import errno
import json
import operator
import os
from typing import Any, Dict, Union

from camera_parameters import _core
from camera_parameters._errors import CalibrationError

Path = Union[str, "os.PathLike[str]"]
Source = Union[Path, bytes, bytearray, memoryview, Dict[str, Any], _core.CameraParametersSet, _core.CameraParameters,
               _core.PTZCameraModel, _core.BaseCalibrationData]

_START = 40  # letters of what is no path that an error shows

KINDS = {"CameraParametersSet": "robot", "PTZCameraModel": "ptz", "BaseCalibrationData": "base"}


def take(source, name, kind=None):
    """What the extension module takes, (data, kind, is_object), and the path of a file or None.

    `source` is a path, bytes, a dict by Protocol Buffers' JSON mapping, or an object that holds a calibration. Raises
    OSError where a file cannot be read, ValueError for text that is a str.
    """
    if isinstance(source, (str, os.PathLike)):
        path = os.fsdecode(source)
        return (read(source, name), kind, False), path
    if isinstance(source, (bytes, bytearray, memoryview)):
        return (bytes(source), kind, False), None
    if isinstance(source, dict):
        return (json.dumps(source).encode(), kind, False), None
    return _take_object(source, name, kind), None


def read(path, name):
    """The contents of a file. Raises ValueError, and not with all of it, for a text that was given in a path's place."""
    try:
        with open(path, "rb") as file:
            return file.read()
    except (OSError, ValueError) as error:
        text = os.fsdecode(path)
        if not (getattr(error, "errno", None) == errno.ENAMETOOLONG or "\n" in text or "{" in text):
            raise
        start = text[:_START] + ("..." if len(text) > _START else "")
    raise ValueError(f"{name}: a str is a path, and text goes in as bytes; there is no file {start!r}")


def _take_object(source, name, kind):
    if isinstance(source, _core.CameraParameters):
        data, held = _core._robot_of(source), "robot"
    elif type(source).__name__ in KINDS and hasattr(source, "to_bytes"):
        data, held = source.to_bytes(), KINDS[type(source).__name__]
    else:
        raise TypeError(f"{name}: expected a path, bytes, a dict or an object that holds a calibration, "
                        f"got {type(source).__name__}")
    if kind not in (None, held):
        raise ValueError(f"kind: {name} is of the kind {held}, not {kind}")
    return data, held, True


def size_of(size, name):
    """(width, height), checked to be whole numbers above 0."""
    try:
        width, height = (operator.index(number) for number in size)
    except (TypeError, ValueError):
        raise TypeError(f"{name}: expected (width, height), got {size!r}") from None
    if not (0 < width < 2**31 and 0 < height < 2**31):
        raise ValueError(f"{name}: expected positive numbers, got {width}x{height}")
    return width, height


def error(problem, path, name=None):
    """A CalibrationError of a finding; `name` is that of an argument which is no file."""
    text = problem["text"] if path is not None or name is None else f"{problem['text']} (in {name})"
    return CalibrationError(text, path, problem["line"], problem["column"], problem["field"])
