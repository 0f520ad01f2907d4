"""Where the numbers of rings can stand: on their ring, apart from each other and from the arrows."""

import numpy as np

LETTER, HEIGHT = 9.5, 17.0
# Arrows are looked at so many units of the drawing apart.
STEP = 4.0
MARGIN = 3.0
MOST_PLACES = 160


def arrow_points(segments):
    """Points along arrows (start, end), all about as far from each other."""
    points = [np.empty((0, 2))]
    for start, end in segments:
        count = min(max(2, int(np.hypot(*(end - start)) / STEP)), 400)
        points.append(start + np.linspace(0, 1, count)[:, None] * (end - start))
    return np.concatenate(points)


def is_apart(place, half, written):
    """Whether a box about a place meets none of those that are written, each a place and half its size."""
    return all(np.any(np.abs(place - other) > half + other_half + MARGIN) for other, other_half in written)


def free_place(pieces, text, points, written, size):
    """Where on a ring its number hides the fewest arrows: the middle of the text; None where there is no place."""
    half = 0.5 * np.array([LETTER * len(text), HEIGHT])
    candidates = np.array(sorted((tuple(piece[0]) for piece in pieces), key=lambda at: at[1] - 1.3 * at[0]))
    candidates = candidates[::max(1, len(candidates) // MOST_PLACES)]
    best, fewest = None, None
    for place in candidates:
        if np.any(place < half) or np.any(place > np.array(size) - half) or not is_apart(place, half, written):
            continue
        hidden = int(np.sum(np.all(np.abs(points - place) < half, axis=1)))
        if fewest is None or hidden < fewest:
            best, fewest = place, hidden
    if best is not None:
        written.append((best, half))
    return best
