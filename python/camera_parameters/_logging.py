"""The library's log records as those of Python's module logging."""

import atexit
import logging
import os

from camera_parameters import _core

_PREFIX = "camera_parameters"
# The library's levels: fatal, error, warning, info, debug. The first that is not worse than a record's is its own.
_PYTHON_LEVELS = {1: logging.CRITICAL, 2: logging.ERROR, 3: logging.WARNING, 5: logging.INFO, 6: logging.DEBUG}
_NAMES = {"off": 0, "fatal": 1, "error": 2, "warning": 3, "info": 5, "debug": 6}


def emit(level, channel, path, function, line, text):
    """Hands one record of the library to the logger of its channel."""
    logger = logging.getLogger(f"{_PREFIX}.{channel}")
    python_level = _PYTHON_LEVELS.get(level, logging.DEBUG)
    if logger.isEnabledFor(python_level):
        logger.handle(logger.makeRecord(logger.name, python_level, path, line, text, (), None, function))


def set_log_level(channel, level):
    """Enables records of all channels, or of one, from `level` on, in the library and at the Python logger.

    `channel` is None for all, or one of "camera_parameters" (in spite of its name that of fixed cameras and their
    sets alone), "ptz_camera_model", "pan_tilt_model" (what pointing computes), "base_calibration_data", "check" (what
    would end a C++ program) and "logging". `level` is one of "off", "fatal", "error", "warning", "info" and "debug", or
    a level of the module `logging`. Below it the library builds no text, so that levels set at Python's loggers alone
    cost what the records cost. Thread-safe.

    >>> import logging, camera_parameters as cp
    >>> cp.set_log_level(None, "info")  # everything
    >>> cp.set_log_level("ptz_camera_model", "debug")  # one channel
    >>> cp.set_log_level("ptz_camera_model", logging.WARNING)
    >>> cp.set_log_level(None, "warning")
    """
    if channel is not None and not isinstance(channel, str):
        raise TypeError(f"channel: expected a name or None, got {type(channel).__name__}")
    number = _number_of(level)
    _core._set_log_level(channel, number)
    logger = logging.getLogger(_PREFIX if channel is None else f"{_PREFIX}.{channel}")
    logger.setLevel(_PYTHON_LEVELS.get(number, logging.CRITICAL + 1))


def _number_of(level):
    if isinstance(level, str):
        if level.lower() not in _NAMES:
            raise ValueError(f"level: expected one of {', '.join(_NAMES)}, got {level!r}")
        return _NAMES[level.lower()]
    if isinstance(level, bool) or not isinstance(level, int):
        raise TypeError(f"level: expected a name or a number, got {type(level).__name__}")
    return max((number for number, python_level in _PYTHON_LEVELS.items() if level <= python_level), default=0)


def install():
    """Makes Python's logging the sink of the library until the interpreter ends."""
    _core._install_log_sink()
    atexit.register(_core._remove_log_sink)
    if hasattr(os, "register_at_fork"):
        os.register_at_fork(
            before=_core._before_fork,
            after_in_parent=_core._after_fork_in_parent,
            after_in_child=_core._after_fork_in_child,
        )
