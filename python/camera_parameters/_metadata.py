"""What a calibration says about how it was made."""

import dataclasses
from typing import Optional


@dataclasses.dataclass(frozen=True)
class CalibrationMetadata:
    """What is known about how a calibration was made. None is what it does not say.

    `calibration_time_ns` is in nanoseconds since 1970-01-01 00:00 UTC; `gain_validity_key` and `validity_key` identify
    what a gyroscope's gain and a global transform are valid for.

    >>> import camera_parameters as cp
    >>> cp.BaseCalibrationData().global_transform_metadata.validity_key
    'default-base'
    """

    calibration_time_ns: Optional[int] = None
    gain_validity_key: Optional[str] = None
    validity_key: Optional[str] = None
    tool_version: Optional[str] = None
    operator_note: Optional[str] = None
