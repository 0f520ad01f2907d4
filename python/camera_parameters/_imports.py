"""Other programs' calibrations made into ours."""

import dataclasses
import typing
from typing import Any, List, Optional, Tuple, Union

from camera_parameters import _core, _peers, _sources
from camera_parameters._core import CameraParametersSet
from camera_parameters._errors import CalibrationError
from camera_parameters._findings import Finding, Findings


@dataclasses.dataclass(frozen=True)
class LensDeviation:
    """How far two cameras put the same rays apart over a picture: the largest distance and the root mean square, pixels,
    and the share of the picture (0 to 1) that has rays.

    >>> import camera_parameters as cp
    >>> cp.LensDeviation(0.25, 0.125, 1.0).max
    0.25
    """

    max: float
    rms: float
    share: float


@dataclasses.dataclass(frozen=True)
class NotTakenOver:
    """What stands in a file and is not taken over: the file, the key as it is called there, and why.

    >>> import camera_parameters as cp
    >>> print(cp.NotTakenOver("front.yml", "avg_reprojection_error", "says how well the calibration fits"))
    front.yml: avg_reprojection_error (says how well the calibration fits)
    """

    file: str
    key: str
    reason: str

    def __str__(self):
        return ": ".join(part for part in (self.file, self.key) if part) + f" ({self.reason})"


@dataclasses.dataclass(frozen=True)
class ImportedFile:
    """A file that was read: its format, where its pixels are counted from ("centre" of the first pixel or "corner" of the
    image), what the frame of its poses is called there, and sentences about what was read in an unusual way.

    >>> import camera_parameters as cp
    >>> cp.ImportedFile("a.yaml", "ros", "centre", None, []).format
    'ros'
    """

    file: str
    format: str
    pixel_origin: str
    parent: Optional[str]
    notes: List[str]


@dataclasses.dataclass(frozen=True)
class ImportedCamera:
    """A camera that was imported: its name, the index of its file, and its picture's (width, height).

    `pose_source` says where its pose is from: "file", "extrinsics" or "none" (then it is the identity). `deviation` is
    that of the fitted lens from the file's, None where it is the same lens to the last bit.

    >>> import camera_parameters as cp
    >>> cp.ImportedCamera("left", 0, (640, 480), "none", None).exact
    True
    """

    name: str
    file: int
    size: Tuple[int, int]
    pose_source: str
    deviation: Optional[LensDeviation]

    @property
    def exact(self):
        """Whether the lens is the same one."""
        return self.deviation is None


@dataclasses.dataclass(frozen=True)
class ReprojectionError:
    """How far points were seen from where a camera projects them, pixels: numbers of points that have a pixel, lie behind
    the camera and beyond its lens; root mean square and largest distance; mean offset (u, v).

    >>> import camera_parameters as cp
    >>> cp.ReprojectionError(4, 0, 0, 0.5, 1.0, (0.1, 0.2)).rms
    0.5
    """

    imaged: int
    behind: int
    beyond_lens: int
    rms: float
    max: float
    mean: Tuple[float, float]


@dataclasses.dataclass(frozen=True)
class PointCheck:
    """An imported camera compared with points that were seen. `error` is None where there are none of this camera; `better`
    are pairs of a sentence about another convention that explains the points at least ten times better, and its error.

    >>> import camera_parameters as cp
    >>> cp.PointCheck("left", None, []).camera
    'left'
    """

    camera: str
    error: Optional[ReprojectionError]
    better: List[Tuple[str, ReprojectionError]]


