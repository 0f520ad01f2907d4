"""The sections of a pan-tilt-zoom camera."""

import math

import numpy as np

from camera_parameters._errors import CalibrationError
from camera_parameters._report import head_figures, head_scene, lens_block, numbers, scene_figure, tables
from camera_parameters._report import scene as scenes
from camera_parameters._report.legend import key
from camera_parameters._report.markup import element, heading, join

MOST_SAMPLES = 100
CHAIN_LINES = (("turn c1", "pan axis"), ("turn c2", "tilt axis"), ("sweep c1", "the optical axis as pan turns"),
               ("sweep c2", "the optical axis as tilt turns"), ("joint", "chain from the base to the camera"),
               ("cone", "blind cone"))


def unknown(value):
    """A number that the calibration may not state."""
    return "not stated" if value is None else value


def chain_scene(source, other):
    """The drawing of the chain, with what `other` changes; None where it cannot be drawn."""
    drawn = head_scene.build(source.model, source.message.get("pan_tilt", {}))
    second = head_scene.build(other.model, other.message.get("pan_tilt", {})) if other is not None else None
    if drawn is not None and second is not None:
        scenes.add_second(drawn, second, other.whose)
    return drawn


def chain_section(source, other):
    """The chain: how it stands, its poses and motors."""
    head, pan_tilt = source.model, source.message.get("pan_tilt", {})
    scene = chain_scene(source, other)
    drawing = element("p", "Not drawn: the head's poses or the lens are not finite.", class_="note")
    if scene is not None:
        drawn = {line.kind + scene_figure.colour_class(line.camera) for line in scene.lines}
        legend = element("ul", *(key(kind, what) for kind, what in CHAIN_LINES if kind in drawn), class_="legend")
        drawing = join([scene_figure.figure(scene, "The pan-tilt head"), legend])
    poses = [tables.matrix_table(title, head_scene.pose_matrix(pan_tilt.get(name))[:3], f"head-{name}")
             for name, title in (("base_to_pan", "Pan joint from base, metres"),
                                 ("pan_to_tilt", "Tilt joint from pan joint, metres"),
                                 ("tilt_to_camera", "Camera from tilt joint, metres"))]
    return element("section", heading("The head", source.whose), drawing, motors_table(head, pan_tilt), geometry_table(head),
                   element("div", *poses, class_="figures"), id="head")


def motors_table(head, pan_tilt):
    """Scale, zero, range and home of both motors."""
    rows = []
    for index, motor in enumerate(("pan", "tilt")):
        low, high = (head.pan_range, head.tilt_range)[index]
        home = head.home[index] if head.home else None
        rows.append((motor, unknown(pan_tilt.get(f"{motor}_scale")), unknown(pan_tilt.get(f"{motor}_offset")),
                     unknown(low), unknown(high), unknown(home)))
    return tables.frame("Motors", tables.table_of(
        ("motor", "radians a step", "zero, steps", "lowest, steps", "highest, steps", "home, steps"), rows,
        "head-motors"), "head-motors")


def geometry_table(head):
    """The head, measured at zero tilt."""
    geometry, cones = head.geometry, head.blind_cones
    rows = [("azimuth of the optical axis, degrees", math.degrees(geometry.azimuth)),
            ("elevation of the optical axis, degrees", math.degrees(geometry.elevation)),
            ("optical axis from the pan axis, mm", 1000 * geometry.axis_gap),
            ("tilt axis from square, degrees", math.degrees(geometry.tilt_axis_error)),
            ("blind cone about pan's z, degrees", math.degrees(cones.upper)),
            ("blind cone about the opposite, degrees", math.degrees(cones.lower))]
    return tables.frame("Measured at zero tilt", tables.table_of(("", "value"), rows, "head-geometry"), "head-geometry")


