"""Heat maps of numbers on a grid over a picture."""

import math

import numpy as np

from camera_parameters._report import legend, numbers
from camera_parameters._report.markup import element, join, svg

# Dark to light at even steps of lightness, for both themes and for paper in grey.
_ANCHORS = [(68, 1, 84), (59, 82, 139), (33, 145, 140), (94, 201, 98), (253, 231, 37)]
LEVELS = 16


def colour(share):
    """The colour of a value between 0 and 1.

    >>> import camera_parameters as cp
    >>> from camera_parameters._report.heat import colour
    >>> colour(0), colour(1)
    ('#440154', '#fde725')
    """
    at = min(max(share, 0.0), 1.0) * (len(_ANCHORS) - 1)
    first = min(int(at), len(_ANCHORS) - 2)
    mixed = [round(a + (at - first) * (b - a)) for a, b in zip(_ANCHORS[first], _ANCHORS[first + 1])]
    return "#" + "".join(f"{part:02x}" for part in mixed)


def on_grid(grid, values):
    """Values of the rows (u, v, ...) of a grid as an array, with the u of its columns and the v of its rows."""
    u, columns = np.unique(grid[:, 0], return_inverse=True)
    v, rows = np.unique(grid[:, 1], return_inverse=True)
    array = np.full((len(v), len(u)), math.nan)
    array[rows, columns] = values
    return array


def runs(levels):
    """Cells of one level that lie beside each other in a row: (level, row, first column, length)."""
    for row, line in enumerate(levels):
        first = 0
        for column in range(1, len(line) + 1):
            if column == len(line) or line[column] != line[first]:
                if line[first] >= 0:
                    yield int(line[first]), row, first, column - first
                first = column


def cells(values, largest):
    """A path for each level that occurs; cells without a number are left open."""
    known = np.isfinite(values)
    with np.errstate(all="ignore"):
        share = np.where(known, values, 0) / (largest if largest > 0 else 1)
    levels = np.where(known, np.minimum((share * LEVELS).astype(int), LEVELS - 1), -1)
    paths = {}
    for level, row, first, length in runs(levels):
        paths.setdefault(level, []).append(f"M{first} {row}h{length}v1h{-length}z")
    for level, pieces in sorted(paths.items()):
        yield svg("path", d="".join(pieces), fill=colour((level + 0.5) / LEVELS), shape_rendering="crispEdges")


def scale(largest):
    """What the colours mean, from 0 to the largest value."""
    bars = [svg("rect", x=level, y=0, width=1.02, height=1, fill=colour((level + 0.5) / LEVELS))
            for level in range(LEVELS)]
    return join([svg("svg", *bars, class_="swatch", viewBox=f"0 0 {LEVELS} 1", preserveAspectRatio="none",
                     aria_hidden="true"),
                 element("p", element("span", "0"), element("span", f"{numbers.short(largest, 4)} px"),
                         class_="scale-text")])


def heat_map(grid, values, size, title, unknown):
    """The figure of one number at each pixel of a grid (N, 2 and more columns), pixels.

    The picture's shape is kept; grey cells have no number, and `unknown` says why.
    """
    array = on_grid(grid, values)
    known = array[np.isfinite(array)]
    largest = float(known.max()) if len(known) else 0.0
    rows, columns = array.shape
    stretch = columns * size[1] / (size[0] * rows)
    view = f"0 0 {columns} {rows * stretch:.3f}"
    picture = svg("svg", svg("g", svg("rect", class_="no-ray", x=0, y=0, width=columns, height=rows),
                             *cells(array, largest), transform=f"scale(1 {stretch:.6g})"),
                  class_="heat", viewBox=view, role="img", data_max=repr(largest), data_columns=columns, data_rows=rows,
                  aria_label=f"{title}: up to {numbers.short(largest, 4)} pixels")
    grey = None if np.isfinite(array).all() else element("ul", legend.key("no-ray", unknown), class_="legend")
    return element("figure", element("h4", title), picture, scale(largest), grey)
