"""Numbers for reading, and with all of their digits."""

import math

import numpy as np


def full(value):
    """All digits that the number's own precision needs, as Python and NumPy read them back.

    >>> import camera_parameters as cp
    >>> import numpy as np
    >>> from camera_parameters._report.numbers import full
    >>> full(np.float32(0.1)), full(0.1), full(3)
    ('0.1', '0.1', '3')
    """
    if isinstance(value, (np.float32, np.float64, np.float16)):
        return str(value)
    return repr(value) if isinstance(value, float) else str(value)


def short(value, digits=6):
    """A number for reading: so many significant digits at most, a true minus.

    >>> import camera_parameters as cp
    >>> from camera_parameters._report.numbers import short
    >>> short(1238.465568274), short(-0.0), short(1e-12), short(float("nan"))
    ('1238.47', '0', '1e\u221212', 'not a number')
    """
    if isinstance(value, (int, np.integer)) and not isinstance(value, bool):
        return str(value).replace("-", "\u2212")
    value = float(value)
    if math.isnan(value):
        return "not a number"
    if math.isinf(value):
        return "\u221e" if value > 0 else "\u2212\u221e"
    text = f"{value:.{digits}g}"
    text = "0" if float(text) == 0 else text
    return text.replace("e-0", "e-").replace("e+0", "e").replace("e+", "e").replace("-", "\u2212")


def degrees(radians):
    """An angle for reading.

    >>> import camera_parameters as cp
    >>> import math
    >>> from camera_parameters._report.numbers import degrees
    >>> degrees(math.pi / 3)
    '60.00\u00b0'
    """
    if not math.isfinite(radians):
        return "\u2014"
    return f"{math.degrees(radians):.2f}\u00b0".replace("-", "\u2212")


def nice_step(span, count):
    """A step of 1, 2 or 5 times a power of ten that divides a span into about `count` parts.

    >>> import camera_parameters as cp
    >>> from camera_parameters._report.numbers import nice_step
    >>> nice_step(10, 5), nice_step(0.7, 5)
    (2.0, 0.1)
    """
    if not (span > 0 and math.isfinite(span)):
        return 1.0
    rough = span / count
    power = 10.0 ** math.floor(math.log10(rough))
    step = min((1, 2, 5, 10), key=lambda factor: abs(math.log(factor * power / rough)))
    return float(f"{step * power:.12g}")


def ticks(low, high, count=5):
    """The multiples of a nice step between two numbers, both included.

    >>> import camera_parameters as cp
    >>> from camera_parameters._report.numbers import ticks
    >>> ticks(0, 10)
    [0.0, 2.0, 4.0, 6.0, 8.0, 10.0]
    """
    if not (math.isfinite(low) and math.isfinite(high) and high > low):
        return [low] if math.isfinite(low) else []
    step = nice_step(high - low, count)
    first = math.ceil(low / step - 1e-9)
    last = math.floor(high / step + 1e-9)
    if last - first > 50:  # the step vanishes beside the numbers
        return [low, high]
    return [float(f"{index * step:.12g}") for index in range(first, last + 1)]


def log_ticks(low, high):
    """1, 2 and 5 times the powers of ten between two positive numbers.

    >>> import camera_parameters as cp
    >>> from camera_parameters._report.numbers import log_ticks
    >>> log_ticks(1480, 29600)
    [2000.0, 5000.0, 10000.0, 20000.0]
    """
    decades = range(math.floor(math.log10(low)), math.floor(math.log10(high)) + 1)
    factors = (1, 2, 5) if len(decades) < 5 else (1,)
    stride = 1 + len(decades) // 12
    steps = [float(f"{factor}e{decade}") for decade in decades[::stride] for factor in factors]
    return [step for step in steps if low <= step <= high]
