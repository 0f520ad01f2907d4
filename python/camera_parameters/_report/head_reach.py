"""Directions that a head's optical axis can have within the range of its motors, by trying them."""

import math

import numpy as np

from camera_parameters._report.head_scene import pose_matrix

AZIMUTHS = 180
# Positions of pan and of tilt that are tried: half a degree apart over a full turn.
POSITIONS = 721


def angles_of(pan_tilt, motor, limits):
    """The angles of a joint over its range, radians: a full turn where an end is not stated or beyond one."""
    scale, offset = (float(pan_tilt.get(f"{motor}_{what}", 0.0)) for what in ("scale", "offset"))
    low, high = ((limit - offset) * scale if limit is not None else math.nan for limit in limits)
    if not (abs(high - low) < 2 * math.pi):
        return np.linspace(-math.pi, math.pi, POSITIONS)
    return np.linspace(low, high, POSITIONS)


def row_turned(row, angles):
    """A row vector times the rotation Rz by each of the angles: (N, 3)."""
    c, s = np.cos(angles), np.sin(angles)
    x, y, z = row[..., 0], row[..., 1], row[..., 2]
    return np.stack([x * c + y * s, y * c - x * s, np.broadcast_to(z, c.shape)], axis=-1)


def directions(head, pan_tilt):
    """Directions of the optical axis in the base frame, (tilts, pans, 3), of length 1; NaN where the poses are no rotations.

    The axis is the third row of the rotation of camera_from_base = tilt_to_camera Rz(tilt) pan_to_tilt Rz(pan) base_to_pan.
    """
    first, second, third = (pose_matrix(pan_tilt.get(name))[:3, :3] for name in (
        "base_to_pan", "pan_to_tilt", "tilt_to_camera"))
    tilts = angles_of(pan_tilt, "tilt", head.tilt_range)
    pans = angles_of(pan_tilt, "pan", head.pan_range)
    with np.errstate(all="ignore"):
        rows = row_turned(third[2], tilts) @ second
        rows = row_turned(rows[:, None, :], np.broadcast_to(pans, (len(tilts), len(pans)))) @ first
        return rows / np.linalg.norm(rows, axis=-1, keepdims=True)


def spans_at(elevations, widest_gap):
    """Lowest and highest of elevations that lie no farther apart than a gap, radians."""
    elevations = np.sort(elevations)
    cuts = np.nonzero(np.diff(elevations) > widest_gap)[0]
    starts = np.concatenate([[0], cuts + 1])
    ends = np.concatenate([cuts, [len(elevations) - 1]])
    return [(float(elevations[start]), float(elevations[end])) for start, end in zip(starts, ends)]


def reach(head, pan_tilt):
    """Spans (azimuth, lowest, highest), radians, of the directions of the optical axis, far away.

    Azimuths are the middles of equal parts of the turn from -pi; elevations are good to half a degree or so.

    >>> import camera_parameters as cp
    >>> from camera_parameters._report.head_reach import reach
    >>> head = cp.PTZCameraModel.from_file("calibration/example_ptz_cal.txt")
    >>> azimuth, lowest, highest = reach(head, head.to_dict()["pan_tilt"])[80]
    >>> round(lowest, 3), round(highest, 3)  # from 30 degrees down to the zenith
    (-0.523, 1.571)
    """
    found = directions(head, pan_tilt).reshape(-1, 3)
    found = found[np.isfinite(found).all(axis=1)]
    elevation = np.arcsin(np.clip(found[:, 2], -1, 1))
    azimuth = np.arctan2(found[:, 1], found[:, 0])
    part = np.minimum(((azimuth + math.pi) / (2 * math.pi) * AZIMUTHS).astype(int), AZIMUTHS - 1)
    order = np.argsort(part, kind="stable")
    edges = np.searchsorted(part[order], np.arange(AZIMUTHS + 1))
    spans = []
    for index in range(AZIMUTHS):
        here = elevation[order[edges[index]:edges[index + 1]]]
        if len(here):
            middle = -math.pi + (index + 0.5) * 2 * math.pi / AZIMUTHS
            spans += [(middle, *span) for span in spans_at(here, math.radians(2.0))]
    return spans
