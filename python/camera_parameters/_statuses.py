"""What can become of a point."""

import enum


class PointStatus(enum.IntEnum):
    """What became of one point that was projected or rectified: the codes that `status` arrays are filled with.

    OK; BEHIND_CAMERA: depth not above 0, there is no pixel; BEYOND_LENS: the ray lies beyond the lens, or no ray is
    imaged at the pixel; OUTSIDE_IMAGE: the answer is valid, but the pixel is not in [0, width] x [0, height];
    NOT_FINITE: an input is NaN or infinite, a focal length is 0, or a number exceeds the range of float32.

    >>> import camera_parameters as cp
    >>> cp.PointStatus(3).name
    'OUTSIDE_IMAGE'
    """

    OK = 0
    BEHIND_CAMERA = 1
    BEYOND_LENS = 2
    OUTSIDE_IMAGE = 3
    NOT_FINITE = 4

    @property
    def has_answer(self):
        """Whether the point has an answer, inside of the picture or not.

        >>> import camera_parameters as cp
        >>> cp.PointStatus.OUTSIDE_IMAGE.has_answer
        True
        """
        return self in (PointStatus.OK, PointStatus.OUTSIDE_IMAGE)
