"""Calibrations that several tests load."""

import os
import pathlib

SOURCE = pathlib.Path(os.environ["CAMERA_PARAMETERS_SOURCE"])
BUILD = pathlib.Path(os.environ["CAMERA_PARAMETERS_BUILD"])
HEAD = SOURCE / "calibration" / "default_head_cal.txt"
BASE = SOURCE / "calibration" / "default_base_cal.txt"
PTZ = SOURCE / "calibration" / "example_ptz_cal.txt"
