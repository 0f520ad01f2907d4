"""The distortion of a lens over the picture: arrows, rings of equal displacement, and where the lens ends."""

import math

import numpy as np

from camera_parameters._report import contours, lens, numbers
from camera_parameters._report.markup import element, svg
from camera_parameters._report.scene_figure import path_data

WIDTH = 480
TALLEST = 460
ARROWS = (16, 12)
FINE = (48, 36)
# The drawing reaches at most so far beyond the picture, in widths and heights of it.
BEYOND = 0.45
# Longest arrows that are shorter than this, in units of the drawing, are drawn several times as long.
LONG_ENOUGH = 20


class Field:
    """Where the pinhole of a camera matrix would put what the pixels of a grid show: `pixels` (rows, columns, 2) and
    `pinhole`, NaN where a pixel has no ray."""

    def __init__(self, intrinsics, columns, rows):
        self.pixels = lens.pixel_grid(intrinsics.width, intrinsics.height, columns, rows)
        self.pinhole = lens.pixels_of(intrinsics, lens.rays_at(intrinsics, self.pixels))

    @property
    def displacement(self):
        """How far the lens moves what each pixel shows, pixels."""
        with np.errstate(all="ignore"):
            return np.linalg.norm(self.pixels - self.pinhole, axis=-1)


class Plan:
    """Pixels to units of the drawing."""

    def __init__(self, intrinsics, pinhole):
        size = np.array([intrinsics.width, intrinsics.height], float)
        points = pinhole[np.isfinite(pinhole).all(axis=-1)]
        low = points.min(axis=0) if len(points) else np.zeros(2)
        high = points.max(axis=0) if len(points) else size
        low = np.clip(low, -BEYOND * size, -0.06 * size)
        high = np.clip(high, 1.06 * size, (1 + BEYOND) * size)
        self.scale = min(WIDTH / (high - low)[0], TALLEST / (high - low)[1])
        self.left = (WIDTH - (high - low)[0] * self.scale) / 2 - low[0] * self.scale
        self.top = -low[1] * self.scale
        self.height = (high - low)[1] * self.scale

    def __call__(self, pixels):
        return np.asarray(pixels, float) * self.scale + [self.left, self.top]


def levels(displacement):
    """Displacements to draw rings at, pixels: five or so."""
    known = displacement[np.isfinite(displacement)]
    largest = float(np.quantile(known, 0.98)) if len(known) else 0.0
    # Single precision rounds a pixel by about this much.
    return [level for level in numbers.ticks(0, largest, 4) if level > 0][:9] if largest > 1e-3 else []


def rings(field, plan):
    """A path and its number for each level."""
    displacement = field.displacement
    rows, columns = np.array(displacement.shape) - 1
    cell = field.pixels[-1, -1] / [columns, rows]
    written = []
    for level in levels(displacement):
        pieces = [plan(np.array(piece) * cell) for piece in contours.contour(displacement, level)]
        if not pieces:
            continue
        yield svg("path", class_="ring", d="".join(path_data(piece) for piece in pieces), data_level=repr(level))
        place = free_place(pieces, written)
        if place is not None:
            written.append(place)
            yield svg("text", numbers.short(level), class_="ring-text", x=f"{place[0]:.2f}", y=f"{place[1] + 4:.2f}")


def free_place(pieces, written):
    """Where on a ring its number can stand: upwards to the right, if no other number is there."""
    points = sorted((point for piece in pieces for point in piece), key=lambda point: point[1] - 1.3 * point[0])
    for x, y in points:
        if all(abs(x - other[0]) > 34 or abs(y - other[1]) > 15 for other in written):
            return x, y
    return None


def arrow_factor(field, scale):
    """How many times as long as they are arrows are drawn, so that they can be seen: 1, or 2, 5 or 10 times as many."""
    known = field.displacement[np.isfinite(field.displacement)]
    largest = float(known.max()) * scale if len(known) else 0.0
    # Beside single precision's rounding of pixels there is nothing to be seen.
    if not 1e-4 * scale < largest < LONG_ENOUGH:
        return 1
    factors = [digit * 10**power for power in range(4) for digit in (1, 2, 5)]
    return max([factor for factor in factors if factor * largest <= LONG_ENOUGH])


