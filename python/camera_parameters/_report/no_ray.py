"""The part of a picture that no ray reaches, to its very border."""

import numpy as np

from camera_parameters._report import lens

# Each halves how far the border may be off; of cells of 27 pixels a hundredth of a pixel is left.
HALVINGS = 12
# Corners of a cell in turn, as (row, column).
CORNERS = ((0, 0), (0, 1), (1, 1), (1, 0))


def borders(intrinsics, known, unknown):
    """Where rays end between pixels (N, 2) that have one and pixels that have none, by halving."""
    for _ in range(HALVINGS):
        middle = 0.5 * (known + unknown)
        is_known = np.isfinite(lens.rays_at(intrinsics, middle)).all(axis=-1, keepdims=True)
        known, unknown = np.where(is_known, middle, known), np.where(is_known, unknown, middle)
    return unknown


def crossed_sides(missing):
    """Sides of cells with a ray at one end only, as pairs of grid places ((row, column) with a ray, without)."""
    for way in ((0, 1), (1, 0)):
        rows, columns = missing.shape[0] - way[0], missing.shape[1] - way[1]
        for row, column in zip(*np.nonzero(missing[:rows, :columns] != missing[way[0]:, way[1]:])):
            ends = ((int(row), int(column)), (int(row) + way[0], int(column) + way[1]))
            yield ends[::-1] if missing[ends[0]] else ends


def cell_polygon(place, missing, pixels, crossings):
    """The part of a cell without a ray: its corners that have none, and where rays end between."""
    ring = [(place[0] + row, place[1] + column) for row, column in CORNERS]
    polygon = []
    for here, ahead in zip(ring, ring[1:] + ring[:1]):
        if missing[here]:
            polygon.append(pixels[here])
        if missing[here] != missing[ahead]:
            polygon.append(crossings[(ahead, here) if missing[here] else (here, ahead)])
    return np.array(polygon)


def polygons(intrinsics, columns, rows):
    """The pixels that no ray reaches: polygons that touch and do not overlap, on a grid over the picture.

    >>> import camera_parameters as cp
    >>> from camera_parameters._report.no_ray import polygons
    >>> polygons(cp.CameraParametersSet()["head_camera"].intrinsics(1280, 960), 16, 12)
    []
    """
    pixels = lens.pixel_grid(intrinsics.width, intrinsics.height, columns, rows)
    missing = ~np.isfinite(lens.rays_at(intrinsics, pixels)).all(axis=-1)
    sides = list(crossed_sides(missing))
    crossings = {}
    if sides:
        ends = np.array([[pixels[known], pixels[unknown]] for known, unknown in sides])
        crossings = dict(zip(sides, borders(intrinsics, ends[:, 0], ends[:, 1])))
    cells = missing[:-1, :-1] | missing[:-1, 1:] | missing[1:, 1:] | missing[1:, :-1]
    places = [(int(row), int(column)) for row, column in zip(*np.nonzero(cells))]
    return [cell_polygon(place, missing, pixels, crossings) for place in places]
