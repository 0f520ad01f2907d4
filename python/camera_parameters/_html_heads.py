"""Pan-tilt-zoom cameras and answers of aiming as small tables for notebooks."""

import math

from camera_parameters._html import intrinsics, pose, size, table, text, vector

_POSITION_COLUMNS = ["pan", "tilt", "zoom", "lands", "miss, px", "travel", "bound", "whole", "inside", "upright"]


def aim(answer):
    """An answer: what it is worth, and each position."""
    verdict = "reached" if answer.reached else f"not reached: {answer.note}"
    return table(f"Aim, {verdict}", _POSITION_COLUMNS, [_position_row(position) for position in answer])


def position(one):
    """One position."""
    return table("AimPosition", _POSITION_COLUMNS, [_position_row(one)])


def _position_row(one):
    bounds = {"pan": one.pan_bound, "tilt": one.tilt_bound, "zoom": one.zoom_bound}
    bound = ", ".join(f"{motor} {end}" for motor, end in bounds.items() if end)
    flags = ["yes" if flag else "no" for flag in (one.is_whole, one.is_inside, one.is_upright)]
    return [*map(text, one.motors), vector(one.lands), text(one.miss, 3), vector(one.travel), text(bound), *flags]


def track(answer):
    """A track's positions."""
    columns = (answer.pan, answer.tilt, answer.zoom, answer.miss, answer.reached, answer.reason)
    rows = [[text(pan), text(tilt), text(zoom), text(float(miss), 3), "yes" if reached else "no", text(reason)]
            for pan, tilt, zoom, miss, reached, reason in zip(*columns)]
    return table(f"AimTrack, {len(rows)} positions", ["pan", "tilt", "zoom", "miss, px", "reached", "reason"], rows)


def configuration(one):
    """A camera at one position of its motors."""
    motors = table("PTZCameraModelConfiguration", ["pan", "tilt", "zoom"], [[text(one.pan), text(one.tilt), text(one.zoom)]])
    return motors + intrinsics(one.intrinsics) + pose(one.pose)


def camera(one):
    """A calibration: sizes, ranges and the lens at its samples."""
    ranges = [["picture", size(one.image_size)], ["pan, steps", _range(one.pan_range)],
              ["tilt, steps", _range(one.tilt_range)], ["zoom with a lens, steps", _range(one.zoom_range)]]
    lens = one.intrinsics
    columns = (lens.zoom, lens.focal_length, lens.k1, lens.k4, lens.p1, lens.p2)
    rows = [[text(float(value)) for value in row] for row in zip(*columns)]
    return (table("PTZCameraModel", ["", ""], ranges)
            + table("samples", ["zoom", "focal length, px", "k1", "k4", "p1", "p2"], rows))


def _range(ends):
    if ends is None:
        return "none"
    return " to ".join("any" if end is None else text(end) for end in ends)


def geometry(one):
    """A head, measured."""
    rows = [["azimuth, degrees", _degrees(one.azimuth), _yes(one.azimuth_is_supported)],
            ["elevation, degrees", _degrees(one.elevation), _yes(one.elevation_is_supported)],
            ["axis gap, m", text(one.axis_gap), _yes(one.reaches_the_pan_axis)],
            ["tilt axis error, degrees", _degrees(one.tilt_axis_error), _yes(one.tilt_axis_is_supported)],
            ["findable elevations, degrees", ", ".join(map(_degrees, one.findable_elevations)), ""]]
    return table("HeadGeometry", ["", "", "supported"], rows)


def coverage(one):
    """What a head sees, by azimuth."""
    rows = [[_degrees(float(angle)) for angle in span] for span in one.spans]
    return table(f"PtzCoverage, {len(rows)} spans", ["azimuth, degrees", "lowest", "highest"], rows)


def zoom_table(one):
    """A lens at the samples of its zoom."""
    columns = (one.zoom, one.focal_length, *one.principal_point.T, one.k1, one.k4, one.p1, one.p2)
    rows = [[text(float(value)) for value in row] for row in zip(*columns)]
    return table(f"PTZIntrinsicsTable, {one.image_width}x{one.image_height}",
                 ["zoom", "focal length, px", "cx", "cy", "k1", "k4", "p1", "p2"], rows)


def _degrees(radians):
    return text(math.degrees(radians), 4)


def _yes(flag):
    return "yes" if flag else "no"
