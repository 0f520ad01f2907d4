"""What is raised where a calibration is at fault."""


class CalibrationError(ValueError):
    """A calibration that does not load, cannot be written or makes no sense.

    Attributes: `path` of the file, `line` and `column` in it, counted from 1, `field` as a path from the top of the
    message ("camera_calibration[0].intrinsics.radial"), `text`, the sentence, and `hint`, what to do instead. Each is
    None where it is not known; binary data has no lines. The error as a string is all of that in one line, but for the
    hint as the command-line tool writes it.

    >>> import camera_parameters as cp
    >>> try:
    ...     cp.CameraParametersSet.from_text("camera_calibration { name: }")
    ... except cp.CalibrationError as error:
    ...     error.line, error.column
    (1, 28)
    """

    def __init__(self, text, path=None, line=None, column=None, field=None, hint=None):
        self.text = text
        self.path = path
        self.line = line
        self.column = column
        self.field = field
        self.hint = hint
        place = ":".join(str(part) for part in (path, line, column) if part is not None)
        super().__init__(": ".join(part for part in (place, field, text) if part) + (f" ({hint})" if hint else ""))

    def __reduce__(self):
        return type(self), (self.text, self.path, self.line, self.column, self.field, self.hint)


class NoSolutionError(CalibrationError):
    """No position of the motors does what was asked for.

    `reason` says why, as a word for programs that stays: "no-ray", "out-of-reach", "limited" and the like.

    >>> import camera_parameters as cp
    >>> now = cp.PTZCameraModel.from_file("calibration/example_ptz_cal.txt").configuration(pan=0, tilt=0, zoom=11000)
    >>> try:
    ...     now.get_pan_tilt(pixel=(960, 540))
    ... except cp.NoSolutionError as error:
    ...     error.reason, error.text
    ('no-ray', 'no ray reaches pixel 960,540')
    """

    def __init__(self, text, reason=None):
        super().__init__(text)
        self.reason = reason

    def __reduce__(self):
        return type(self), (self.text, self.reason)
