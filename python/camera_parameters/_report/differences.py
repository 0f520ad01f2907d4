"""What a second calibration changes: in pixels, in poses and in stored numbers."""

import math

import numpy as np

import camera_parameters as cp
from camera_parameters._report import cameras, chart, fields, heat, legend, numbers, tables
from camera_parameters._report.markup import element, join, name_text

# Of so many cameras, and zoom positions, the page has heat maps.
MOST_CAMERAS = 6
MOST_ZOOMS = 3
# A page of two cameras stays below a megabyte; more maps tell nothing new.
MOST_IMAGES = 4


def figures_row(name, difference):
    """A line of a table of differences in pixels."""
    return (name, difference.max, difference.median, difference.rms, difference.compared, difference.without_ray,
            difference.not_imaged)


def image_rows(image):
    """The differences of an image, as it is, rotated, and on the robot."""
    yield figures_row(f"{image.width} \u00d7 {image.height}, as is", image.as_is)
    yield figures_row(f"{image.width} \u00d7 {image.height}, rotated", image.rotated)
    for at in image.on_robot:
        place = "far away" if math.isinf(at.distance) else f"{numbers.short(at.distance)} m away"
        yield figures_row(f"{image.width} \u00d7 {image.height}, on the robot, {place}", at)


def head_of(names):
    """The heads of a table of differences in pixels; `names` are the two files'."""
    return ("picture", "largest", "median", "RMS", "pixels", join(["no ray in ", name_text(names[0])]),
            join(["not seen by ", name_text(names[1])]))


def image_maps(image, names, what=None):
    """The heat maps of an image: as it is, and after the best rotation; `names` are the two files'."""
    if image.grid is None or len(image.grid) == 0:
        return None
    size = (image.width, image.height)
    name = what or f"{image.width} \u00d7 {image.height}"
    if image.as_is.max == 0:
        return element("p", f"{name}: no pixel differs.", class_="quiet")
    with np.errstate(all="ignore"):
        as_is = np.hypot(image.grid[:, 2], image.grid[:, 3])
        rotated = np.hypot(image.grid[:, 4], image.grid[:, 5])
    unknown = join(["no ray in ", name_text(names[0]), ", or not seen by ", name_text(names[1])])
    return element("div", heat.heat_map(image.grid, as_is, size, f"{name}, as is", unknown),
                   heat.heat_map(image.grid, rotated, size, f"{name}, rotated", unknown), class_="figures")


def pose_rows(name, pose):
    """A line of a table of differences of poses; millimetres, since poses change by so much."""
    return (name, pose.angle_degrees, 1000 * pose.distance, *(1000 * way for way in pose.movement))


POSE_HEAD = ("", "turned by, degrees", "moved by, mm", "x, mm", "y, mm", "z, mm")


def camera_block(camera, index, names):
    """What changes in one camera; `names` are the two files'."""
    identity = f"diff-{index}"
    rows = [row for image in camera.images for row in image_rows(image)]
    sizes = [f"{w} \u00d7 {h} only in {which}" for which, found in zip(
        names, (camera.sizes_only_in_a, camera.sizes_only_in_b)) for w, h in found]
    maps = [image_maps(image, names) for image in camera.images[:MOST_IMAGES]] if index < MOST_CAMERAS else []
    return join([element("h3", name_text(camera.name)),
                 element("p", "; ".join(sizes), class_="note") if sizes else None, *maps,
                 tables.frame("Differences, pixels", tables.table_of(head_of(names), rows, f"{identity}-pixels", "pixels"),
                              f"{identity}-pixels"),
                 tables.frame("Pose", tables.table_of(POSE_HEAD, [pose_rows(moved(names), camera.pose)],
                                                      f"{identity}-pose"), f"{identity}-pose")])


def moved(names):
    """The row of a pose in a table of one."""
    return join([name_text(names[1]), " from ", name_text(names[0])])


def robot(found, source, other):
    """What changes in the cameras of a robot: first those that do change."""
    names = (source.name, other.name)
    alone = [join(["only in ", name_text(which), ": ", *(join([name_text(name), " "]) for name in only)])
             for which, only in zip(names, (found.only_in_a, found.only_in_b)) if only]
    yield from (element("p", line, class_="note") for line in alone)
    same = [camera for camera in found.cameras
            if cameras.is_same(source.model[camera.name], other.model[camera.name])]
    changed = [camera for camera in found.cameras if camera not in same]
    yield from (camera_block(camera, index, names) for index, camera in enumerate(changed))
    for camera in same:
        yield element("p", element("strong", name_text(camera.name)), ": unchanged, all pictures and the pose are the same.",
                      class_="unchanged")


def ptz(found, source, other):
    """What changes in a pan-tilt-zoom camera."""
    names = (source.name, other.name)
    if found.size_a != found.size_b:
        yield element("p", "The image sizes differ, so that no pixels are compared.", class_="note")
    zooms = found.zooms
    if len(zooms) > 1:
        steps = [at.zoom for at in zooms]
        curves = [(name, steps, [getattr(at.image, part).rms for at in zooms], [True] * len(steps))
                  for name, part in (("as is", "as_is"), ("rotated", "rotated"))]
        yield element("figure", element("h3", "RMS of the differences over zoom steps"),
                      chart.chart(curves, "RMS of the differences over zoom steps", "zoom, steps", "RMS, px"),
                      element("figcaption", element("ul", legend.key("curve c0", "as is"), legend.key(
                          "curve c1", "after the best rotation"), class_="legend")),
                      class_="narrow")
    chosen = sorted({round(place) for place in np.linspace(0, len(zooms) - 1, MOST_ZOOMS)}) if zooms else []
    for index in chosen:
        yield image_maps(zooms[index].image, names, f"zoom {numbers.short(zooms[index].zoom)}")
    rows = [figures_row(f"zoom {at.zoom}, {name}", part) for at in zooms
            for name, part in (("as is", at.image.as_is), ("rotated", at.image.rotated))]
    if rows:
        yield tables.frame("Differences, pixels", tables.table_of(head_of(names), rows, "diff-pixels", "pixels"),
                           "diff-pixels")
    poses = [pose_rows(f"pan {at.pan}, tilt {at.tilt}", at.pose) for at in found.poses]
    yield tables.frame("Poses of the camera", tables.table_of(POSE_HEAD, poses, "diff-poses"), "diff-poses")


def base(found, source, other):
    """What changes in a base."""
    table = tables.table_of(POSE_HEAD, [pose_rows("global transform", found.global_transform)], "diff-pose")
    yield tables.frame("Global transform", table, "diff-pose")
    rows = [(name, *("\u2014" if value is None else value for value in (change.a, change.b))) for name, change in (
        ("wheel base, m", found.wheel_base), ("width, m", found.base_width), ("length, m", found.base_length),
        ("gyroscope gain", found.gyroscope_gain))]
    yield tables.frame("Numbers", tables.table_of(
        ("", name_text(source.name), name_text(other.name)), rows, "diff-numbers"), "diff-numbers")


def section(source, other):
    """The section of differences. Raises CalibrationError for calibrations of different kinds."""
    options = {} if source.kind == "base" else {"grid": True}
    found = cp.diff(source.model, other.model, **options)
    blocks = {"robot": robot, "ptz": ptz, "base": base}[source.kind](found, source, other)
    about = element("p", "As is: the two camera frames are taken to be one. Rotated: after the rotation that makes the "
                    "differences smallest. On the robot: with the poses.", class_="quiet") if source.kind != "base" else None
    return element("section", element("h2", "Differences"), about, *blocks, fields.table(source, other),
                   id="differences")
