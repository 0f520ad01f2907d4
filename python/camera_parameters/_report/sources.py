"""What a report is about: a calibration, where it came from, and what a review finds in it."""

import dataclasses
import json
import os

import camera_parameters as cp
from camera_parameters import _core

KINDS = {"robot": cp.CameraParametersSet, "ptz": cp.PTZCameraModel, "base": cp.BaseCalibrationData}


@dataclasses.dataclass
class Source:
    """A calibration of one of three kinds: `model` is its object, `message` its fields, `findings` those of a review.
    `name` is that of its file, without the folder; `whose` is the same on a page about two calibrations, which says of
    each section whose it is, and empty on a page about one."""

    name: str
    kind: str
    model: object
    message: dict
    findings: list
    whose: str = ""


def error_of(problem, path):
    """A finding of the check `parse` as the error that loading raises."""
    return cp.CalibrationError(problem.text, path, problem.line, problem.column, problem.field)


def of_data(data, name, path=None):
    """The source of a file's contents, in any of the formats that the command-line tool reads."""
    report = cp.load_report(data)
    if report.problem is not None:
        raise error_of(report.problem, path)
    type_ = KINDS[report.kind]
    model = type_.from_dict(json.loads(data)) if report.format == "json" else type_.from_bytes(data)
    return Source(name, report.kind, model, model.to_dict(), list(report.findings))


def of_object(model):
    """The source of an object of the library."""
    if isinstance(model, cp.CameraParameters):
        model = cp.CameraParametersSet.from_bytes(_core._robot_of(model))
    for kind, type_ in KINDS.items():
        if isinstance(model, type_):
            return Source("calibration", kind, model, model.to_dict(), list(cp.validate(model)))
    raise TypeError(f"expected a path, bytes, a dict or an object that holds a calibration, got {type(model).__name__}")


def open_source(what):
    """The source of a path, of data or of an object.

    >>> import camera_parameters as cp
    >>> from camera_parameters._report.sources import open_source
    >>> open_source("calibration/example_ptz_cal.txt").kind
    'ptz'
    """
    if isinstance(what, Source):
        return what
    if isinstance(what, dict):
        what = json.dumps(what).encode()
    if isinstance(what, (bytes, bytearray, memoryview)):
        return of_data(bytes(what), "calibration")
    if not isinstance(what, (str, os.PathLike)):
        return of_object(what)
    path = os.fsdecode(what)
    with open(path, "rb") as file:
        return of_data(file.read(), os.path.basename(path), path)


def apart(first, second):
    """Two sources as a page about both has them: with names that differ, and said of each section."""
    names = [first.name, second.name]
    if first.name == second.name:
        names = [f"{first.name} (first)", f"{second.name} (second)"]
    return [dataclasses.replace(source, name=name, whose=name) for source, name in zip((first, second), names)]
