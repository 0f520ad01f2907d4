"""Curves over a motor's steps."""

import math

from camera_parameters._report import numbers
from camera_parameters._report.markup import join, svg
from camera_parameters._report.scene_figure import path_data

WIDTH, HEIGHT = 480, 300
LEFT, RIGHT, TOP, BOTTOM = 62, 26, 24, 44


class Axis:
    """Values to places along a side of the chart."""

    def __init__(self, values, start, end, logarithmic=False):
        known = [value for value in values if math.isfinite(value) and (value > 0 or not logarithmic)]
        self.low, self.high = (min(known), max(known)) if known else (0.0, 1.0)
        self.logarithmic = logarithmic and self.low > 0 and self.high > 1.5 * self.low
        if self.high <= self.low:
            self.low, self.high = self.low - max(1, abs(self.low)), self.high + max(1, abs(self.high))
        self.start, self.end = start, end

    def __call__(self, value):
        if self.logarithmic:
            if value <= 0:
                return math.nan
            share = math.log(value / self.low) / math.log(self.high / self.low)
        else:
            share = (value - self.low) / (self.high - self.low)
        return self.start + share * (self.end - self.start)

    def ticks(self):
        """Numbers to write at the axis."""
        steps = numbers.log_ticks(self.low, self.high) if self.logarithmic else []
        return steps if len(steps) > 1 else numbers.ticks(self.low, self.high)


def chart(curves, title, horizontal, vertical, logarithmic=False):
    """Curves in one chart: a list of (name, steps, values, whether each is a sample)."""
    x = Axis([step for _n, steps, _v, _s in curves for step in steps], LEFT, WIDTH - RIGHT)
    y = Axis([value for _n, _steps, values, _s in curves for value in values], HEIGHT - BOTTOM, TOP, logarithmic)
    parts = []
    for tick in filter(lambda tick: math.isfinite(x(tick)), x.ticks()):
        parts.append(svg("path", class_="tick", d=f"M{x(tick):.2f} {TOP}V{HEIGHT - BOTTOM}"))
        parts.append(svg("text", numbers.short(tick), class_="axis-text mid", x=f"{x(tick):.2f}",
                         y=HEIGHT - BOTTOM + 17))
    for tick in filter(lambda tick: math.isfinite(y(tick)), y.ticks()):
        parts.append(svg("path", class_="tick", d=f"M{LEFT} {y(tick):.2f}H{WIDTH - RIGHT}"))
        parts.append(svg("text", numbers.short(tick), class_="axis-text end", x=LEFT - 7, y=f"{y(tick) + 4:.2f}"))
    parts.append(svg("text", horizontal, class_="axis-text mid strong", x=(LEFT + WIDTH - RIGHT) / 2, y=HEIGHT - 8))
    parts.append(svg("text", vertical, class_="axis-text strong", x=4, y=11))
    for index, (name, steps, values, samples) in enumerate(curves):
        places = [(x(step), y(value)) for step, value in zip(steps, values)]
        parts.append(svg("path", class_=f"curve c{index}", d=path_data(places), data_curve=name))
        parts.append(join(svg("circle", class_=f"sample c{index}", cx=f"{px:.2f}", cy=f"{py:.2f}", r=3.2,
                              data_step=numbers.full(step), data_value=numbers.full(value))
                          for (px, py), step, value, sample in zip(places, steps, values, samples)
                          if sample and math.isfinite(px) and math.isfinite(py)))
    return svg("svg", *parts, class_="plot", viewBox=f"0 0 {WIDTH} {HEIGHT}", role="img", aria_label=title)
