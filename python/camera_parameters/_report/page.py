"""The page: its frame, and what goes into it for each kind of calibration."""

import base64
import hashlib
import importlib.resources

from camera_parameters._report import findings as found
from camera_parameters._report.markup import Markup, element, escape, join, name_text
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


def stored_section(source, stored):
    """All fields of the file, as they are stored."""
    fields = stored.message("", source.message)
    return element("section", element("h2", "Stored fields"),
                   element("p", "As the file has them: translations in millimetres, all digits.", class_="quiet"),
                   fields, id="stored")


def frame(source, second, about, sections):
    """The whole page around its sections: a list of (id, title, markup). `about` says in short what it is."""
    stored = Stored()
    fields = stored_section(source, stored)
    sections = sections + [("findings", "Findings", found.section(source.findings, stored.known)),
                           ("stored", "Stored fields", fields)]
    style, script = part("page.css"), part("page.js") + part("scene.js")
    heading = name_text(source.name)
    title = source.name
    if second is not None:
        heading = join([heading, " against ", name_text(second.name)])
        title += " against " + second.name
    summary = element("p", about, found.summary(source.findings), class_="summary")
    return Markup(part("page.html").format(
        policy=escape(policy(style, script)).replace("&#39;", "'"), title=escape("Calibration report: " + title),
        style=style, what="Calibration report \u00b7 " + KINDS[source.kind], heading=heading, summary=summary,
        contents=contents([(identity, title) for identity, title, _body in sections]),
        body=join(body for _identity, _title, body in sections), script=script,
        footer="Lengths in metres, pixels from the corner of the picture. Tables are copied with all digits."))
