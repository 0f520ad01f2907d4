"""A page in HTML about a calibration, which a technician opens in a browser.

    python3 -m camera_parameters.report FILE [FILE2] -o report.html

The page needs no network. It shows the cameras on the robot, their sizes and lenses, all numbers and what a review finds;
of a pan-tilt-zoom camera its chain, reach and zoom; with a second file, what that one changes.
"""

import sys

from camera_parameters._report.build import make_report
from camera_parameters._report.command import main

__all__ = ["make_report"]

if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
