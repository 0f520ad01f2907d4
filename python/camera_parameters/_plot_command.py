"""`python3 -m camera_parameters.plot`: plots of calibration files, written to pictures."""

import argparse
import logging
import os
import sys

from matplotlib.figure import Figure  # type: ignore[import]

import camera_parameters as cp
from camera_parameters import plot
from camera_parameters._report.command import open_named, overwritten

_PROGRAM = "python3 -m camera_parameters.plot"
_SIDE = 6.4  # inches
_LONGEST_NAME = 40  # letters of a file's name that a title shows


class InputError(Exception):
    """What the user gave, and what is wrong with it."""


def _load(path):
    """The fixed cameras or the head that a file holds."""
    source = open_named([path])[0]
    if source.kind == "base":
        raise InputError(f"{path}: holds a mobile base, which has no camera")
    return source.model


def _cameras_of(loaded, path, chosen):
    """Names and cameras that are to be drawn."""
    if isinstance(loaded, cp.PTZCameraModel):
        if chosen is not None:
            raise InputError(f"{path}: holds a pan-tilt-zoom camera, which has no name: --camera chooses none")
        return {None: loaded}
    names = loaded.names if chosen is None else [chosen]
    for name in names:
        if name not in loaded:
            raise InputError(f'{path}: no camera "{name}" (there are: {", ".join(loaded.names)})')
    return {name: loaded[name] for name in names}


def _size_of(text):
    width, _, height = text.partition("x")
    try:
        size = int(width), int(height)
    except ValueError:
        size = (0, 0)
    if min(size) < 1:
        raise argparse.ArgumentTypeError(f"expected WxH in pixels, got {text!r}")
    return size


def _view_of(camera, arguments):
    """The view that is asked for: of a fixed camera's largest picture, of a head at its lowest zoom, if nothing is."""
    if isinstance(camera, cp.PTZCameraModel):
        if arguments.size is not None:
            raise InputError("a pan-tilt-zoom camera has one size: --size chooses none")
        lowest = camera.zoom_range[0] if camera.zoom_range else 0
        return camera.configuration(0, 0, lowest if arguments.zoom is None else arguments.zoom).view()
    if arguments.zoom is not None:
        raise InputError("fixed cameras have no zoom: --zoom chooses none")
    return camera.view(*(arguments.size or max(camera.sizes, key=lambda size: size[0] * size[1])))


def _title(axes, *parts):
    words = [part for part in parts if part]
    axes.set_title("\n".join(words + [axes.get_title()]) if axes.get_title() else "\n".join(words), fontsize="medium")


def _side_by_side(count, height=0.88):
    figure = Figure(figsize=(_SIDE * count, _SIDE * height), layout="constrained")
    return figure, figure.subplots(1, count, squeeze=False)[0]


def _draw_each(arguments, draw):
    """A plot for each camera of the file."""
    path = arguments.files[0]
    cameras = _cameras_of(_load(path), path, arguments.camera)
    figure, all_axes = _side_by_side(len(cameras))
    for (name, camera), axes in zip(cameras.items(), all_axes):
        detail = draw(camera, axes)
        _title(axes, ", ".join(part for part in (name, detail) if part) or "pan-tilt-zoom camera")
    return figure


def _distortion(arguments):
    def draw(camera, axes):
        view = _view_of(camera, arguments)
        plot.distortion(view, axes)
        return "{}x{}".format(*view.size)

    return _draw_each(arguments, draw)


def _sizes(arguments):
    return _draw_each(arguments, lambda camera, axes: plot.sizes(camera, axes) and None)


def _zoom(arguments):
    head = _load(arguments.files[0])
    if not isinstance(head, cp.PTZCameraModel):
        raise InputError(f"{arguments.files[0]}: holds fixed cameras, which have no zoom")
    figure = Figure(figsize=(2 * _SIDE, 0.75 * _SIDE), layout="constrained")
    # The titles of the axes between the panels are those of two of them.
    figure.get_layout_engine().set(wspace=0.08)
    lens, reach = plot.zoom(head, figure.subplots(1, 2))
    lens.set_title("lens", fontsize="medium")
    reach.set_title("where the optical axis can point", fontsize="medium")
    return figure


def _diff(arguments):
    one, two = (_cameras_of(_load(path), path, arguments.camera) for path in arguments.files)
    names = [name for name in one if name in two]
    if not names:
        raise InputError(f"{arguments.files[0]}, {arguments.files[1]}: no camera is in both")
    figure, all_axes = _side_by_side(len(names), 0.8)
    for name, axes in zip(names, all_axes):
        plot.diff(_view_of(one[name], arguments), _view_of(two[name], arguments), axes)
        _title(axes, name)
    figure.suptitle(f"{_words(arguments.files[0])} → {_words(arguments.files[1])}, as is", fontsize="medium")
    return figure


def _words(path):
    """The name of a file, as what a figure can show."""
    name = os.path.basename(path) or path
    printed = "".join(letter if letter.isprintable() else "?" for letter in name)
    # Nothing of it is a formula.
    return (printed if len(printed) <= _LONGEST_NAME else printed[:_LONGEST_NAME] + "…").replace("$", r"\$")


_PLOTS = {
    "distortion": (_distortion, 1, "what the lens does to the picture"),
    "sizes": (_sizes, 1, "which part of the full frame each picture shows"),
    "zoom": (_zoom, 1, "lens and reach of a pan-tilt-zoom camera"),
    "diff": (_diff, 2, "how far two calibrations see the same rays apart"),
}


def _parser():
    parser = argparse.ArgumentParser(prog=_PROGRAM, description="Draws calibrations.")
    parser.add_argument("--version", action="version", version=cp.__version__)
    plots = parser.add_subparsers(dest="plot", required=True, metavar="PLOT")
    for name, (_, files, text) in _PLOTS.items():
        one = plots.add_parser(name, help=text, description=text.capitalize() + ".")
        one.add_argument("files", nargs=files, metavar="FILE", help="calibration, binary, text or JSON; - is standard "
                         "input, default the compiled-in calibration of the fixed cameras")
        one.add_argument("-o", "--output", required=True, metavar="PICTURE", help="written here: .png, .svg or .pdf")
        one.set_defaults(camera=None, size=None, zoom=None)
        if name != "zoom":
            one.add_argument("--camera", metavar="NAME", help="one camera only")
        if name in ("distortion", "diff"):
            one.add_argument("--size", type=_size_of, metavar="WxH", help="size of the picture (default: the largest)")
            one.add_argument("--zoom", type=int, metavar="STEPS", help="position of the zoom (default: the lowest)")
    return parser


def run(words):
    """Draws what the command line says; 0, or 1 for bad input. Usage that is wrong exits with 2."""
    # What is wrong is said once, by the command itself.
    logging.getLogger("camera_parameters").addHandler(logging.NullHandler())
    parser = _parser()
    arguments = parser.parse_args(words)
    read = overwritten(arguments.output, arguments.files)
    if read is not None:
        parser.error(f"--output is the file that is read as {read}")
    try:
        figure = _PLOTS[arguments.plot][0](arguments)
        # Titles and legends are kept whole, however far they reach beyond the figure.
        figure.savefig(arguments.output, dpi=100, bbox_inches="tight", pad_inches=0.1)
    except OSError as error:
        reason = error.strerror or str(error)
        return _fail(f"{os.fsdecode(error.filename)}: {reason}" if error.filename else reason)
    except (InputError, ValueError) as error:
        return _fail(str(error))
    return 0


def _fail(text):
    print(f"{_PROGRAM}: {text}", file=sys.stderr)
    return 1
