"""Tables of numbers, rounded for reading and whole for copying."""

import numpy as np

from camera_parameters._report import numbers
from camera_parameters._report.markup import element, join

DISTORTION_NAMES = ("k1", "k2", "p1", "p2", "k3", "k4", "k5", "k6")


def number_cell(value):
    """A cell that shows few digits and copies all."""
    return element("td", numbers.short(value), class_="n", data_v=numbers.full(value), title=numbers.full(value))


def frame(title, table, identity):
    """A table with its title and the button that copies it. It scrolls by itself where it is too wide."""
    button = element("button", "Copy", type="button", data_copy=identity, class_="copy needs-script",
                     aria_label=f"Copy {title}")
    return element("div", element("div", element("h4", title), button, class_="table-head"),
                   element("div", table, class_="scroll", tabindex="0", role="region", aria_label=title), class_="table")


def table_of(head, rows, identity, class_=None):
    """A table of rows whose first element is their name; numbers are shown rounded."""
    top = element("tr", *(element("th", text, scope="col") for text in head)) if head else None
    body = []
    for name, *values in rows:
        cells = [element("td", value) if isinstance(value, str) else number_cell(value) for value in values]
        body.append(element("tr", element("th", name, scope="row"), *cells))
    return element("table", element("thead", top) if head else None, element("tbody", join(body)), id=identity,
                   class_=class_)


def intrinsics_table(entries, identity):
    """Camera matrix at each size, pixels."""
    rows = [(f"{k.width} \u00d7 {k.height}", k.fx, k.fy, k.skew, k.cx, k.cy) for k in entries]
    return frame("Camera matrix, pixels from the corner",
                 table_of(("picture", "fx", "fy", "skew", "cx", "cy"), rows, identity, "matrix"), identity)


def distortion_table(entries, identity):
    """Coefficients of each lens that the sizes have: those of most cameras have one."""
    rows = [(lens_sizes(entries, lens), *lens.distortion) for lens in lenses(entries)]
    return frame("Distortion, no unit", table_of(("pictures", *DISTORTION_NAMES), rows, identity, "distortion"),
                 identity)


def lenses(entries):
    """One of the entries for each set of coefficients, in their order, that of the largest picture."""
    found = []
    for entry in sorted(entries, key=lambda k: -k.width * k.height):
        if not any(np.array_equal(entry.distortion, other.distortion, equal_nan=True) for other in found):
            found.append(entry)
    return found


def with_lens(entries, lens):
    """The entries that have the lens of one of them."""
    return [k for k in entries if np.array_equal(k.distortion, lens.distortion, equal_nan=True)]


def lens_sizes(entries, lens):
    """The sizes that have the lens of an entry, as text."""
    return ", ".join(f"{k.width} \u00d7 {k.height}" for k in with_lens(entries, lens))


def matrix_table(title, matrix, identity):
    """A matrix, row by row; four columns are a pose, whose last one is in metres."""
    rows = [(name, *row) for name, row in zip(("x", "y", "z", ""), np.asarray(matrix))]
    return frame(title, table_of(None, rows, identity, "matrix"), identity)


def pose_tables(pose, identity):
    """The pose as it maps, and where the camera is."""
    centre = pose.center
    place = table_of(("", "x, ahead", "y, left", "z, up"), [("on the robot", *centre)], f"{identity}-centre")
    return element("div", matrix_table("Pose: camera from robot, metres", pose.camera_from_robot, f"{identity}-pose"),
                   frame("Optical centre, metres", place, f"{identity}-centre"), class_="figures")