@dataclasses.dataclass(frozen=True)
class ImportResult:
    """What `import_calibration` made: the cameras as a set, and what became of the files.

    `imported` tells of each imported camera, in the order of the files; `findings` are what a review finds about them and
    all errors; `notes` are sentences for the user; `checks` compare with points, where those were given.

    >>> import camera_parameters as cp
    >>> text = cp.export_calibration(cp.CameraParametersSet(), "opencv", camera="navigation_camera").text
    >>> result = cp.import_calibration(text.encode(), name="rear")
    >>> result.cameras.names, result.files[0].format, result.imported[0].exact
    (['rear'], 'opencv', True)
    """

    cameras: CameraParametersSet = dataclasses.field(compare=False)
    imported: List[ImportedCamera]
    files: List[ImportedFile]
    not_taken_over: List[NotTakenOver]
    findings: Findings
    notes: List[str]
    checks: List[PointCheck]

    def _repr_html_(self):
        from camera_parameters import _html

        return _html.import_result(self)


def import_calibration(sources: Any, *, into: Optional[_sources.Source] = None, format: Optional[str] = None,
                       pixel_origin: Optional[str] = None, size: Optional[Tuple[int, int]] = None,
                       node: Optional[int] = None, full_frame: bool = False, scale: Optional[float] = None,
                       max_error: float = 0.1, parent: Optional[str] = None, parent_from_robot: Any = None,
                       extrinsics: Any = None, name: Union[str, typing.Iterable[str], None] = None,
                       model: Optional[str] = None, strict: bool = False, force: bool = False, check: Any = None,
                       check_origin: str = "corner") -> ImportResult:
    """Makes cameras of other programs' calibrations, of the formats in `formats`: an `ImportResult`.

    `sources` is a path, bytes, a dict of names and contents, or a list of these; a folder is COLMAP's. Numbers pass
    through as the same doubles wherever both sides have them; else the lens is fitted, and refused where it misses by
    more than `max_error` pixels. The options are those of the tool's verb `import`:

    - `into`: a robot's calibration, as the source of `validate`, whose cameras of the same names are replaced;
    - `format`: of all files, instead of what their contents look like; `pixel_origin`: "centre" or "corner";
    - `size`: (width, height) of pictures whose file does not say; `node`: 1 or 2, of an OpenCV stereo pair;
    - `full_frame`: takes a ROS file with binning or a region of interest; `scale`: metres per unit of COLMAP's world;
    - `parent`: "robot" where the files' poses are of the robot's frame, or the name of another one with
      `parent_from_robot`, a (3, 4) or (4, 4) array or a `Pose`, metres; without either their poses are not taken over;
    - `extrinsics`: camera_from_robot of cameras without a pose, such an array, a `Pose`, or `CameraParameters` whose
      pose it is;
    - `name`: of the camera, or a list of names in the order of the files; `model`: the camera model's id;
    - `strict`: refuses where anything is not taken over; `force`: takes what a review finds an error in;
    - `check`: a table of points that were seen, as `sources`, pixels counted from `check_origin`.

    Raises CalibrationError with the place in the file, or with the field that a review finds an error in; OSError where a
    file cannot be read; ValueError for options that are none or do not go together. Thread-safe.

    >>> import camera_parameters as cp
    >>> yaml = "image_width: 640\\nimage_height: 480\\ncamera_matrix: {rows: 3, cols: 3, data: [0]}"
    >>> try:
    ...     cp.import_calibration({"front.yaml": yaml}, format="ros")
    ... except cp.CalibrationError as error:
    ...     error.path, error.line
    ('front.yaml', 3)
    """
    files = _peers.Sources(sources)
    _peers.require_parent(parent, parent_from_robot)
    if parent not in (None, "robot") and parent_from_robot is None:
        raise ValueError(f"parent: {parent} needs parent_from_robot, its pose")
    options = {
        "format": _peers.require(format, "format", _peers.formats),
        "pixel_origin": _peers.require(pixel_origin, "pixel_origin", ("centre", "corner")),
        "size": None if size is None else _sources.size_of(size, "size"), "node": _node_of(node),
        "full_frame": bool(full_frame),
        "scale": None if scale is None else _peers.number_of(scale, "scale", 1e-9, "a positive number"),
        "max_error": _peers.number_of(max_error, "max_error", 0, "a number from 0 on"),
        "parent_is_robot": parent is not None and parent_from_robot is None,
        "parent_from_robot": _peers.rows_of(parent_from_robot, "parent_from_robot"),
        "extrinsics": extrinsics if isinstance(extrinsics, _core.CameraParameters) else _peers.rows_of(
            extrinsics, "extrinsics"),
        "names": _peers.names_of(name, "name"), "model": model}
    made = _core._import_calibration(files.files, options, _target_of(into), _table_of(check, check_origin))
    for problem in ("problem", "check_problem"):
        if problem in made:
            raise _error_of(made[problem])
    return _result_of(made, files, parent, strict, force)


