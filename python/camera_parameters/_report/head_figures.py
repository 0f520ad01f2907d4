"""Figures of a pan-tilt-zoom camera: its reach over the sphere of directions, and its zoom."""

import math

import numpy as np

from camera_parameters._report import chart, numbers
from camera_parameters._report.markup import svg
from camera_parameters._report.scene_figure import path_data
from camera_parameters._report.sizes_figure import fields_of_view

WIDTH, HEIGHT = 480, 280
LEFT, RIGHT, TOP, BOTTOM = 46, 24, 28, 42
AZIMUTHS = 180
# How far away the directions are asked for, metres.
DISTANCE = 10.0
MOST_STEPS = 160


def map_place(azimuth, elevation):
    """A direction, radians, in the map: azimuth to the left, which is positive, elevation up, both evenly."""
    x = LEFT + (math.pi - azimuth) / (2 * math.pi) * (WIDTH - LEFT - RIGHT)
    y = TOP + (math.pi / 2 - elevation) / math.pi * (HEIGHT - TOP - BOTTOM)
    return x, y


def map_grid():
    """Lines every 45 degrees of azimuth and 30 of elevation."""
    for angle in range(-180, 181, 45):
        x, _y = map_place(math.radians(angle), 0)
        yield svg("path", class_="tick", d=f"M{x:.2f} {TOP}V{HEIGHT - BOTTOM}")
        if angle % 90 == 0:
            yield svg("text", numbers.short(angle) + "\u00b0", class_="axis-text mid", x=f"{x:.2f}",
                      y=HEIGHT - BOTTOM + 16)
    for angle in range(-90, 91, 30):
        _x, y = map_place(0, math.radians(angle))
        yield svg("path", class_="tick", d=f"M{LEFT} {y:.2f}H{WIDTH - RIGHT}")
        yield svg("text", numbers.short(angle) + "\u00b0", class_="axis-text end", x=LEFT - 6, y=f"{y + 4:.2f}")


def reach_spans(head):
    """Spans (azimuth, lowest, highest), radians, that the head can centre within the range of its motors.

    >>> import camera_parameters as cp
    >>> from camera_parameters._report.head_figures import reach_spans
    >>> head = cp.PTZCameraModel.from_file("calibration/example_ptz_cal.txt")
    >>> len(reach_spans(head))  # of 180 azimuths: 170 degrees to either side
    170
    """
    spans = [tuple(span) for span in head.coverage(DISTANCE, azimuths=AZIMUTHS).spans.tolist()]
    # Half a turn to the left is half a turn to the right.
    return spans + [(math.pi, *span[1:]) for span in spans if span[0] == -math.pi]


def neighbours(spans):
    """Spans (azimuth, lowest, highest) one beside the other, with as many at each azimuth: lists of such lists."""
    at = {}
    for span in spans:
        at.setdefault(span[0], []).append(span)
    groups = []
    for azimuth, here in at.items():
        last = groups[-1][-1] if groups else None
        if last is None or len(last) != len(here) or azimuth - last[0][0] > 3 * math.pi / AZIMUTHS:
            groups.append([])
        groups[-1].append(here)
    return [list(track) for group in groups for track in zip(*group)]


def reach_path(spans):
    """The directions of spans (azimuth, lowest, highest), radians, each as wide as the azimuths are apart."""
    half = math.pi / AZIMUTHS
    path = ""
    for track in neighbours(spans):
        over, under = [], []
        for azimuth, lowest, highest in track:
            ends = (max(-math.pi, azimuth - half), min(math.pi, azimuth + half))
            over += [map_place(end, highest) for end in ends]
            under += [map_place(end, lowest) for end in ends]
        path += path_data(over + under[::-1], closed=True)
    return path


def reach_map(spans, home):
    """The map of what can be centred; `home` is a direction, or None."""
    parts = list(map_grid())
    parts.append(svg("path", class_="reach", d=reach_path(spans)))
    if home is not None and all(math.isfinite(angle) for angle in home):
        x, y = map_place(*home)
        parts.append(svg("circle", class_="home", cx=f"{x:.2f}", cy=f"{y:.2f}", r=5))
    parts.append(svg("text", "azimuth, positive to the left", class_="axis-text mid strong",
                     x=(LEFT + WIDTH - RIGHT) / 2, y=HEIGHT - 6))
    parts.append(svg("text", "elevation", class_="axis-text strong", x=4, y=11))
    return svg("svg", *parts, class_="plot", viewBox=f"0 0 {WIDTH} {HEIGHT}", role="img",
               aria_label="Directions that the head can centre, by azimuth and elevation")


def zoom_steps(head):
    """Zoom positions for curves, whole steps in the range of the zoom: samples, and such as lie evenly between."""
    low, high = head.zoom_range
    samples = [int(step) for step in head.intrinsics.zoom if math.isfinite(step) and low <= step <= high
               and step == int(step)]
    if len(samples) > MOST_STEPS:
        samples = samples[::math.ceil(len(samples) / MOST_STEPS)]
    even = np.linspace(low, high, 61).round().astype(int).tolist()
    return sorted(set(samples) | set(even)), set(samples)


def zoom_curves(head):
    """Steps, whether each is a sample, focal lengths and the three fields of view, degrees."""
    steps, samples = zoom_steps(head)
    focal, views = [], []
    for step in steps:
        intrinsics = head.configuration(0, 0, step).intrinsics
        focal.append(float(intrinsics.fx))
        angles = fields_of_view(intrinsics) if intrinsics.width > 0 and intrinsics.height > 0 else (math.nan,) * 3
        views.append([math.degrees(angle) for angle in angles])
    return steps, [step in samples for step in steps], focal, np.array(views).T


def zoom_charts(head):
    """The charts of focal length and field of view over the zoom motor's steps."""
    steps, samples, focal, views = zoom_curves(head)
    none = [False] * len(steps)
    first = chart.chart([("focal length", steps, focal, samples)], "Focal length over zoom steps", "zoom, steps",
                        "focal length, px", logarithmic=True)
    names = ("across", "down", "diagonal")
    second = chart.chart([(name, steps, list(values), samples if name == "across" else none)
                          for name, values in zip(names, views)], "Field of view over zoom steps", "zoom, steps",
                         "field of view, degrees", logarithmic=True)
    return first, second
