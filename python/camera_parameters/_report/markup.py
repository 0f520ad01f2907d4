"""HTML and SVG in which nothing that a file brings can act: all text is escaped where an element is made."""

import json
import re

# What XML and HTML have no place for, and halves of surrogate pairs, which UTF-8 cannot write.
_UNPRINTABLE = re.compile("[\x00-\x08\x0b\x0c\x0e-\x1f\x7f-\x9f\ud800-\udfff\ufffe\uffff]")
_ESCAPES = {"&": "&amp;", "<": "&lt;", ">": "&gt;", '"': "&quot;", "'": "&#39;"}
_VOID = {"meta", "br", "input"}


class Markup(str):
    """Text that is markup already, and is not escaped again."""


def escape(text):
    """Text as markup that shows it.

    >>> import camera_parameters as cp
    >>> from camera_parameters._report.markup import escape
    >>> escape("<b>")
    '&lt;b&gt;'
    """
    if isinstance(text, Markup):
        return text
    shown = _UNPRINTABLE.sub("\ufffd", str(text))
    return Markup("".join(_ESCAPES.get(letter, letter) for letter in shown))


def join(parts):
    """Parts one after the other; None is nothing."""
    return Markup("".join(escape(part) for part in parts if part is not None))


def element(tag, *children, **attributes):
    """An element with its children and attributes. `class_` is the class, an underscore in a name a hyphen; attributes
    that are None or False are left out.

    >>> import camera_parameters as cp
    >>> from camera_parameters._report.markup import element
    >>> element("td", "a & b", class_="n", data_v=3)
    '<td class="n" data-v="3">a &amp; b</td>'
    """
    words = [tag]
    for name, value in attributes.items():
        if value is None or value is False:
            continue
        name = name.rstrip("_") if name in ("class_", "for_", "from_") else name.replace("_", "-")
        words.append(name if value is True else f'{name}="{escape(value)}"')
    head = " ".join(words)
    if tag in _VOID:
        return Markup(f"<{head}>")
    return Markup(f"<{head}>{join(children)}</{tag}>")


def svg(tag, *children, **attributes):
    """An element of SVG, whose attribute names keep their capitals; else as `element`."""
    return element(tag, *children, **attributes)


def name_text(text):
    """A name of the file, kept apart from the direction of the text around it."""
    return element("bdi", text if text else "(no name)", class_=None if text else "none")


def heading(title, whose=""):
    """A section's heading; `whose` is the file that it is about, on a page about two."""
    return element("h2", title, element("span", " in ", name_text(whose), class_="whose") if whose else None)


def script_data(value):
    """JSON that cannot end the script element it stands in."""
    text = json.dumps(value, ensure_ascii=True, allow_nan=False, separators=(",", ":"))
    for letter, code in (("<", "\\u003c"), (">", "\\u003e"), ("&", "\\u0026")):
        text = text.replace(letter, code)
    return Markup(text)
