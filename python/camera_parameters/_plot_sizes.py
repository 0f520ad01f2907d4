"""Which part of a camera's full frame its pictures show."""

import math

import numpy as np
from matplotlib.lines import Line2D  # type: ignore[import]

import camera_parameters as cp
from camera_parameters._plot_style import LINES, show_picture

_POINTS_OF_SIDE = 65
_ZOOMS = 4


def _border(size):
    """Points along a picture's border, closed, pixels."""
    along = np.linspace(0, 1, _POINTS_OF_SIDE)
    low, high = np.zeros_like(along), np.ones_like(along)
    sides = [(along, low), (high, along), (along[::-1], high), (low, along[::-1])]
    return np.concatenate([np.stack(side, axis=-1) for side in sides]) * size


def _seen_in(full, view):
    """Where the full frame's camera sees the border of a view of the same camera, NaN where it does not."""
    rays = view.rectify(_border(view.size))
    return full.project(np.concatenate([rays, np.ones((len(rays), 1))], axis=-1))


def _angles(view):
    fields = view.fields_of_view
    return "{:.1f}° x {:.1f}°".format(math.degrees(fields.horizontal), math.degrees(fields.vertical))


def _views_of_camera(camera):
    k = camera.intrinsics(*camera.size)
    views = [camera.view(*size) for size in camera.sizes]
    names = ["{}x{}{}".format(*view.size, ", straightened by the sensor" if view.is_rectified_by_sensor else "")
             for view in views]
    return cp.CameraView(*camera.size, k.matrix, k.distortion), list(zip(names, views))


def _views_of_head(head):
    if head.zoom_range is None:
        raise ValueError("the head has no zoom with a lens")
    zooms = np.unique(np.linspace(*head.zoom_range, _ZOOMS).astype(int))
    views = [(f"zoom {zoom}", head.configuration(0, 0, int(zoom)).view()) for zoom in zooms]
    return views[0][1].moved_to(cp.Pose(np.eye(4))), views


def draw_sizes(camera, axes):
    """`camera_parameters.plot.sizes`."""
    full, views = (_views_of_head if isinstance(camera, cp.PTZCameraModel) else _views_of_camera)(camera)
    outlines = [_seen_in(full, view) for _, view in views]
    known = np.concatenate(outlines + [_border(full.size)])
    beyond = np.abs(known[np.isfinite(known).all(axis=-1)] / full.size - 0.5) - 0.5
    show_picture(axes, full.size, np.clip(1.1 * beyond.max(axis=0), 0.03, 1))
    handles = []
    # Those that coincide are seen by widths, the first below.
    for i, ((name, view), outline) in enumerate(zip(views, outlines)):
        colour, style = LINES[i % len(LINES)]
        label = f"{name}: {_angles(view)}"
        axes.plot(*outline.T, color=colour, linestyle=style, linewidth=1.5 + 0.8 * (len(views) - i), label=label)
        handles.append(Line2D([], [], color=colour, linestyle=style, linewidth=2, label=label))
    axes.legend(handles=handles, loc="upper center", bbox_to_anchor=(0.5, -0.16), fontsize="small", frameon=False)
    return axes
