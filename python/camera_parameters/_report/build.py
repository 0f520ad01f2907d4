"""From calibrations to the page."""

from camera_parameters._errors import CalibrationError
from camera_parameters._report import bases, cameras, differences, heads, page, sources

WORDS = {"robot": "fixed cameras", "ptz": "a pan-tilt-zoom camera", "base": "a mobile base"}


def sections_of(source, other=None):
    """The sections of a calibration by its kind: (id, title, markup); `other` is compared with it."""
    if source.kind == "robot":
        return cameras.sections(source, other)
    return heads.sections(source, other) if source.kind == "ptz" else [("base", "The base", bases.section(source))]


def summary_of(source):
    """What a calibration is, in a few words."""
    if source.kind == "robot":
        count = len(source.model.names)
        return f"{count} camera" + ("s" if count != 1 else "")
    return heads.summary(source) if source.kind == "ptz" else "a mobile base"


def make_report(first, second=None):
    """The page about a calibration as text in HTML, for a browser; with a second one also what that one changes.

    `first` and `second` are sources as of `validate`: paths, of files in binary, text or JSON format, their contents as
    bytes, dicts by the JSON mapping, or objects that hold a calibration. Raises CalibrationError where one does not load
    or the two are of different kinds, OSError where a file cannot be read, TypeError for what is no calibration.

    >>> import camera_parameters as cp
    >>> from camera_parameters.report import make_report
    >>> page = make_report(cp.CameraParametersSet())
    >>> "head_camera" in page
    True
    """
    source = sources.open_source(first)
    if second is None:
        return str(page.frame([(source, summary_of(source))], sections_of(source)))
    other = sources.open_source(second)
    if other.kind != source.kind:
        names = (source.name, other.name) if source.name != other.name else ("first", "second")
        raise CalibrationError(f"{names[1]} is of {WORDS[other.kind]}, {names[0]} of {WORDS[source.kind]}")
    source, other = sources.apart(source, other)
    sections = sections_of(source, other)
    sections.append(("differences", "Differences", differences.section(source, other)))
    return str(page.frame([(source, summary_of(source)), (other, summary_of(other))], sections))
