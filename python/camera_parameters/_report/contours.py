"""Lines of equal value through numbers on a grid, by marching squares."""

import numpy as np

# Sides of a cell, 0 above, 1 right, 2 below, 3 left, that a line joins, by which of its corners lie above the level:
# 1 upper left, 2 upper right, 4 lower right, 8 lower left.
_SIDES = {1: [(3, 0)], 2: [(0, 1)], 3: [(3, 1)], 4: [(1, 2)], 5: [(3, 0), (1, 2)], 6: [(0, 2)], 7: [(3, 2)],
          8: [(2, 3)], 9: [(2, 0)], 10: [(0, 1), (2, 3)], 11: [(2, 1)], 12: [(1, 3)], 13: [(1, 0)], 14: [(0, 3)]}
_CORNERS = np.array([(0, 0), (0, 1), (1, 1), (1, 0)])


def contour(values, level):
    """Pieces of the line on which `values` (rows, columns) are `level`, each two points (column, row) of the grid.
    Cells with a corner that is NaN have none.

    >>> import camera_parameters as cp
    >>> import numpy as np
    >>> from camera_parameters._report.contours import contour
    >>> contour(np.array([[0.0, 1.0], [0.0, 1.0]]), 0.25)
    [((0.25, 0.0), (0.25, 1.0))]
    """
    with np.errstate(invalid="ignore"):
        above = (values > level).astype(int)
    whole = np.isfinite(values)
    cells = above[:-1, :-1] + 2 * above[:-1, 1:] + 4 * above[1:, 1:] + 8 * above[1:, :-1]
    cells = np.where(whole[:-1, :-1] & whole[:-1, 1:] & whole[1:, 1:] & whole[1:, :-1], cells, 0)
    pieces = []
    for row, column in zip(*np.nonzero((cells > 0) & (cells < 15))):
        for sides in _SIDES[int(cells[row, column])]:
            pieces.append(tuple(_crossing(values, level, row, column, side) for side in sides))
    return pieces


def _crossing(values, level, row, column, side):
    """Where the level is met on a side of a cell, linearly."""
    first, second = _CORNERS[side], _CORNERS[(side + 1) % 4]
    a = values[row + first[0], column + first[1]]
    b = values[row + second[0], column + second[1]]
    at = (row, column) + first + (level - a) / (b - a) * (second - first)
    return float(at[1]), float(at[0])
