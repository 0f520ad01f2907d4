"""The sections of the robot's fixed cameras."""

import math

from camera_parameters._report import lens_figure, numbers, scene, scene_figure, sizes_figure, tables
from camera_parameters._report.markup import element, join, name_text, svg

# Of so many cameras the page has figures and tables; the overview and the stored fields have all.
MOST_CAMERAS = 12


def entries_of(camera):
    """Intrinsics of the sizes that a camera delivers, those that are sizes."""
    return [camera.intrinsics(width, height) for width, height in camera.sizes if width > 0 and height > 0]


def legend(intrinsics, valid_radius):
    """What the lines of the lens's figure are, and the circles' radii."""
    items = [key("arrow", "from where a pinhole would image a ray to where the lens does"),
             key("ring", "equal displacement, pixels")]
    for kind, what, radius in lens_figure.circles(intrinsics, valid_radius):
        if kind == "fold-image" or math.isnan(radius):
            continue
        where = "none" if math.isinf(radius) else (
            f"at r = {numbers.short(radius)}, {numbers.degrees(math.atan(radius))} from the axis")
        if kind == "valid" and math.isinf(radius):
            where = "every ray before the camera"
        items.append(key(f"circle {kind}", f"{what}: {where}"))
        if kind == "fold" and math.isfinite(radius):
            items.append(key("circle fold-image", "where the fold is imaged: no ray beyond"))
    items.append(key("no-ray", "no ray reaches these pixels"))
    return element("ul", *items, class_="legend")


def key(kind, text):
    """A line of a legend."""
    shape = svg("rect", x=3, y=1, width=18, height=10, class_=kind) if kind == "no-ray" else svg(
        "path", d="M1 6h22", class_=kind)
    return element("li", svg("svg", shape, class_="key", viewBox="0 0 24 12", aria_hidden="true"), " ", text)


def lens_block(camera, intrinsics, entries):
    """The figure of a lens, with what it says in words."""
    valid_radius = camera.view(intrinsics.width, intrinsics.height).valid_radius
    largest, share = lens_figure.extremes(intrinsics)
    drawing, factor = lens_figure.drawing(intrinsics, valid_radius)
    words = f"The lens moves what a pixel shows by up to {numbers.short(largest, 4)} px."
    if share < 1:
        words += f" {100 * (1 - share):.1f} % of the picture shows no ray."
    if factor > 1:
        words += f" Arrows are drawn {factor} times as long as they are."
    return element("figure", element("h3", f"Distortion, {tables.lens_sizes(entries, intrinsics)}"),
                   drawing,
                   element("figcaption", element("p", words), legend(intrinsics, valid_radius)))


def figures(camera, entries, full, identity):
    """The figures of the sizes and of each lens, and the table of the sizes."""
    sizes = element("figure", element("h3", "Pictures in the full frame"), sizes_figure.drawing(entries, full),
                    element("figcaption", element("p", "The cross is the principal point.")))
    lenses = [lens_block(camera, intrinsics, entries) for intrinsics in tables.lenses(entries)]
    views = [camera.view(entry.width, entry.height) for entry in entries]
    table = sizes_figure.table(entries, full, views, f"{identity}-sizes")
    return join([element("div", sizes, *lenses, class_="figures"),
                 tables.frame("Sizes and fields of view", table, f"{identity}-sizes")])


def section(camera, name, index):
    """All of one camera."""
    identity = f"camera-{index}"
    entries, full = entries_of(camera), scene.full_frame(camera)
    drawn = figures(camera, entries, full, identity) if full is not None and entries else None
    parts = [tables.intrinsics_table(entries, f"{identity}-matrix"),
             tables.distortion_table(entries, f"{identity}-distortion")] if entries else [
                 element("p", "The camera has no size, so that no picture is known of it.", class_="note")]
    model = element("p", "Model ", name_text(camera.model), class_="quiet") if camera.model else None
    return element("section", element("h2", name_text(name)), model, drawn, *parts,
                   tables.pose_tables(camera.pose, identity), id=identity, class_="camera")


def overview(cameras, names):
    """A line for each camera."""
    rows = []
    for index, name in enumerate(names):
        camera = cameras.get_camera(name)
        shown = name_text(name) if index >= MOST_CAMERAS else element("a", name_text(name), href=f"#camera-{index}")
        width, height = camera.size
        rows.append(element("tr", element("th", shown, scope="row", data_v=name), element("td", name_text(camera.model)),
                            element("td", f"{width} \u00d7 {height}", class_="n", data_v=f"{width}x{height}"),
                            *(tables.number_cell(value) for value in camera.pose.center)))
    head = element("tr", *(element("th", text, scope="col") for text in (
        "camera", "model", "full frame", "x, m", "y, m", "z, m")))
    table = element("table", element("thead", head), element("tbody", join(rows)), id="overview")
    return tables.frame("Cameras", table, "overview")


def more_than_shown(names):
    """What is said of cameras for which the page has no section."""
    rest = len(names) - MOST_CAMERAS
    return element("p", f"The page has figures for the first {MOST_CAMERAS} cameras; {rest} more are in this table and "
                   "among the stored fields.", class_="note") if rest > 0 else None


def robot_section(source, names):
    """The cameras on the robot, and the list of them."""
    drawing = scene_figure.figure(scene.of_set(source.model, names)) if names else element(
        "p", "The calibration has no camera.", class_="note")
    return element("section", element("h2", "On the robot"), drawing, overview(source.model, names),
                   more_than_shown(names), id="robot")


def sections(source):
    """The sections of a robot's cameras: (id, title, markup)."""
    # A name whose bytes are no text may not lead back to its camera; the stored fields have it.
    names = [name for name in source.model.names if source.model.get_camera(name) is not None]
    parts = [("robot", "On the robot", robot_section(source, names))]
    for index, name in enumerate(names[:MOST_CAMERAS]):
        parts.append((f"camera-{index}", name or "(no name)", section(source.model[name], name, index)))
    return parts
