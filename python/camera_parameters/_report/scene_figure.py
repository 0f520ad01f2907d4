"""The drawing that turns: its first state as SVG, and its numbers for the script that turns it."""

import numpy as np

from camera_parameters._report import numbers, scene as scenes
from camera_parameters._report.markup import element, escape, join, name_text, script_data, svg

COLOURS = 8


def path_data(points, closed=False):
    """Points as the data of a path; those that are not finite are left out."""
    points = np.asarray(points, float)
    points = np.clip(points[np.isfinite(points).all(axis=1)], -1e5, 1e5)
    if len(points) == 0:
        return ""
    return "M" + "L".join(f"{x:.2f} {y:.2f}" for x, y in points) + ("Z" if closed else "")


def colour_class(camera):
    """The class of a camera's colour."""
    return f" c{camera % COLOURS}" if camera >= 0 else ""


def line_elements(scene):
    """A path for each line, as the drawing stands at first."""
    for index, line in enumerate(scene.lines):
        points = scenes.to_screen(scene, line.points, **scenes.HOME)
        yield svg("path", class_=line.kind + colour_class(line.camera), d=path_data(points, line.closed),
                  data_line=index)


def label_elements(scene):
    """A text for each label, as the drawing stands at first."""
    for index, label in enumerate(scene.labels):
        x, y = np.clip(scenes.to_screen(scene, label.at[None], **scenes.HOME)[0] + label.offset, -1e5, 1e5)
        yield svg("text", label.text or "(no name)", class_=label.kind + colour_class(label.camera),
                  x=f"{x:.2f}", y=f"{y:.2f}", data_label=index)


def data(scene):
    """What the script needs: all points in metres, with all digits."""
    return {
        "home": scenes.HOME, "size": scenes.SIZE, "target": scene.target.tolist(), "scale": scene.scale,
        "lines": [{"points": line.points.tolist(), "closed": line.closed} for line in scene.lines],
        "labels": [{"at": label.at.tolist(), "offset": list(label.offset)} for label in scene.labels],
    }


def buttons():
    """The buttons below the drawing, for those without a keyboard; they are shown where scripts run."""
    views = (("Home", "home", "As at first"), ("Above", "above", "From above"), ("Ahead", "ahead", "From ahead"),
             ("Left", "left", "From the robot's left"), ("+", "in", "Larger"), ("\u2212", "out", "Smaller"))
    return element("div", *(element("button", text, type="button", data_view=view, title=title, aria_label=title)
                            for text, view, title in views), class_="buttons needs-script")


def figure(scene, what="The cameras on the robot"):
    """The whole figure."""
    names = ", ".join(label.text for label in scene.labels if label.kind == "camera-name") or "none"
    label = f"{what}, drawn without perspective: {names}. Arrow keys turn it, plus and minus size it, Home resets it."
    width, height = scenes.SIZE
    drawing = svg("svg", svg("g", *line_elements(scene)), svg("g", *label_elements(scene)), id="scene", class_="scene",
                  viewBox=f"0 0 {width} {height}", role="application", aria_roledescription="3-D view",
                  aria_label=label, tabindex="0", preserveAspectRatio="xMidYMid slice", data_azimuth=scenes.HOME["azimuth"],
                  data_elevation=scenes.HOME["elevation"], data_zoom="1", data_grid=repr(scene.grid))
    hint = element("p", element("span", "Drag, or use the arrow keys, + and \u2212, and Home. ", class_="needs-script"),
                   f"Grid on the ground: {numbers.short(scene.grid)} m. The thick edge of a pyramid is the upper "
                   "border of the picture; dotted lines lead down to the ground.", class_="hint")
    second = element("p", "Dashed: what differs in ", name_text(scene.second), ".", class_="hint") if scene.second else None
    missing = None
    if scene.left_out:
        missing = element("p", "Not drawn, because the pose or the lens gives no finite picture near the robot: ",
                          join(join([element("bdi", escape(name or "(no name)")), " "]) for name in scene.left_out),
                          class_="note")
    numbers_of_it = element("script", script_data(data(scene)), type="application/json", id="scene-data")
    state = element("output", id="scene-state", class_="quiet needs-script", aria_live="polite")
    return element("figure", drawing, element("div", buttons(), state, class_="bar"),
                   element("figcaption", hint, second, missing), numbers_of_it, class_="wide")
