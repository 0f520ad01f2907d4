"""The command line of the report."""

import argparse
import dataclasses
import logging
import os
import sys

from camera_parameters import _core
from camera_parameters._errors import CalibrationError
from camera_parameters._core import BaseCalibrationData, CameraParametersSet, __version__
from camera_parameters._report import sources
from camera_parameters._report.build import make_report

PROGRAM = "camera-parameters"
VERB = PROGRAM + " report"


class _Parser(argparse.ArgumentParser):
    def error(self, message):
        print(f"{PROGRAM}: {printable(message)}", file=sys.stderr)
        print(f"Run {VERB} --help for more information.", file=sys.stderr)
        sys.exit(2)


def printable(text):
    """One line that cannot act on a terminal."""
    return "".join(letter if letter.isprintable() else letter.encode("unicode_escape").decode("ascii")
                   for letter in text)


def parser():
    """The options."""
    result = _Parser(prog=VERB, description="Write a page about a calibration, for a browser: cameras in a 3-D view, "
                     "sizes, lenses, numbers, findings, and with a second file what that one changes.")
    result.add_argument("--version", action="version", version=__version__)
    result.add_argument("file", metavar="FILE", help="calibration of cameras, of a pan-tilt-zoom camera or of a base; - is "
                        "standard input, default the compiled-in calibration of the fixed cameras")
    result.add_argument("file2", metavar="FILE2", nargs="?", help="calibration that is compared with it")
    result.add_argument("-o", "--output", metavar="PAGE", required=True, help="page to write; - is standard output")
    return result


def open_file(name):
    """The calibration in a file, or on standard input."""
    if name == "-":
        return sources.of_data(sys.stdin.buffer.read(), "standard input", "standard input")
    return sources.open_source(name)


def compiled_in(other):
    """The default of another calibration's kind, of the cameras where there is none."""
    type_ = BaseCalibrationData if other is not None and other.kind == "base" else CameraParametersSet
    return dataclasses.replace(sources.of_object(type_()), name="compiled-in default")


def open_named(names):
    """The calibrations that the words of the command line name."""
    opened = [None if name == "default" else open_file(name) for name in names]
    other = next((source for source in opened if source is not None), None)
    return [compiled_in(other) if source is None else source for source in opened]


def overwritten(output, names):
    """The word of the command line for a file that is read and that writing `output` would destroy, or None.

    >>> from camera_parameters._report.command import overwritten
    >>> overwritten("calibration/example_ptz_cal.txt", ["default", "./calibration/example_ptz_cal.txt"])
    './calibration/example_ptz_cal.txt'
    """
    for name in names if output != "-" else ():
        try:
            if name != "default" and os.path.samefile(output, sys.stdin.fileno() if name == "-" else name):
                return name
        except (OSError, ValueError, AttributeError):
            pass  # One of them is not there, or standard input is closed.
    return None


def explain(error):
    """Why a file cannot be read, in one line."""
    why = "there is no such file" if isinstance(error, FileNotFoundError) else error.strerror or str(error)
    return f"{os.fsdecode(error.filename)}: {why}" if error.filename else why


def quiet():
    """The library's log is for those who ask for it."""
    if not os.environ.get("NORV_LOG"):
        logger = logging.getLogger("camera_parameters")
        logger.addHandler(logging.NullHandler())
        logger.propagate = False


def fail(message):
    """One line to standard error."""
    print(f"{PROGRAM}: {printable(message)}", file=sys.stderr)
    return 1


def main(arguments):
    """Makes the page; the exit status is 0, 1 for bad input or a page that cannot be written, 2 for bad usage."""
    options = parser().parse_args(arguments)
    names = [name for name in (options.file, options.file2) if name is not None]
    read = overwritten(options.output, names)
    if read is not None:
        parser().error(f"--output is the file that is read as {read}")
    quiet()
    try:
        text = make_report(*open_named(names))
    except CalibrationError as error:
        return fail(str(error))
    except OSError as error:
        return fail(explain(error))
    try:
        if options.output == "-":
            sys.stdout.buffer.write(text.encode("utf-8"))
            sys.stdout.buffer.flush()
        else:
            _core._write_file(options.output, text.encode("utf-8"))
    except OSError as error:
        if options.output == "-":
            return fail("cannot write to standard output")
        # A refusal of the library's own has no number of the system's, and the path in its text.
        why = error.strerror or str(error).replace(f"{options.output}: ", "", 1)
        return fail(f"{options.output}: cannot be written: {why}")
    return 0
