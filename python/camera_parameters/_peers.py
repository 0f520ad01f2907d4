"""Other programs' files, and arguments about them."""

import collections.abc
import os

import numpy

from camera_parameters import _core, _sources
from camera_parameters._core import formats
from camera_parameters._errors import CalibrationError


# What else COLMAP's folders hold, and why it is not taken over.
_LEFT = {"rigs.txt": "cameras and their poses come from cameras.txt and images.txt",
         "frames.txt": "cameras and their poses come from cameras.txt and images.txt",
         "points3D.txt": "points have no place here"}


# Options of the command-line tool in sentences, and the arguments that they are here.
_ARGUMENTS = (("choose with --camera", "choose with camera="), ("--size WxH tells them", "size=(width, height) tells them"),
              ("of --size", "of size="), ("--full-frame takes", "full_frame=True takes"),
              ("which --node takes", "which node= takes"), ("was not given: --scale", "was not given: scale="),
              ("--distortion-model plumb_bob fits", 'distortion_model="plumb_bob" fits'),
              ("px that are allowed", "px that max_error allows"))


def with_arguments(text):
    """A sentence that names arguments where it is one about the tool's options."""
    for option, argument in _ARGUMENTS:
        text = text.replace(option, argument)
    return text


class Sources:
    """Files of other programs: pairs of a name and contents, paths, and what a folder has that is not taken over."""

    def __init__(self, sources):
        self.files, self.paths, self.left = [], [], []
        if isinstance(sources, (str, os.PathLike, bytes, bytearray, memoryview, dict)):
            sources = [sources]
        if not isinstance(sources, collections.abc.Iterable):
            raise TypeError(f"sources: expected paths, bytes or a dict of names and contents, "
                            f"got {type(sources).__name__}")
        for source in sources:
            self._add(source)
        if not self.files:
            raise ValueError("sources: expected at least one file")

    def _add(self, source):
        if isinstance(source, dict):
            self._add_files({name: _bytes_of(contents) for name, contents in source.items()})
        elif isinstance(source, (str, os.PathLike)):
            self._add_path(os.fsdecode(source))
        else:
            self.files.append((b"", _bytes_of(source)))

    def _add_files(self, files):
        is_scene = "cameras.txt" in files
        for name, contents in files.items():
            if is_scene and name in _LEFT:
                if name != "points3D.txt" or _has_entries(contents.splitlines()):
                    self.left.append((name, _LEFT[name]))
                continue
            self.files.append((os.fsencode(name), contents))

    def _add_path(self, path):
        if not os.path.isdir(path):
            self._read(path)
            return
        if not os.path.exists(os.path.join(path, "cameras.txt")):
            raise CalibrationError("is a folder without COLMAP's cameras.txt", path)
        self._read(os.path.join(path, "cameras.txt"))
        if os.path.exists(os.path.join(path, "images.txt")):
            self._read(os.path.join(path, "images.txt"))
        for name, reason in _LEFT.items():
            left = os.path.join(path, name)
            if os.path.exists(left) and (name != "points3D.txt" or _file_has_entries(left)):
                self.left.append((left, reason))

    def _read(self, path):
        self.files.append((os.fsencode(path), _sources.read(path, "sources")))
        self.paths.append(path)


def _bytes_of(contents):
    if isinstance(contents, str):
        return contents.encode()
    if isinstance(contents, (bytes, bytearray, memoryview)):
        return bytes(contents)
    raise TypeError(f"sources: expected paths, bytes or a dict of names and contents, got {type(contents).__name__}")


def _has_entries(lines):
    """Whether a line is neither empty nor a comment."""
    return any(line.strip() and not line.strip().startswith(b"#") for line in lines)


def _file_has_entries(path):
    if not os.path.isfile(path):
        return False
    with open(path, "rb") as file:
        return _has_entries(file)


def names_of(given, argument):
    """A name or several, as a list."""
    if given is not None and not isinstance(given, collections.abc.Iterable):
        raise TypeError(f"{argument}: expected a name or several, got {type(given).__name__}")
    names = [] if given is None else [given] if isinstance(given, str) else list(given)
    for name in names:
        if not isinstance(name, str):
            raise TypeError(f"{argument}: expected a name or several, got {type(name).__name__}")
        if not name:
            raise ValueError(f"{argument}: the name of a camera is empty")
    return names


def rows_of(pose, argument):
    """The top three rows of a pose, metres, as float64; None of None."""
    if pose is None:
        return None
    if isinstance(pose, _core.Pose):
        pose = pose.camera_from_robot
    rows = numpy.asarray(pose)
    if rows.dtype.kind not in "fiu":
        raise TypeError(f"{argument}: expected numbers, got dtype {rows.dtype}")
    if rows.shape not in ((3, 4), (4, 4)):
        raise ValueError(f"{argument}: expected shape (3, 4) or (4, 4), got {rows.shape}")
    if not numpy.isfinite(rows).all():
        raise ValueError(f"{argument}: expected finite numbers")
    if len(rows) == 4 and rows[3].tolist() != [0, 0, 0, 1]:
        raise ValueError(f"{argument}: expected 0, 0, 0, 1 as the last row")
    return rows[:3].astype(numpy.float64)


def number_of(value, argument, least, expected):
    """A number from `least` to 1e9."""
    if not least <= value <= 1e9:
        raise ValueError(f"{argument}: expected {expected}, got {value}")
    return float(value)


def require(value, argument, choices):
    """One of the choices, or None."""
    if value is not None and value not in choices:
        raise ValueError(f"{argument}: expected one of {', '.join(choices)}, got {value!r}")
    return value


def require_parent(parent, parent_from_robot):
    """A frame that is not the robot's goes with its pose."""
    if parent is not None and not isinstance(parent, str):
        raise TypeError(f"parent: expected the name of a frame, got {type(parent).__name__}")
    if parent == "":
        raise ValueError("parent: the name of the frame is empty")
    if parent == "robot" and parent_from_robot is not None:
        raise ValueError("parent: is robot, so that there is no pose between, and parent_from_robot gives one")


__all__ = ["Sources", "formats", "names_of", "number_of", "require", "require_parent", "rows_of",
           "with_arguments"]
