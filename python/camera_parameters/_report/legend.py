"""What the lines of figures are."""

from camera_parameters._report.markup import element, svg


def key(kind, text):
    """A line of a legend."""
    shape = svg("rect", x=3, y=1, width=18, height=10, class_=kind) if kind == "no-ray" else svg(
        "path", d="M1 6h22", class_=kind)
    return element("li", svg("svg", shape, class_="key", viewBox="0 0 24 12", aria_hidden="true"), " ", text)
