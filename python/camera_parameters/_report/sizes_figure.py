"""The pictures that a camera delivers: their places in its full frame, and how much each of them sees."""

import math

import numpy as np

from camera_parameters._report import lens, numbers
from camera_parameters._report.markup import element, join, svg
from camera_parameters._report.scene import border_pixels
from camera_parameters._report.scene_figure import path_data

WIDTH = 480
MARGIN = 26
POINTS_PER_SIDE = 16


def angle_between(first, second):
    """The angle between two rays (x, y), radians; NaN where one is.

    >>> import camera_parameters as cp
    >>> from camera_parameters._report.sizes_figure import angle_between
    >>> angle_between([0, 0], [1, 0])
    0.7853981633974483
    """
    a, b = np.append(np.asarray(first, float), 1), np.append(np.asarray(second, float), 1)
    return math.atan2(float(np.linalg.norm(np.cross(a, b))), float(a @ b))


def fields_of_view(intrinsics):
    """Horizontal, vertical and diagonal field of view by the lens, radians."""
    w, h = intrinsics.width, intrinsics.height
    ends = [(0, h / 2), (w, h / 2), (w / 2, 0), (w / 2, h), (0, 0), (w, h)]
    rays = lens.rays_at(intrinsics, ends)
    return tuple(angle_between(rays[i], rays[i + 1]) for i in (0, 2, 4))


def outline(entry, full):
    """The border of a picture in the full frame, pixels, clockwise from the upper left corner.

    Where the picture has the lens of the full frame it was cut out and scaled: exactly a rectangle. Where the sensor
    warps it, each ray of its border is looked for in the full frame.
    """
    if np.array_equal(entry.distortion, full.distortion):
        with np.errstate(all="ignore"):
            sx, sy = np.float64(full.fx) / np.float64(entry.fx), np.float64(full.fy) / np.float64(entry.fy)
            x0, y0 = np.float64(full.cx) - sx * entry.cx, np.float64(full.cy) - sy * entry.cy
            x1, y1 = x0 + sx * entry.width, y0 + sy * entry.height
        return np.array([(x0, y0), (x1, y0), (x1, y1), (x0, y1)])
    rays = lens.rays_at(entry, border_pixels(entry.width, entry.height, POINTS_PER_SIDE))
    with np.errstate(all="ignore"):
        return lens.pixels_of(full, lens.distort(full.distortion, rays))


def dashes(index, size):
    """The dashes of a picture's outline, and half as large those of its key; the first one's is solid."""
    return f"{size * (10 + 4 * index):g} {size * 6 * index:g}" if index else None


def drawing(entries, full):
    """The full frame with the outline of each picture."""
    scale = (WIDTH - 2 * MARGIN) / full.width
    scale = min(scale, 380 / full.height)
    height = full.height * scale + 2 * MARGIN
    left = (WIDTH - full.width * scale) / 2
    shapes = [svg("rect", class_="frame", x=f"{left:.2f}", y=f"{MARGIN:.2f}", width=f"{full.width * scale:.2f}",
                  height=f"{full.height * scale:.2f}"),
              svg("text", f"{full.width} \u00d7 {full.height}", class_="axis-text", x=f"{left:.2f}", y=MARGIN - 8)]
    for index, entry in enumerate(entries):
        points = outline(entry, full) * scale + [left, MARGIN]
        # Outlines that lie on each other stay visible by dashes that differ.
        dash = dashes(index, 1)
        shapes.append(svg("path", class_=f"size c{index % 8}", d=path_data(points, True), stroke_dasharray=dash,
                          data_size=f"{entry.width}x{entry.height}"))
    x, y = left + float(full.cx) * scale, MARGIN + float(full.cy) * scale
    if math.isfinite(x) and math.isfinite(y) and abs(x) < 1e5 and abs(y) < 1e5:
        shapes.append(svg("path", class_="cross", d=f"M{x - 6:.2f} {y:.2f}h12M{x:.2f} {y - 6:.2f}v12"))
    label = "The full frame with the outline of each picture that the camera delivers"
    return svg("svg", *shapes, class_="plot", viewBox=f"0 0 {WIDTH} {height:.0f}", role="img", aria_label=label)


def place_of(corners):
    """The place of a picture in the full frame, for reading and with all digits: left, top, right, bottom."""
    known = corners[np.isfinite(corners).all(axis=1)]
    if len(known) == 0:
        return "not known", ""
    low, high = known.min(axis=0), known.max(axis=0)
    ends = " ".join(numbers.full(float(value)) for value in (*low, *high))
    if len(corners) != 4:
        return "warped by the sensor", ends
    return (f"{numbers.short(low[0])}, {numbers.short(low[1])} to {numbers.short(high[0])}, "
            f"{numbers.short(high[1])}"), ends


def table(entries, full, views, identity):
    """Size, place in the full frame and field of view of each picture."""
    rows = []
    for index, (entry, view) in enumerate(zip(entries, views)):
        fields = view.fields_of_view
        place, ends = place_of(outline(entry, full))
        key = svg("svg", svg("path", d="M1 6h22", class_=f"size c{index % 8}",
                             stroke_dasharray=dashes(index, 0.5)), class_="key", viewBox="0 0 24 12",
                  aria_hidden="true")
        angles = [element("td", numbers.degrees(angle), class_="n", data_v=repr(math.degrees(angle)))
                  for angle in (fields.horizontal, fields.vertical, fields.diagonal)]
        rows.append(element("tr", element("th", key, f" {entry.width} \u00d7 {entry.height}", scope="row",
                                          data_v=f"{entry.width}x{entry.height}"),
                            *angles, element("td", place, data_v=ends)))
    head = element("tr", *(element("th", text, scope="col") for text in (
        "picture", "across", "down", "diagonal", "in the full frame, px")))
    return element("table", element("thead", head), element("tbody", join(rows)), id=identity, class_="sizes")
