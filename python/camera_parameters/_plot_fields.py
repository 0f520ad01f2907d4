"""What a lens does all over a picture, and how two cameras differ there."""

import numpy as np
from matplotlib.lines import Line2D  # type: ignore[import]
from matplotlib.patches import Patch  # type: ignore[import]
from matplotlib.ticker import MaxNLocator  # type: ignore[import]

import camera_parameters as cp
from camera_parameters._plot_labels import place_labels
from camera_parameters._plot_style import BLUE, GREY, VERMILION, put_legend, show_picture

_CELLS = 160  # along the longer side: finer than what is seen, and quickly asked
_ARROWS = 17
_MARGIN = 0.4  # widths and heights of the picture around it, in which arrows may begin


def _grid(size, count, borders=False):
    """x and y of a grid over a picture, pixels: centres of cells that are about square, or their corners."""
    cells = [max(int(round(count * side / max(size))), 2) for side in size]
    if borders:
        return [np.linspace(0, side, n + 1) for side, n in zip(size, cells)]
    return [(np.arange(n) + 0.5) * side / n for side, n in zip(size, cells)]


def _meshed(x, y):
    return np.stack(np.meshgrid(x, y), axis=-1)


def _undistorted(view, pixels):
    """Where a pinhole camera with the same camera matrix sees the rays of these pixels."""
    k = view.camera_matrix
    return view.rectify(pixels) @ k[:2, :2].T + k[:2, 2]


def _draw_end_of_lens(axes, view):
    x, y = _grid(view.size, 3 * _CELLS, borders=True)
    missing = np.isnan(view.rectify(_meshed(x, y))).any(axis=-1)
    if not missing.any():
        return []
    hatched = axes.contourf(x, y, missing.astype(float), levels=[0.5, 1.5], colors="none", hatches=["///"])
    # Contours are collections themselves from matplotlib 3.8 on.
    for area in [hatched] if hasattr(hatched, "set_edgecolor") else hatched.collections:
        area.set(edgecolor=GREY, linewidth=0)
    handles = [Patch(facecolor="none", edgecolor=GREY, hatch="///", label="no ray is imaged here")]
    if not missing.all():
        axes.contour(x, y, missing.astype(float), levels=[0.5], colors="black", linewidths=2)
        handles.append(Line2D([], [], color="black", linewidth=2, label="end of the lens"))
    return handles


def _levels_of(distance):
    known = distance[np.isfinite(distance)]
    if known.size == 0 or known.max() < 1e-6:
        return np.empty(0)
    levels = MaxNLocator(6).tick_values(known.min(), np.percentile(known, 98))
    return levels[(levels > known.min()) & (levels < known.max())]


def _draw_rings(axes, view, arrows):
    x, y = _grid(view.size, _CELLS, borders=True)
    fine = _meshed(x, y)
    distance = np.linalg.norm(fine - _undistorted(view, fine), axis=-1)
    levels = _levels_of(distance)
    if levels.size == 0:
        return []
    rings = axes.contour(x, y, np.ma.masked_invalid(distance), levels=levels, colors=VERMILION, linewidths=1)
    points = [np.concatenate([np.empty((0, 2)), *parts]) for parts in rings.allsegs]
    for level, place in zip(levels, place_labels(points, view.size, arrows)):
        if place is not None:
            axes.text(*place, f"{level:g} px", fontsize="small", color=VERMILION, ha="center", va="center", zorder=4,
                      bbox=dict(facecolor="white", edgecolor="none", pad=1))
    return [Line2D([], [], color=VERMILION, linewidth=1, label="equal displacement")]


def _arrows_of(view):
    """Starts and ends of the arrows, pixels: from the pinhole camera's pixel to the lens's."""
    ends = _meshed(*_grid(view.size, _ARROWS)).reshape(-1, 2)
    starts = _undistorted(view, ends)
    known = np.isfinite(starts).all(axis=-1)
    starts, ends = starts[known], ends[known]
    beyond = (np.abs(starts / view.size - 0.5) - 0.5).max(axis=-1, initial=0)
    kept = beyond < _MARGIN
    return starts[kept], ends[kept]


def draw_distortion(view, axes):
    """`camera_parameters.plot.distortion`."""
    starts, ends = _arrows_of(view)
    beyond = np.abs(starts / view.size - 0.5) - 0.5
    # Not only their middle lines lie within the axes.
    show_picture(axes, view.size, np.maximum(beyond.max(axis=0, initial=0), 0) + 0.02)
    shafts = np.concatenate([starts + part * (ends - starts) for part in np.linspace(0, 1, 7)])
    handles = _draw_rings(axes, view, shafts) + _draw_end_of_lens(axes, view)
    if len(ends):
        axes.quiver(*starts.T, *(ends - starts).T, angles="xy", scale_units="xy", scale=1, color=BLUE, width=0.004,
                    zorder=3)
        handles.insert(0, Line2D([], [], color=BLUE, marker=">", label="from undistorted to imaged"))
    k = view.camera_matrix
    axes.plot(k[0, 2], k[1, 2], "+", color="black", markersize=10, label="principal point")
    handles.append(Line2D([], [], color="black", marker="+", linestyle="", label="principal point"))
    put_legend(axes, handles)
    return axes


def pixel_differences(view, other, pixels):
    """How far `other` sees the rays of these pixels from them, (..., 2) pixels, both cameras in one place."""
    rays = view.rectify(pixels)
    points = np.concatenate([rays, np.ones(rays.shape[:-1] + (1,))], axis=-1)
    return other.moved_to(cp.Pose(np.eye(4))).project(points) - pixels


def draw_difference(view, other, axes):
    """`camera_parameters.plot.diff`."""
    if view.size != other.size:
        raise ValueError("size: the views are of {}x{} and {}x{} pixels".format(*view.size, *other.size))
    show_picture(axes, view.size)
    distance = np.linalg.norm(pixel_differences(view, other, _meshed(*_grid(view.size, _CELLS))), axis=-1)
    known = distance[np.isfinite(distance)]
    largest = known.max() if known.size else 0
    axes.set_facecolor("#DDDDDD")
    image = axes.imshow(np.ma.masked_invalid(distance), extent=(0, view.width, view.height, 0), cmap="cividis",
                        vmin=0, vmax=largest or 1, interpolation="nearest")
    axes.figure.colorbar(image, ax=axes, label="difference [pixels]", shrink=0.8)
    if known.size:
        axes.set_title(f"largest {largest:.3g}, median {np.median(known):.3g} pixels", fontsize="medium")
    if known.size < distance.size:
        put_legend(axes, [Patch(facecolor="#DDDDDD", edgecolor=GREY, label="not seen by both")])
    return axes
