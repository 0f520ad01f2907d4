"""The distortion of a lens over the picture: arrows, rings of equal displacement, and where the lens ends."""

import dataclasses
import math

import numpy as np

from camera_parameters._report import contours, lens, no_ray, numbers, ring_labels
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


def ring_pieces(field, plan):
    """The pieces of the ring of each level, in units of the drawing."""
    displacement = field.displacement
    rows, columns = np.array(displacement.shape) - 1
    cell = field.pixels[-1, -1] / [columns, rows]
    for level in levels(displacement):
        pieces = [plan(np.array(piece) * cell) for piece in contours.contour(displacement, level)]
        if pieces:
            yield level, pieces


def rings(field, plan, segments):
    """The paths of the rings, and their numbers, which keep apart from the arrows `segments`."""
    paths, texts, written = [], [], []
    points = ring_labels.arrow_points(segments)
    for level, pieces in ring_pieces(field, plan):
        paths.append(svg("path", class_="ring", d="".join(path_data(piece) for piece in pieces), data_level=repr(level)))
        text = numbers.short(level)
        place = ring_labels.free_place(pieces, text, points, written, (WIDTH, plan.height))
        if place is not None:
            texts.append(svg("text", text, class_="ring-text", x=f"{place[0]:.2f}", y=f"{place[1] + 4:.2f}"))
    return paths, texts


def arrow_factor(field, scale):
    """How many times as long as they are arrows are drawn, so that they can be seen: 1, or 2, 5 or 10 times as many."""
    known = field.displacement[np.isfinite(field.displacement)]
    largest = float(known.max()) * scale if len(known) else 0.0
    # Beside single precision's rounding of pixels there is nothing to be seen.
    if not 1e-4 * scale < largest < LONG_ENOUGH:
        return 1
    factors = [digit * 10**power for power in range(4) for digit in (1, 2, 5)]
    return max([factor for factor in factors if factor * largest <= LONG_ENOUGH])


def arrow_segments(field, plan, factor):
    """From where the pinhole would image a ray to where the lens images it, in units of the drawing."""
    starts, ends = plan(field.pixels + factor * (field.pinhole - field.pixels)), plan(field.pixels)
    return [(start, end) for start, end in zip(starts.reshape(-1, 2), ends.reshape(-1, 2))
            if np.isfinite(start).all() and np.abs(start).max() <= 1e5]


def arrow(start, end):
    """An arrow; a short one has no head."""
    way = end - start
    length = float(np.hypot(*way))
    path = path_data([start, end])
    if length > 3:
        along = way / length * min(5.0, 0.5 * length)
        aside = np.array([-along[1], along[0]]) * 0.45
        path += path_data([end - along + aside, end, end - along - aside])
    return svg("path", class_="arrow", d=path)


def without_ray(intrinsics, plan):
    """The pixels that no ray reaches, as one path."""
    path = "".join(path_data(plan(polygon), closed=True) for polygon in no_ray.polygons(intrinsics, *FINE))
    return svg("path", class_="no-ray", d=path) if path else None


@dataclasses.dataclass(frozen=True)
class Circle:
    """Where the lens ends: at the rays of `radius`, tan of the angle from the axis, drawn at `drawn` focal lengths
    from the principal point. `of_rays` says whether the radius is one of rays, which words can give."""

    kind: str
    what: str
    radius: float
    drawn: float
    of_rays: bool = True


def circles(intrinsics, valid_radius):
    """Where the lens ends, in the order in which it is drawn: in the picture, and where a pinhole would image it."""
    end = lens.lens_end(intrinsics.distortion)
    return [Circle("valid", "certainly valid within", valid_radius,
                   lens.image_radius(intrinsics.distortion, valid_radius)),
            Circle("fold-image", "where the fold is imaged: no ray beyond", end.fold_image, end.fold_image, False),
            Circle("pole", "pole, where a pinhole would image it", end.pole, end.pole),
            Circle("fold", "fold, where a pinhole would image it", end.fold, end.fold)]


def meets(x, y, rx, ry, height):
    """Whether an ellipse has a part in the drawing."""
    angles = np.linspace(0, 2 * math.pi, 361)
    u, v = x + rx * np.cos(angles), y + ry * np.sin(angles)
    return bool(np.any((u > 0) & (u < WIDTH) & (v > 0) & (v < height)))


def circle_elements(intrinsics, valid_radius, plan):
    """The circles that meet the drawing, as ellipses about the principal point, by their kinds."""
    fx, fy = abs(float(intrinsics.fx)), abs(float(intrinsics.fy))
    x, y = plan([float(intrinsics.cx), float(intrinsics.cy)])
    elements = {}
    for circle in circles(intrinsics, valid_radius):
        rx, ry = abs(circle.drawn) * fx * plan.scale, abs(circle.drawn) * fy * plan.scale
        if np.isfinite([rx, ry, x, y]).all() and 0.5 < min(rx, ry) and meets(x, y, rx, ry, plan.height):
            elements[circle.kind] = svg(
                "ellipse", element("title", circle.what), class_=f"circle {circle.kind}", cx=f"{x:.2f}", cy=f"{y:.2f}",
                rx=f"{rx:.2f}", ry=f"{ry:.2f}", data_radius=repr(float(circle.radius)))
    return elements


def frame(intrinsics, plan):
    """The picture's border."""
    corner, size = plan([0, 0]), np.array([intrinsics.width, intrinsics.height]) * plan.scale
    return svg("rect", class_="frame", x=f"{corner[0]:.2f}", y=f"{corner[1]:.2f}", width=f"{size[0]:.2f}",
               height=f"{size[1]:.2f}")


def drawing(intrinsics, valid_radius):
    """The figure of one lens at one size, how many times as long as they are its arrows are, and which kinds of lines
    it has."""
    fine, coarse = Field(intrinsics, *FINE), Field(intrinsics, *ARROWS)
    plan = Plan(intrinsics, coarse.pinhole)
    factor = arrow_factor(coarse, plan.scale)
    segments = arrow_segments(coarse, plan, factor)
    paths, texts = rings(fine, plan, segments)
    ends, grey = circle_elements(intrinsics, valid_radius, plan), without_ray(intrinsics, plan)
    label = (f"Distortion of the {intrinsics.width} by {intrinsics.height} picture: arrows from where a pinhole camera "
             "would image a ray to where the lens does, and rings of equal displacement")
    picture = svg("svg", frame(intrinsics, plan), grey, svg("g", *paths, class_="rings"),
                  svg("g", *(arrow(*ends_of) for ends_of in segments)), *ends.values(), *texts,
                  class_="plot lens", viewBox=f"0 0 {WIDTH} {plan.height:.0f}", role="img", aria_label=label,
                  data_size=f"{intrinsics.width}x{intrinsics.height}", data_scale=repr(plan.scale),
                  data_left=repr(plan.left), data_top=repr(plan.top), data_factor=factor)
    has_arrows = any(np.abs(end - start).max() > 0.5 for start, end in segments)
    return picture, factor, {*ends, *(["no-ray"] if grey else []), *(["ring"] if paths else []),
                             *(["arrow"] if has_arrows else [])}


def largest_displacement(intrinsics):
    """The largest displacement in the picture, pixels; NaN where no pixel has a ray."""
    displacement = Field(intrinsics, *FINE).displacement
    known = displacement[np.isfinite(displacement)]
    return float(known.max()) if len(known) else math.nan
