"""Stored fields in which two calibrations differ."""

from camera_parameters._report import numbers, tables
from camera_parameters._report.markup import element, join, name_text

LONGEST = 400
_ABSENT = object()


def flat(value, path=""):
    """All values of a message by their paths."""
    if isinstance(value, dict):
        for key, inner in value.items():
            yield from flat(inner, f"{path}.{key}" if path else key)
    elif isinstance(value, list):
        for index, inner in enumerate(value):
            yield from flat(inner, f"{path}[{index}]")
    else:
        yield path, value


def changes(first, second):
    """Paths with the values of both messages; `None` for one that does not have the field.

    >>> import camera_parameters as cp
    >>> from camera_parameters._report.fields import changes
    >>> changes({"a": 1, "b": [1.5]}, {"a": 1, "b": [2.5, 3.5]})
    [('b[0]', 1.5, 2.5), ('b[1]', None, 3.5)]
    """
    a, b = dict(flat(first)), dict(flat(second))
    return [(path, a.get(path), b.get(path)) for path in dict.fromkeys([*a, *b])
            if a.get(path, _ABSENT) != b.get(path, _ABSENT)]


def _cell(value):
    if value is None:
        return element("td", "\u2014", data_v="")
    shown = name_text(value) if isinstance(value, str) else numbers.full(value)
    return element("td", shown, data_v=value if isinstance(value, str) else numbers.full(value))


def table(source, other):
    """The fields that differ, all digits; a sentence where none does."""
    found = changes(source.message, other.message)
    if not found:
        return element("p", "All stored fields are the same.")
    rows = [element("tr", element("th", element("code", path), scope="row", data_v=path), _cell(a), _cell(b))
            for path, a, b in found[:LONGEST]]
    head = element("tr", *(element("th", text, scope="col") for text in (
        "field", name_text(source.name), name_text(other.name))))
    body = element("table", element("thead", head), element("tbody", join(rows)), id="changed-fields", class_="texts")
    rest = len(found) - LONGEST
    more = element("p", f"and {rest} more fields", class_="note") if rest > 0 else None
    return join([tables.frame(f"Stored fields that differ: {len(found)}", body, "changed-fields"), more])