def home_direction(head):
    """Where the optical axis points at home: azimuth and elevation in the base, radians; None without a lens."""
    zoom = head_scene.zoom_of(head)
    if zoom is None:
        return None
    pose = head.configuration(*head_scene.home_of(head), zoom).pose
    x, y, z = (float(part) for part in pose.robot_from_camera[:3, 2])
    is_known = all(math.isfinite(part) for part in (x, y, z))
    return (math.atan2(y, x), math.atan2(z, math.hypot(x, y))) if is_known else None


def home_in_words(head):
    """What the mark on the map of reach is."""
    if head.home and None not in head.home:
        return "the optical axis at home"
    pan, tilt = head_scene.home_of(head)
    where = "zero pan and tilt" if (pan, tilt) == (0, 0) else f"pan {numbers.short(pan)}, tilt {numbers.short(tilt)}"
    return f"the optical axis at {where} (no home stated)"


def reach_section(head, whose):
    """The map of the directions that the head can centre."""
    spans = head_figures.reach_spans(head)
    drawing = head_figures.reach_map(spans, home_direction(head))
    words = f"directions that can be centred, {numbers.short(head_figures.DISTANCE)} m away"
    legend = element("ul", key("reach", words),
                     element("li", "\u25cb ", home_in_words(head)), class_="legend")
    why = "No direction can be centred."
    nothing = None if spans else element("p", why, class_="note")
    figure = element("figure", drawing, element("figcaption", legend, nothing), class_="narrow")
    return element("section", heading("Reach", whose), figure, id="reach")


def zoom_section(head, whose):
    """Focal length, field of view and lens over the zoom."""
    if head.zoom_range is None:
        return element("section", heading("Zoom", whose), element(
            "p", "There is no zoom position with a lens within the range of the motor.", class_="note"),
            samples_table(head), id="zoom")
    first, second = head_figures.zoom_charts(head)
    ends = [zoom_lens(head, zoom, what) for zoom, what in zip(head.zoom_range, ("widest", "longest"))]
    names = element("ul", key("curve c0", "across"), key("curve c1", "down"), key("curve c2", "diagonal"),
                    class_="legend")
    return element("section", heading("Zoom", whose),
                   element("div", element("figure", element("h3", "Focal length"), first),
                           element("figure", element("h3", "Field of view"), second, element("figcaption", names)),
                           *ends, class_="figures"), samples_table(head), id="zoom")


def zoom_lens(head, zoom, what):
    """The distortion at one zoom position; nothing where the lens or the image's size is not known."""
    configuration = head.configuration(0, 0, zoom)
    try:
        view = configuration.view()
    except CalibrationError:
        return None
    return lens_block.figure(f"Distortion, {what}: zoom {numbers.short(zoom)}", configuration.intrinsics, [view])


def samples_table(head):
    """The lens at the samples of the zoom."""
    table = head.intrinsics
    columns = (table.focal_length, *np.asarray(table.principal_point, float).reshape(-1, 2).T, table.k1, table.k4,
               table.p1, table.p2)
    rows = [(numbers.full(float(table.zoom[index])).removesuffix(".0"), *(np.float64(column[index]) for column in columns))
            for index in range(min(len(table), MOST_SAMPLES))]
    rest = len(table) - MOST_SAMPLES
    more = element("p", f"and {rest} more samples", class_="note") if rest > 0 else None
    return join([tables.frame("Samples", tables.table_of(
        ("zoom", "focal length", "cx", "cy", "k1", "k4", "p1", "p2"), rows, "zoom-samples"), "zoom-samples"), more])


def sections(source, other=None):
    """The sections of a pan-tilt-zoom camera: (id, title, markup); the drawing shows what `other` changes."""
    head, whose = source.model, source.whose
    return [("head", "The head", chain_section(source, other)), ("reach", "Reach", reach_section(head, whose)),
            ("zoom", "Zoom", zoom_section(head, whose))]


def summary(source):
    """What the page says of it at the top."""
    width, height = source.model.image_size
    return f"{width} \u00d7 {height}, {len(source.model.intrinsics)} zoom samples"
