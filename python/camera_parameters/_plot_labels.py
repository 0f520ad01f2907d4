"""Where the labels of rings go: apart from each other, and from arrows where there is room."""

import numpy as np

# Of a label's box, in lengths of the picture's longer side.
_WIDTH, _HEIGHT = 0.12, 0.045


def _nearness(places, others):
    """How near each place is to the nearest of the others, in sizes of a label: below 1 the boxes overlap."""
    if len(others) == 0:
        return np.full(len(places), np.inf)
    apart = np.abs(places[:, None] - np.asarray(others)[None]) / (_WIDTH, _HEIGHT)
    return apart.max(axis=-1).min(axis=-1)


def place_labels(rings, size, arrows=()):
    """A place for the label of each ring, pixels, or None where there is no room.

    `rings` are arrays (N, 2) of points of one level each, `arrows` points (M, 2) that are better not hidden, and
    `size` is the picture's. Labels are as far to the lower right as can be.
    """
    longer = max(size)
    arrows = np.asarray(arrows).reshape(-1, 2) / longer
    found, placed = [], []
    for ring in rings:
        places = np.asarray(ring).reshape(-1, 2) / longer
        places = places[_nearness(places, placed) >= 1]
        if len(places) == 0:
            found.append(None)
            continue
        # Shares of a label's half size, coarsely, so that the corner decides among what is about as free.
        free = np.round(np.minimum(2 * _nearness(places, arrows), 1), 1)
        best = np.lexsort((places.sum(axis=-1), free))[-1]
        placed.append(places[best])
        found.append(places[best] * longer)
    return found