def arrows(field, plan, factor):
    """From where the pinhole would image a ray to where the lens images it."""
    starts, ends = plan(field.pixels + factor * (field.pinhole - field.pixels)), plan(field.pixels)
    for start, end in zip(starts.reshape(-1, 2), ends.reshape(-1, 2)):
        if not np.isfinite(start).all() or np.abs(start).max() > 1e5:
            continue
        way = end - start
        length = float(np.hypot(*way))
        path = path_data([start, end])
        if length > 3:
            along = way / length * min(5.0, 0.5 * length)
            aside = np.array([-along[1], along[0]]) * 0.45
            path += path_data([end - along + aside, end, end - along - aside])
        yield svg("path", class_="arrow", d=path)


def without_ray(field, plan):
    """The pixels that no ray reaches, as one path of cells."""
    missing = ~np.isfinite(field.pinhole).all(axis=-1)
    rows, columns = np.array(missing.shape) - 1
    cells = missing[:-1, :-1] | missing[:-1, 1:] | missing[1:, 1:] | missing[1:, :-1]
    width, height = field.pixels[-1, -1] / [columns, rows] * plan.scale
    path = ""
    for row, column in zip(*np.nonzero(cells)):
        x, y = plan(field.pixels[row, column])
        path += f"M{x:.1f} {y:.1f}h{width:.1f}v{height:.1f}h{-width:.1f}Z"
    return svg("path", class_="no-ray", d=path) if path else None


def circles(intrinsics, valid_radius):
    """Radii of rays, tan of the angle from the axis, at which something ends: (class, what, radius)."""
    end = lens.lens_end(intrinsics.distortion)
    return [("fold", "fold", end.fold), ("fold-image", "image of the fold", end.fold_image),
            ("pole", "pole", end.pole), ("valid", "certainly valid", valid_radius)]


def circle_elements(intrinsics, valid_radius, plan):
    """The circles that meet the drawing, as ellipses about the principal point."""
    fx, fy = abs(float(intrinsics.fx)), abs(float(intrinsics.fy))
    x, y = plan([float(intrinsics.cx), float(intrinsics.cy)])
    for kind, what, radius in circles(intrinsics, valid_radius):
        rx, ry = radius * fx * plan.scale, radius * fy * plan.scale
        if not (math.isfinite(rx) and math.isfinite(ry) and math.isfinite(x) and math.isfinite(y)):
            continue
        if 0.5 < min(rx, ry) and max(rx, ry) < 3 * WIDTH:
            yield svg("ellipse", element("title", what), class_=f"circle {kind}", cx=f"{x:.2f}", cy=f"{y:.2f}",
                      rx=f"{rx:.2f}", ry=f"{ry:.2f}", data_radius=repr(float(radius)))


def drawing(intrinsics, valid_radius):
    """The figure of one lens at one size, and how many times as long as they are its arrows are."""
    fine, coarse = Field(intrinsics, *FINE), Field(intrinsics, *ARROWS)
    plan = Plan(intrinsics, coarse.pinhole)
    factor = arrow_factor(coarse, plan.scale)
    corner, size = plan([0, 0]), np.array([intrinsics.width, intrinsics.height]) * plan.scale
    frame = svg("rect", class_="frame", x=f"{corner[0]:.2f}", y=f"{corner[1]:.2f}", width=f"{size[0]:.2f}",
                height=f"{size[1]:.2f}")
    label = (f"Distortion of the {intrinsics.width} by {intrinsics.height} picture: arrows from where a pinhole camera "
             "would image a ray to where the lens does, and rings of equal displacement")
    picture = svg("svg", frame, without_ray(fine, plan), svg("g", *rings(fine, plan), class_="rings"),
                  svg("g", *arrows(coarse, plan, factor)), *circle_elements(intrinsics, valid_radius, plan),
                  class_="plot lens", viewBox=f"0 0 {WIDTH} {plan.height:.0f}", role="img", aria_label=label,
                  data_size=f"{intrinsics.width}x{intrinsics.height}", data_scale=repr(plan.scale),
                  data_left=repr(plan.left), data_top=repr(plan.top), data_factor=factor)
    return picture, factor


def extremes(intrinsics):
    """The largest displacement in the picture, pixels, and the share of grid points with a ray."""
    field = Field(intrinsics, *FINE)
    displacement = field.displacement
    known = displacement[np.isfinite(displacement)]
    return (float(known.max()) if len(known) else math.nan), len(known) / displacement.size
