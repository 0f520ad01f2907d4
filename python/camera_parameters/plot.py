"""Pictures of calibrations. Needs matplotlib (Debian's python3-matplotlib), which nothing else of the package does.

The functions draw into axes of yours; `python3 -m camera_parameters.plot --help` writes files.
"""

import sys

from camera_parameters._plot_fields import draw_difference, draw_distortion
from camera_parameters._plot_sizes import draw_sizes
from camera_parameters._plot_zoom import draw_lens, draw_reach

__all__ = ["diff", "distortion", "sizes", "zoom"]


def distortion(view, axes):
    """Draws what the lens of a `CameraView` does to its picture, pixels from the corner; gives `axes`.

    Arrows lead from where a pinhole camera with the same camera matrix would see a ray to where it is imaged, in true
    length, but for those from farther outside the picture than 0.4 of its width or height. Rings join places of equal
    displacement; they have labels where there is room. Hatched is where no ray is imaged.

    >>> import camera_parameters as cp
    >>> from camera_parameters import plot
    >>> from matplotlib.figure import Figure
    >>> view = cp.CameraParametersSet()["head_camera"].view(1280, 960)
    >>> plot.distortion(view, Figure().add_subplot()).get_xlabel()
    'x [pixels]'
    """
    return draw_distortion(view, axes)


def sizes(camera, axes):
    """Draws which part of the full frame a camera's pictures show, with their fields of view; gives `axes`.

    `camera` is a `CameraParameters`, whose sizes are drawn, or a `PTZCameraModel`, of which pictures at four zooms are
    drawn within the widest. Each outline is what the full frame's camera sees of the picture's border: a rectangle
    unless the sensor straightened the picture. Raises ValueError for a head without a lens.

    >>> import camera_parameters as cp
    >>> from camera_parameters import plot
    >>> from matplotlib.figure import Figure
    >>> axes = plot.sizes(cp.CameraParametersSet()["navigation_camera"], Figure().add_subplot())
    >>> len(axes.get_lines())
    3
    """
    return draw_sizes(camera, axes)


def zoom(head, axes):
    """Draws a `PTZCameraModel` into a pair of axes: its lens over the zoom, and where its head can look; gives them.

    The first shows focal length and fields of view over the motor's steps, the second a map of all directions in the
    frame of the head's base with lines of one pan or one tilt. Raises ValueError where the calibration has no lens or
    does not state the motors' ranges.

    >>> import camera_parameters as cp
    >>> from camera_parameters import plot
    >>> from matplotlib.figure import Figure
    >>> head = cp.PTZCameraModel.from_file("calibration/example_ptz_cal.txt")
    >>> lens, reach = plot.zoom(head, Figure().subplots(1, 2))
    >>> reach.get_xlabel()
    'azimuth [degrees, left is positive]'
    """
    lens, reach = axes
    draw_lens(head, lens)
    draw_reach(head, reach)
    return lens, reach


def diff(view, other, axes):
    """Draws how far apart two `CameraView` see the same rays, pixels, as a heat map over the first's; gives `axes`.

    Poses are left out: both cameras are taken to be in one place, as for two calibrations of one camera. Adds a colour
    bar to the figure. Raises ValueError for views of different sizes.

    >>> import camera_parameters as cp
    >>> from camera_parameters import plot
    >>> from matplotlib.figure import Figure
    >>> a = cp.CameraView(640, 480, [[500, 0, 320], [0, 500, 240], [0, 0, 1]])
    >>> b = cp.CameraView(640, 480, [[500, 0, 323], [0, 500, 244], [0, 0, 1]])
    >>> plot.diff(a, b, Figure().add_subplot()).get_title()
    'largest 5, median 5 pixels'
    """
    return draw_difference(view, other, axes)


def _main():
    from camera_parameters._plot_command import run

    return run(sys.argv[1:])


if __name__ == "__main__":
    sys.exit(_main())