def _node_of(node):
    if node not in (None, 1, 2):
        raise ValueError(f"node: expected 1 or 2, got {node!r}")
    return node or 0


def _target_of(into):
    if into is None:
        return b""
    argument, path = _sources.take(into, "into", "robot")
    found = _core._read_message(*argument)
    if isinstance(found, bytes):
        return found
    raise _sources.error(found, path, "into")


def _table_of(check, origin):
    _peers.require(origin or "none", "check_origin", ("centre", "corner"))
    if check is None:
        return None
    table = _peers.Sources(check)
    if len(table.files) != 1:
        raise ValueError("check: expected one table of points")
    return (*table.files[0], origin)


def _error_of(problem):
    path, line, column, key, sentence = problem
    return CalibrationError(_peers.with_arguments(sentence), path or None, line or None, column or None, key or None)


def _result_of(made, files, parent, strict, force):
    left = _not_taken_over(made) + [NotTakenOver(path, "", reason) for path, reason in files.left]
    if strict and left:
        names = ", ".join(": ".join(part for part in (one.file, one.key) if part) for one in left[:10])
        more = f" and {len(left) - 10} more" if len(left) > 10 else ""
        raise CalibrationError(f"not everything is taken over: {names}{more}")
    if made["load_problem"] is not None:
        raise _sources.error(made["load_problem"], None)
    findings = Findings(Finding(file=None, **finding) for finding in made["findings"])
    _require_no_error(findings, force)
    checks = [PointCheck(one["camera"], one["error"] and ReprojectionError(**one["error"]),
                         [(sentence, ReprojectionError(**error)) for sentence, error in one["better"]])
              for one in made["checks"]]
    imported = [ImportedCamera(one["name"], one["file"], one["size"], one["pose_source"],
                               one["deviation"] and LensDeviation(*one["deviation"])) for one in made["cameras"]]
    read = [ImportedFile(*(one[key] for key in ("file", "format", "pixel_origin", "parent")),
                         [_peers.with_arguments(note) for note in one["notes"]])
            for one in made["files"]]
    notes = [note for one in read for note in one.notes] + [
        f"the poses of {one.file} are of the frame {one.parent}, which parent calls {parent}"
        for one in read if parent not in (None, "robot", one.parent) and one.parent] + made["notes"]
    return ImportResult(CameraParametersSet.from_bytes(made["data"]), imported, read, left, findings, notes, checks)


def _not_taken_over(made):
    left = [NotTakenOver(one["file"], key, _peers.with_arguments(reason))
            for one in made["files"] for key, reason in one["not_taken_over"]]
    for camera in made["cameras"]:
        if camera["has_pose"] and camera["pose_source"] != "file":
            one = made["files"][camera["file"]]
            left.append(NotTakenOver(one["file"], f"pose of {camera['name']}",
                                     f"it is of the frame {one['parent']}, and parent says which frame that is"))
    return left


def _require_no_error(findings, force):
    errors = [finding for finding in findings if finding.severity == "error"]
    if not errors or force:
        return
    count = sum(1 + finding.unlisted for finding in errors)
    more = "" if count == 1 else f", and {count - 1} more error{'' if count == 2 else 's'}"
    raise CalibrationError(f"{errors[0].text}{more}; force takes it all the same", field=errors[0].field)
