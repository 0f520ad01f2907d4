"""Calibrations that several tests load."""

import os
import pathlib

SOURCE = pathlib.Path(os.environ["CAMERA_PARAMETERS_SOURCE"])
BUILD = pathlib.Path(os.environ["CAMERA_PARAMETERS_BUILD"])
HEAD = SOURCE / "calibration" / "default_head_cal.txt"
BASE = SOURCE / "calibration" / "default_base_cal.txt"
PTZ = SOURCE / "calibration" / "example_ptz_cal.txt"


def environment_of_programs():
    """What built programs run in: they bring a sanitizer's runtime, where Python has it loaded before itself."""
    return {name: value for name, value in os.environ.items() if name != "LD_PRELOAD"}
