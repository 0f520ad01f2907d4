"""Objects as small tables for notebooks.

Everything that comes from a calibration is escaped. There is no script and nothing from elsewhere; colours are those of
the page around it, so that light and dark pages both serve.
"""

import html
import math

MAX_ROWS = 50
_SEVERITIES = {"error": "#c62828", "warning": "#b26a00", "info": "#1565c0"}


def text(value, digits=6):
    """A value for people, escaped: numbers with few digits, nothing for None."""
    if value is None:
        return ""
    if isinstance(value, float):
        return f"{value:.{digits}g}" if math.isfinite(value) else str(value).replace("inf", "&infin;")
    return html.escape(str(value), quote=True)


def size(value):
    """An image size, (width, height)."""
    return "" if value is None else f"{value[0]}&times;{value[1]}"


def vector(values, digits=6):
    """Numbers in parentheses."""
    return "(" + ", ".join(text(float(value), digits) for value in values) + ")"


def table(caption, columns, rows):
    """A table; `rows` hold HTML. After the first rows one says how many more there are."""
    parts = [f"<table><caption>{text(caption)}</caption><thead><tr>"]
    parts += [f"<th>{text(column)}</th>" for column in columns]
    parts.append("</tr></thead><tbody>")
    for row in rows[:MAX_ROWS]:
        parts.append("<tr>" + "".join(f"<td>{cell}</td>" for cell in row) + "</tr>")
    if len(rows) > MAX_ROWS:
        parts.append(f'<tr><td colspan="{len(columns)}">and {len(rows) - MAX_ROWS} more</td></tr>')
    return "".join(parts) + "</tbody></table>"


def matrix(values):
    """A matrix, row by row."""
    rows = ("<tr>" + "".join(f"<td>{text(float(value))}</td>" for value in row) + "</tr>" for row in values)
    return "<table><tbody>" + "".join(rows) + "</tbody></table>"


def findings(found):
    """A list of findings."""
    rows = [[f'<b style="color:{_SEVERITIES.get(one.severity, "inherit")}">{text(one.severity)}</b>', text(one.check),
             text(_place(one)), text(one.field), text(one.camera), text(one.text)] for one in found]
    return table(f"{len(rows)} finding{'' if len(rows) == 1 else 's'}",
                 ["severity", "check", "place", "field", "camera", "text"], rows)


def load_report(report):
    """A load's report."""
    rows = [["kind", text(report.kind)], ["format", text(report.format)], ["cameras", text(", ".join(report.cameras))],
            ["does not load" if report.problem else "loads", text(report.problem and report.problem.text)]]
    return table("LoadReport", ["", ""], rows) + findings(report.findings)


def _place(finding):
    return ":".join(str(part) for part in (finding.file, finding.line, finding.column) if part is not None)


def camera(one):
    """A camera of a set."""
    return table(f"{one.name} {one.model}".strip(), _CAMERA_COLUMNS[1:], [row[1:] for row in _camera_rows(one)])


def camera_set(cameras):
    """All cameras of a set."""
    rows = [row for name in cameras for row in _camera_rows(cameras[name])]
    return table(f"{len(cameras)} camera{'' if len(cameras) == 1 else 's'}", _CAMERA_COLUMNS, rows)


_CAMERA_COLUMNS = ["camera", "size", "fx", "fy", "cx", "cy", "k1, k2, p1, p2, k3, k4, k5, k6", "centre on the robot, m"]


def _camera_rows(one):
    for width, height in one.sizes:
        k = one.intrinsics(width, height)
        yield [text(one.name), size((width, height)), text(k.fx), text(k.fy), text(k.cx), text(k.cy),
               vector(k.distortion, 4), vector(one.pose.center)]


def intrinsics(k):
    """Camera matrix and lens."""
    return (table("Intrinsics", ["size", "fx", "fy", "skew", "cx", "cy"],
                  [[size((k.width, k.height)), text(k.fx), text(k.fy), text(k.skew), text(k.cx), text(k.cy)]])
            + table("distortion", ["k1", "k2", "p1", "p2", "k3", "k4", "k5", "k6"],
                    [[text(float(value)) for value in k.distortion]]))


def view(one):
    """A camera at one size, in one place."""
    k = one.camera_matrix
    fields = one.fields_of_view
    degrees = ", ".join(text(math.degrees(angle), 4) for angle in (fields.horizontal, fields.vertical, fields.diagonal))
    numbers = [text(float(k[place])) for place in ((0, 0), (1, 1), (0, 2), (1, 2))]
    columns = [*_CAMERA_COLUMNS[1:-1], "fields of view, degrees", "centre, m"]
    return table("CameraView", columns,
                 [[size(one.size), *numbers, vector(one.distortion, 4), degrees, vector(one.pose.center)]])


