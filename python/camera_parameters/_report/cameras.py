"""The sections of the robot's fixed cameras."""

import numpy as np

from camera_parameters._report import lens_block, scene, scene_figure, sizes_figure, tables
from camera_parameters._report.markup import element, heading, join, name_text

# Of so many cameras the page has figures and tables; the overview and the stored fields have all.
MOST_CAMERAS = 12


def entries_of(camera):
    """Intrinsics of the sizes that a camera delivers, those that are sizes."""
    return [camera.intrinsics(width, height) for width, height in camera.sizes if width > 0 and height > 0]


def lens_figures(camera, entries):
    """A figure for each lens that the pictures have."""
    for lens in tables.lenses(entries):
        views = [camera.view(k.width, k.height) for k in tables.with_lens(entries, lens)]
        yield lens_block.figure(f"Distortion, {tables.lens_sizes(entries, lens)}", lens, views)


def figures(camera, entries, full, identity):
    """The figures of the sizes and of each lens, and the table of the sizes."""
    sizes = element("figure", element("h3", "Pictures in the full frame"), sizes_figure.drawing(entries, full),
                    element("figcaption", element("p", "The cross is the principal point.")))
    lenses = list(lens_figures(camera, entries))
    views = [camera.view(entry.width, entry.height) for entry in entries]
    table = tables.frame("Sizes and fields of view",
                         sizes_figure.table(entries, full, views, f"{identity}-sizes"), f"{identity}-sizes")
    # Two figures a row: where the last would stand alone, the table stands beside the first.
    is_odd = len(lenses) % 2 == 0
    return join([element("div", sizes, table if is_odd else None, *lenses, class_="figures"),
                 None if is_odd else table])


def section(camera, name, identity, whose=""):
    """All of one camera, of the file `whose` on a page about two."""
    entries, full = entries_of(camera), scene.full_frame(camera)
    drawn = figures(camera, entries, full, identity) if full is not None and entries else None
    parts = [tables.intrinsics_table(entries, f"{identity}-matrix"),
             tables.distortion_table(entries, f"{identity}-distortion")] if entries else [
                 element("p", "The camera has no size, so that no picture is known of it.", class_="note")]
    model = element("p", "Model ", name_text(camera.model), class_="quiet") if camera.model else None
    return element("section", heading(name_text(name), whose), model, drawn, *parts,
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


def placed(source, other, names):
    """The drawing of the cameras on the robot, with those that `other` changes."""
    seconds = names_of(other.model) if other is not None else []
    order = names + [name for name in seconds if name not in names]
    if not order:
        return element("p", "The calibration has no camera.", class_="note")
    drawn = scene.of_set(source.model, names, order)
    if other is not None:
        scene.add_second(drawn, scene.of_set(other.model, seconds, order), other.whose)
    return scene_figure.figure(drawn)


def robot_section(source, other, names):
    """The cameras on the robot, and the list of them."""
    drawing = placed(source, other, names)
    return element("section", heading("On the robot", source.whose), drawing, overview(source.model, names),
                   more_than_shown(names), id="robot")


def names_of(model):
    """The names of a set's cameras; one whose bytes are no text may not lead back to its camera."""
    return [name for name in model.names if model.get_camera(name) is not None]


def is_same(camera, other):
    """Whether two cameras have the same pictures and the same pose."""
    def parts(one):
        yield one.pose.camera_from_robot
        for entry in entries_of(one):
            yield from (entry.matrix, entry.distortion)
    return camera.sizes == other.sizes and all(
        np.array_equal(a, b, equal_nan=True) for a, b in zip(parts(camera), parts(other)))


def changed_camera(source, other, name):
    """The camera of `other` that differs from the one of this name, or None."""
    second = other.model.get_camera(name) if other is not None else None
    return None if second is None or is_same(source.model[name], second) else second


def sections(source, other=None):
    """The sections of a robot's cameras: (id, title, markup); those that `other` changes are followed by the changed."""
    names = names_of(source.model)
    parts = [("robot", "On the robot", robot_section(source, other, names))]
    for index, name in enumerate(names[:MOST_CAMERAS]):
        identity, title = f"camera-{index}", name or "(no name)"
        parts.append((identity, title, section(source.model[name], name, identity, source.whose)))
        second = changed_camera(source, other, name)
        if second is not None:
            identity, title = f"second-camera-{index}", f"{title} in {other.whose}"
            parts.append((identity, title, section(second, name, identity, other.whose)))
    added = [name for name in names_of(other.model) if name not in names] if other is not None else []
    for index, name in enumerate(added[:MOST_CAMERAS]):
        identity, title = f"added-camera-{index}", f"{name or '(no name)'} in {other.whose}"
        parts.append((identity, title, section(other.model[name], name, identity, other.whose)))
    return parts
