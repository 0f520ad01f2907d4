"""A pan-tilt-zoom camera over its motors' ranges."""

import math

import numpy as np
from matplotlib.ticker import LogLocator, NullFormatter  # type: ignore[import]

from camera_parameters._plot_style import BLUE, GREEN, GREY, VERMILION

_ZOOMS = 101
_STEPS = 61  # along a line of the reach
_LINES = 7


def _positions(ends, count):
    low, high = ends
    if low is None or high is None or low > high:
        raise ValueError("the calibration does not state the ranges of the motors")
    return np.unique(np.linspace(low, high, count).round().astype(int))


def draw_lens(head, axes):
    """Focal length and fields of view over the zoom motor's steps."""
    if head.zoom_range is None:
        raise ValueError("the head has no zoom with a lens")
    zooms = _positions(head.zoom_range, _ZOOMS)
    views = [head.configuration(0, 0, int(zoom)).view() for zoom in zooms]
    axes.plot(zooms, [view.camera_matrix[0, 0] for view in views], color=BLUE, linewidth=2, label="focal length")
    axes.set_yscale("log")
    axes.yaxis.set_major_locator(LogLocator(subs=(1, 2, 5)))
    axes.yaxis.set_major_formatter("{x:.0f}")
    axes.yaxis.set_minor_formatter(NullFormatter())
    axes.set_xlabel("zoom motor [steps]")
    axes.set_ylabel("focal length [pixels]", color=BLUE)
    axes.grid(True, color="#DDDDDD")
    angles = axes.twinx()
    for name, colour, style in (("horizontal", VERMILION, "--"), ("vertical", GREEN, "-.")):
        fields = [math.degrees(getattr(view.fields_of_view, name)) for view in views]
        angles.plot(zooms, fields, color=colour, linestyle=style, linewidth=2, label=f"{name} field of view")
    angles.set_ylim(bottom=0)
    angles.set_ylabel("field of view [degrees]")
    lines = axes.get_lines() + angles.get_lines()
    axes.legend(lines, [line.get_label() for line in lines], loc="upper center", fontsize="small")
    return angles


def axis_directions(head, pans, tilts):
    """Azimuth and elevation of the optical axis, degrees in the base's frame, for pairs of motor positions."""
    zoom = head.zoom_range[0] if head.zoom_range else 0
    axes = [head.configuration(int(pan), int(tilt), zoom).pose.camera_from_robot[2, :3] for pan, tilt in zip(pans, tilts)]
    x, y, z = np.array(axes, dtype=float).T
    return np.degrees(np.arctan2(y, x)), np.degrees(np.arctan2(z, np.hypot(x, y)))


def _without_wraps(azimuth, elevation):
    """The line with gaps where it leaves the map on one side and comes back on the other."""
    wraps = np.flatnonzero(np.abs(np.diff(azimuth)) > 180) + 1
    return np.insert(azimuth, wraps, np.nan), np.insert(elevation, wraps, np.nan)


def draw_reach(head, axes):
    """Where the optical axis can point, as a map of all directions."""
    pans, tilts = _positions(head.pan_range, _STEPS), _positions(head.tilt_range, _STEPS)
    for tilt in _positions(head.tilt_range, _LINES):
        line = _without_wraps(*axis_directions(head, pans, np.full(len(pans), tilt)))
        axes.plot(*line, color=BLUE, linewidth=1, label=f"tilt {tilt}")
    for pan in _positions(head.pan_range, _LINES):
        line = _without_wraps(*axis_directions(head, np.full(len(tilts), pan), tilts))
        axes.plot(*line, color=VERMILION, linewidth=1, linestyle="--", label=f"pan {pan}")
    axes.axhline(0, color=GREY, linewidth=0.8)
    axes.set(xlim=(180, -180), ylim=(-90, 90), xticks=range(-180, 181, 60), yticks=range(-90, 91, 30), aspect="equal",
             xlabel="azimuth [degrees, left is positive]", ylabel="elevation [degrees]")
    handles = [line for line in axes.get_lines() if line.get_label().startswith(("tilt", "pan"))]
    first_pan = next(line for line in handles if line.get_label().startswith("pan"))
    axes.legend([handles[0], first_pan], ["at one tilt", "at one pan"], loc="lower center", fontsize="small", ncol=2)
    axes.grid(True, color="#DDDDDD")
