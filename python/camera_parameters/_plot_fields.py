"""What a lens does all over a picture, and how two cameras differ there."""

import numpy as np
from matplotlib.lines import Line2D  # type: ignore[import]
from matplotlib.patches import Patch  # type: ignore[import]
from matplotlib.ticker import MaxNLocator  # type: ignore[import]

import camera_parameters as cp
from camera_parameters._plot_style import BLUE, GREY, VERMILION, put_legend, show_picture

_CELLS = 160  # along the longer side: finer than what is seen, and quickly asked
_ARROWS = 17


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


def _crossings(x, y, distance, levels):
    """Where levels are first met on the way from the least distance to the lower corners, right and left in turn."""
    row, column = np.unravel_index(np.nanargmin(distance), distance.shape)
    places = []
    for i, level in enumerate(levels):
        steps = max(distance.shape)
        rows = np.linspace(row, len(y) - 1, steps).astype(int)
        columns = np.linspace(column, 0 if i % 2 else len(x) - 1, steps).astype(int)
        met = np.flatnonzero(distance[rows, columns] >= level)
        if met.size:
            places.append((x[columns[met[0]]], y[rows[met[0]]]))
    return places


def _draw_rings(axes, x, y, distance):
    known = distance[np.isfinite(distance)]
    if known.size == 0 or known.max() < 1e-6:
        return []
    levels = MaxNLocator(6).tick_values(known.min(), np.percentile(known, 98))
    levels = levels[(levels > known.min()) & (levels < known.max())]
    if levels.size == 0:
        return []
    rings = axes.contour(x, y, np.ma.masked_invalid(distance), levels=levels, colors=VERMILION, linewidths=1)
    places = _crossings(x, y, distance, levels)
    if places:
        for text in axes.clabel(rings, fmt="%g px", fontsize="small", manual=places, inline=False):
            text.set(rotation=0, zorder=4, bbox=dict(facecolor="white", edgecolor="none", pad=1, alpha=0.8))
    return [Line2D([], [], color=VERMILION, linewidth=1, label="equal displacement")]


def draw_distortion(view, axes):
    """`camera_parameters.plot.distortion`."""
    x, y = _grid(view.size, _CELLS, borders=True)
    fine = _meshed(x, y)
    distance = np.linalg.norm(fine - _undistorted(view, fine), axis=-1)
    ends = _meshed(*_grid(view.size, _ARROWS)).reshape(-1, 2)
    starts = _undistorted(view, ends)
    kept = np.isfinite(starts).all(axis=-1)
    starts, ends = starts[kept], ends[kept]
    beyond = np.abs(starts / view.size - 0.5) - 0.5
    show_picture(axes, view.size, np.clip(beyond.max(axis=0, initial=0), 0.02, 0.25))
    handles = _draw_rings(axes, x, y, distance) + _draw_end_of_lens(axes, view)
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
