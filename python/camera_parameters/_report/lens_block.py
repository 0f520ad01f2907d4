"""The figure of a lens with its legend, and what it says in words."""

import math

from camera_parameters._report import lens_figure, numbers
from camera_parameters._report.legend import key
from camera_parameters._report.markup import element

LINES = (("arrow", "from where a pinhole would image a ray to where the lens does"),
         ("ring", "equal displacement, pixels"))
WORDS = {"valid": "certainly valid within", "pole": "pole at", "fold": "fold at"}
# Pixels of which the share without a ray is counted; to 0.1 % it is that of the whole picture.
COUNTED = (320, 240)


def place_of(radius):
    """A radius of rays for reading."""
    return f"r = {numbers.short(radius)}, {numbers.degrees(math.atan(radius))} from the axis"


def legend(circles, drawn):
    """What the lines are that the figure has."""
    items = [key(kind, what) for kind, what in LINES if kind in drawn]
    items += [key(f"circle {circle.kind}", circle.what + (": " + place_of(circle.radius) if circle.of_rays else ""))
              for circle in circles if circle.kind in drawn]
    if "no-ray" in drawn:
        items.append(key("no-ray", "no ray reaches these pixels"))
    return element("ul", *items, class_="legend") if items else None


def ends_in_words(circles, drawn):
    """Where the lens ends, as far as no circle of the figure says it."""
    rest = [circle for circle in circles if circle.of_rays and circle.kind not in drawn]
    outside = [f"{WORDS[circle.kind]} {place_of(circle.radius)}" for circle in rest if math.isfinite(circle.radius)]
    if outside:
        yield f"Outside of the figure: {'; '.join(outside)}."
    if any(circle.kind == "valid" and math.isinf(circle.radius) for circle in rest):
        yield "Every ray before the camera is certainly valid."


def share_without_ray(view):
    """How much of a picture shows no ray, per cent: the library's own count, of a picture made small. Where a lens has no
    inverse each pixel is slow; of all of a large picture it would take seconds."""
    small = view.resized(min(view.width, COUNTED[0]), min(view.height, COUNTED[1]))
    return 100 * (1 - small.coverage().share)


def share_in_words(views):
    """How much of the pictures with this lens shows no ray."""
    shares = {}
    for view in views:
        missing = share_without_ray(view)
        if missing > 0:
            shares.setdefault(f"{numbers.short(missing, 2)} %", []).append(f"{view.width} \u00d7 {view.height}")
    for share, sizes in shares.items():
        yield f"{share} of the picture of {' and '.join(sizes)} shows no ray." if len(views) > 1 else (
            f"{share} of the picture shows no ray.")


def figure(title, intrinsics, views):
    """The figure of a lens; `views` are those of all sizes that have it, with the size of the intrinsics among them."""
    valid_radius = views[0].valid_radius
    largest = lens_figure.largest_displacement(intrinsics)
    drawing, factor, drawn = lens_figure.drawing(intrinsics, valid_radius)
    circles = lens_figure.circles(intrinsics, valid_radius)
    words = [f"The lens moves what a pixel shows by up to {numbers.short(largest, 4)} px.", *share_in_words(views)]
    if factor > 1:
        words.append(f"Arrows are drawn {factor} times as long as they are.")
    words += ends_in_words(circles, drawn)
    return element("figure", element("h3", title), drawing,
                   element("figcaption", element("p", " ".join(words)), legend(circles, drawn)))