def pose(one):
    """A pose."""
    return table("Pose", ["camera_from_robot", "center, m"], [[matrix(one.camera_from_robot), vector(one.center)]])


def base(one):
    """A base's calibration."""
    metadata = one.global_transform_metadata
    rows = [["wheel_base, m", text(one.wheel_base)], ["base_width, m", text(one.base_width)],
            ["base_length, m", text(one.base_length)], ["world_rotation", matrix(one.world_rotation)],
            ["world_translation, m", vector(one.world_translation)], ["gyroscope_gain", text(one.gyroscope_gain)],
            ["validity_key", text(metadata and metadata.validity_key)],
            ["operator_note", text(metadata and metadata.operator_note)]]
    return table("BaseCalibrationData", ["", ""], rows)


_PIXEL_COLUMNS = ["max, px", "rms, px", "median, px", "compared", "without ray", "not imaged"]


def _pixels(one):
    return [text(one.max, 3), text(one.rms, 3), text(one.median, 3), text(one.compared), text(one.without_ray),
            text(one.not_imaged)]


def _image_rows(name, image):
    shown = size((image.width, image.height))
    yield [text(name), shown, "as is", *_pixels(image.as_is)]
    yield [text(name), shown, "rotated", *_pixels(image.rotated)]
    for at in image.on_robot:
        yield [text(name), shown, f"on the robot, {text(at.distance)} m", *_pixels(at)]


def _images(named):
    rows = [row for name, image in named for row in _image_rows(name, image)]
    return table("images", ["", "size", "", *_PIXEL_COLUMNS], rows)


def _poses(named):
    rows = [[text(name), text(one.angle_degrees, 4), text(one.distance, 4), vector(one.movement, 4)]
            for name, one in named]
    return table("poses", ["", "angle, degrees", "distance, m", "movement, m"], rows)


def difference(found):
    """A difference of calibrations, or a part of one."""
    kind = getattr(found, "kind", None)
    if kind == "base":
        names = ["gyroscope_gain", "wheel_base", "base_width", "base_length"]
        rows = [[name, text(getattr(found, name).a), text(getattr(found, name).b)] for name in names]
        return _poses([("global transform", found.global_transform)]) + table("values", ["", "a", "b"], rows)
    if kind == "ptz":
        return (_images([(f"zoom {at.zoom}", at.image) for at in found.zooms])
                + _poses([(f"pan {at.pan}, tilt {at.tilt}", at.pose) for at in found.poses]))
    if kind == "robot":
        only = [["only in a", text(", ".join(found.only_in_a))], ["only in b", text(", ".join(found.only_in_b))]]
        return _cameras(found.cameras) + table("cameras", ["", ""], only)
    if hasattr(found, "images"):
        return _cameras([found])
    return _images([("", found)])


def _cameras(cameras):
    return (_images([(one.name, image) for one in cameras for image in one.images])
            + _poses([(one.name, one.pose) for one in cameras]))


def _deviation(one):
    return "exact" if one.deviation is None else f"max {text(one.deviation.max, 3)} px, rms {text(one.deviation.rms, 3)} px"


def _notes(notes):
    return table("notes", [""], [[text(note)] for note in notes]) if notes else ""


def import_result(result):
    """What an import made."""
    rows = [[text(one.name), text(result.files[one.file].file), text(result.files[one.file].format), size(one.size),
             _deviation(one), text(one.pose_source)] for one in result.imported]
    left = [[text(one.file), text(one.key), text(one.reason)] for one in result.not_taken_over]
    return (table("imported", ["camera", "file", "format", "size", "lens", "pose of"], rows)
            + (table("not taken over", ["file", "key", "reason"], left) if left else "") + _notes(result.notes)
            + findings(result.findings))


def export_result(result):
    """What an export made."""
    rows = [[text(one.name), size(one.size), _deviation(one)] for one in result.cameras]
    files = [[text(name), text(len(contents))] for name, contents in result.files.items()]
    return (table(f"exported, format {result.format}", ["camera", "size", "lens"], rows)
            + table("files", ["name", "bytes"], files) + _notes(result.notes))


def install(classes):
    """Gives classes of the extension module the method that notebooks ask for."""
    for one, show in classes.items():
        one._repr_html_ = show
