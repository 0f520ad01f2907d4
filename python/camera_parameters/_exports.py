"""Our calibrations made into those of other programs."""

import dataclasses
import os
import typing
from typing import Any, Dict, List, Optional, Tuple, Union

from camera_parameters import _core, _peers, _sources
from camera_parameters._errors import CalibrationError
from camera_parameters._imports import LensDeviation

# Format, name of a syntax, extension of files that are written in it.
_SYNTAXES = (("ros", "yaml", ".yaml"), ("ros", "ini", ".ini"), ("opencv", "yaml", ".yml"), ("opencv", "xml", ".xml"),
             ("opencv", "json", ".json"), ("kalibr", "yaml", ".yaml"))


@dataclasses.dataclass(frozen=True)
class ExportedCamera:
    """A camera that was written: its name, its picture's (width, height), and how far what was written, read back, is from
    what was to be written; None where it is the same camera but for the rounding of half a pixel.

    >>> import camera_parameters as cp
    >>> cp.ExportedCamera("left", (640, 480), None).exact
    True
    """

    name: str
    size: Tuple[int, int]
    deviation: Optional[LensDeviation]

    @property
    def exact(self) -> bool:
        """Whether the camera is the same one."""
        return self.deviation is None


@dataclasses.dataclass(frozen=True)
class ExportResult:
    """What `export_calibration` made. `files` are the contents by their names, "" where there is one file alone.

    >>> import camera_parameters as cp
    >>> result = cp.export_calibration(cp.CameraParametersSet(), "colmap")
    >>> list(result.files), result.pixel_origin
    (['cameras.txt', 'images.txt', 'points3D.txt'], 'corner')
    """

    format: str
    syntax: Optional[str]
    pixel_origin: str
    files: Dict[str, bytes]
    cameras: List[ExportedCamera]
    notes: List[str]

    @property
    def text(self) -> str:
        """The contents of the first file."""
        return next(iter(self.files.values())).decode(errors="backslashreplace")

    def save(self, output: _sources.Path) -> List[str]:
        """Writes the files, each in one step, and returns their paths.

        COLMAP's go into a folder, which is made where it is missing, or the first of them alone where `output` ends in
        .txt. Raises OSError.

        >>> import camera_parameters as cp, os, tempfile
        >>> with tempfile.TemporaryDirectory() as folder:
        ...     paths = cp.export_calibration(cp.CameraParametersSet(), "colmap").save(os.path.join(folder, "scene"))
        >>> [os.path.basename(path) for path in paths]
        ['cameras.txt', 'images.txt', 'points3D.txt']
        """
        paths = _paths_of(self.files, os.fsdecode(output))
        if len(paths) > 1:
            os.makedirs(output, exist_ok=True)
        for path, contents in zip(paths, self.files.values()):
            _core._write_file(path, contents)
        return paths

    def _repr_html_(self):
        from camera_parameters import _html

        return _html.export_result(self)


