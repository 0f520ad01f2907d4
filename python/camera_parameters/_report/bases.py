"""The section of a mobile base."""

from camera_parameters._report import head_scene, tables
from camera_parameters._report.markup import element, heading

SIZES = (("wheel_base", "wheel base, m"), ("base_width", "width, m"), ("base_length", "length, m"))


def section(source):
    """The numbers of a base; the sizes and the gain as they are stored, 0 where they are not."""
    message = source.message
    rows = [(what, float(message.get(name, 0.0))) for name, what in SIZES]
    rows.append(("gyroscope gain, no unit", float(message.get("gyroscope", {}).get("gain", 0.0))))
    transform = head_scene.pose_matrix(message.get("global_transform_adjustment", {}).get("global_transform"))
    return element("section", heading("The base", source.whose),
                   tables.frame("Sizes", tables.table_of(("", "value"), rows, "base-sizes"), "base-sizes"),
                   tables.matrix_table("Global transform, metres", transform[:3], "base-transform"), id="base")
