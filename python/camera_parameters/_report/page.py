"""The page: its frame, and what goes into it for each kind of calibration."""

import base64
import hashlib
import importlib.resources

from camera_parameters._report import findings as found
from camera_parameters._report.markup import Markup, element, escape, heading, join, name_text
from camera_parameters._report.stored import Stored

KINDS = {"robot": "The robot's cameras", "ptz": "A pan-tilt-zoom camera", "base": "The robot's base"}


def part(name):
    """A file that belongs to the page."""
    return importlib.resources.files(__package__).joinpath(name).read_text(encoding="utf-8")


def digest(text):
    """What a content security policy calls a script or style by."""
    return "'sha256-" + base64.b64encode(hashlib.sha256(text.encode("utf-8")).digest()).decode("ascii") + "'"


def policy(style, script):
    """Nothing but the page's own style and script: no network, no code that a file brings."""
    return (f"default-src 'none'; style-src {digest(style)}; script-src {digest(script)}; base-uri 'none'; "
            "form-action 'none'")


def contents(sections):
    """Links to the sections: a list of (id, title)."""
    return join(element("a", title, href="#" + identity) for identity, title in sections)


def stored_section(source, stored, identity):
    """All fields of the file, as they are stored."""
    fields = stored.message("", source.message)
    return element("section", heading("Stored fields", source.whose),
                   element("p", "As the file has them: translations in millimetres, all digits.", class_="quiet"),
                   fields, id=identity)


def review_sections(source, prefix):
    """What a review finds in a calibration, and its fields: (id, title, markup)."""
    stored = Stored(prefix)
    fields = stored_section(source, stored, prefix + "stored")
    of_it = f" of {source.whose}" if source.whose else ""
    return [(prefix + "findings", "Findings" + of_it, found.section(source, stored)),
            (prefix + "stored", "Stored fields" + of_it, fields)]


def summary(source, about, prefix):
    """A line below the heading: what a calibration is and what a review counts; on a page about two also whose."""
    whose = element("span", name_text(source.whose), ":") if source.whose else None
    return element("p", whose, about, found.summary(source.findings, prefix + "findings"), class_="summary")


def frame(sources, sections):
    """The whole page around its sections, a list of (id, title, markup); `sources` are one or two calibrations, each
    with what it is in short."""
    prefixes = ("", "second-")
    reviews = [review_sections(source, prefix) for (source, _about), prefix in zip(sources, prefixes)]
    # The findings of both first, then the fields.
    sections = sections + [section for kind in zip(*reviews) for section in kind]
    style, script = part("page.css"), part("page.js") + part("scene.js")
    names = [source.name for source, _about in sources]
    return Markup(part("page.html").format(
        policy=escape(policy(style, script)).replace("&#39;", "'"),
        title=escape("Calibration report: " + " against ".join(names)), style=style,
        what="Calibration report \u00b7 " + KINDS[sources[0][0].kind],
        heading=join(join([" against " if index else None, name_text(name)]) for index, name in enumerate(names)),
        summary=join(summary(source, about, prefix) for (source, about), prefix in zip(sources, prefixes)),
        contents=contents([(identity, title) for identity, title, _body in sections]),
        body=join(body for _identity, _title, body in sections), script=script,
        footer="Lengths in metres, pixels from the corner of the picture. Tables are copied with all digits."))