def export_calibration(source: _sources.Source, format: str, output: Optional[_sources.Path] = None, *,
                       camera: Union[str, typing.Iterable[str], None] = None, size: Optional[Tuple[int, int]] = None,
                       syntax: Optional[str] = None, pixel_origin: Optional[str] = None, max_error: float = 0.1,
                       distortion_model: Optional[str] = None, parent: Optional[str] = None,
                       parent_from_robot: Any = None) -> ExportResult:
    """Writes cameras of a calibration for another program, in one of the `formats`: an `ExportResult`.

    `source` is a robot's calibration, as the source of `validate`. What is to be written is read back first: nothing is
    unless it is the same camera, or as near as `max_error` pixels. `output` is the file to write, of COLMAP a folder;
    without it the result holds the contents. The options are those of the tool's verb `export`:

    - `camera`: the name of the only camera to write, or a list of names;
    - `size`: (width, height) that the camera delivers; else the full frame;
    - `syntax`: of "ros" "yaml" or "ini", of "opencv" "yaml", "xml" or "json"; else by the output's extension;
    - `pixel_origin`: "centre" or "corner", where the written pixels are counted from; else as the format has it;
    - `distortion_model`: of "ros" "plumb_bob" or "rational_polynomial"; else as few coefficients as are needed;
    - `parent`: the frame that the written poses are of, the robot's own unless `parent_from_robot`, a (3, 4) or (4, 4)
      array or a `Pose`, metres, says where it is.

    Raises CalibrationError where the calibration does not load or the format cannot hold a camera, KeyError where there
    is no such camera, OSError where a file cannot be read or written, ValueError for options that are none or do not go
    together. Thread-safe.

    >>> import camera_parameters as cp
    >>> result = cp.export_calibration(cp.CameraParametersSet(), "ros", camera="navigation_camera")
    >>> result.text.splitlines()[1], result.cameras[0].exact
    ('image_width: 1280', True)
    """
    if format not in _peers.formats:
        raise ValueError(f"format: expected one of {', '.join(_peers.formats)}, got {format!r}")
    syntax = _syntax_of(format, syntax, output, distortion_model)
    _require_options(format, distortion_model, parent, parent_from_robot)
    options = {
        "format": format, "syntax": syntax or "yaml", "cameras": _peers.names_of(camera, "camera"),
        "size": None if size is None else _sources.size_of(size, "size"),
        "pixel_origin": _peers.require(pixel_origin, "pixel_origin", ("centre", "corner")),
        "parent": parent or "robot", "parent_from_robot": _peers.rows_of(parent_from_robot, "parent_from_robot"),
        "coefficients": 5 if distortion_model == "plumb_bob" else None,
        "all_coefficients": distortion_model == "rational_polynomial",
        "max_error": _peers.number_of(max_error, "max_error", 0, "a number from 0 on")}
    argument, path = _sources.take(source, "source")
    made = _core._export_calibration(argument, options)
    if "missing" in made:
        raise KeyError(f"no camera {made['missing']!r}")
    if "problem" in made:
        made["problem"]["text"] = _peers.with_arguments(made["problem"]["text"])
        raise _sources.error(made["problem"], path, "source")
    result = ExportResult(format, syntax, made["pixel_origin"], dict(made["files"]),
                          [ExportedCamera(name, of, deviation and LensDeviation(*deviation))
                           for name, of, deviation in made["cameras"]], _notes_of(made, parent, parent_from_robot))
    if output is not None:
        paths = _paths_of(result.files, os.fsdecode(output))
        _require_other_files(paths, path)
        if len(paths) < len(result.files):
            result.notes.append("poses are in COLMAP's images.txt, which goes into a folder alone")
        result.save(output)
    return result


def _syntax_of(format, syntax, output, distortion_model):
    known = [(name, extension) for of, name, extension in _SYNTAXES if of == format]
    if syntax is None:
        path = "" if output is None else os.fsdecode(output)
        syntax = next((name for name, extension in known if path.endswith(extension)), known[0][0] if known else None)
    elif syntax not in [name for name, _ in known]:
        names = " or ".join(name for name, _ in known)
        raise ValueError(f"syntax: {format} is written {'as ' + names if known else 'in one syntax alone'}")
    if distortion_model == "rational_polynomial" and syntax == "ini":
        raise ValueError("distortion_model: rational_polynomial is for yaml, since ini has five coefficients")
    return syntax


def _require_options(format, distortion_model, parent, parent_from_robot):
    _peers.require(distortion_model, "distortion_model", ("plumb_bob", "rational_polynomial"))
    if distortion_model is not None and format != "ros":
        raise ValueError("distortion_model: is for the format ros")
    _peers.require_parent(parent, parent_from_robot)
    if parent_from_robot is not None and parent is None:
        raise ValueError("parent_from_robot: needs parent, the name of a frame that is not robot")


def _notes_of(made, parent, parent_from_robot):
    notes = [_peers.with_arguments(note) for note in made["notes"]]
    if parent not in (None, "robot") and parent_from_robot is None:
        notes.append(f"the robot's frame is written as that of {parent}; parent_from_robot says where else it is")
    return notes


def _paths_of(files, output):
    if len(files) == 1 or output.endswith(".txt"):
        return [output]
    return [os.path.join(output, name) for name in files]


def _require_other_files(paths, source):
    for path in paths:
        if source is not None and os.path.exists(path) and os.path.samefile(path, source):
            raise CalibrationError("is the calibration that is read, which is not to be written over", path)
