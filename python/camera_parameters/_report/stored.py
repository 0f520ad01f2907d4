"""All stored fields of a calibration by their paths, which findings link to."""

import urllib.parse

from camera_parameters._report import numbers
from camera_parameters._report.markup import element, join, name_text

# Of a longer list the first so many are shown.
LONGEST = 400


def _number(text):
    """Numbers that JSON keeps as text, 64-bit integers and what is not finite, are shown as they are."""
    return name_text(text) if isinstance(text, str) else element(
        "span", numbers.full(text), class_="n") if not isinstance(text, bool) else str(text).lower()


class Stored:
    """Makes the list of fields and remembers which paths it shows. `prefix` begins the ids of a second calibration."""

    def __init__(self, prefix=""):
        self.known = set()
        self.prefix = prefix

    def _shown(self, path):
        self.known.add(path)
        return f"{self.prefix}field-{path}"

    def link_to(self, path, text):
        """A link to a field, or to the nearest part above it that the page shows."""
        nearest = path
        while nearest and nearest not in self.known:
            cut = max(nearest.rfind("."), nearest.rfind("["))
            nearest = nearest[:max(cut, 0)]
        where = f"{self.prefix}field-{nearest}" if nearest else self.prefix + "stored"
        return element("a", text, href="#" + urllib.parse.quote(where))

    def scalar_list(self, path, values):
        """A list of numbers on one line, each with its own id."""
        parts = []
        for index, value in enumerate(values[:LONGEST]):
            parts += [" " if index else None,
                      element("span", _number(value), id=self._shown(f"{path}[{index}]"), class_="item")]
        rest = len(values) - LONGEST
        return join(parts + ([f" and {rest} more"] if rest > 0 else []))

    def message_table(self, path, values):
        """A list of flat messages as a table."""
        columns = list(dict.fromkeys(key for value in values for key in value))
        rows = []
        for index, value in enumerate(values[:LONGEST]):
            here = f"{path}[{index}]"
            cells = [element("td", _number(value[key]), class_="n", id=self._shown(f"{here}.{key}"))
                     if key in value else element("td") for key in columns]
            rows.append(element("tr", element("th", str(index), scope="row"), *cells, id=self._shown(here)))
        head = element("tr", *(element("th", key, scope="col") for key in ("", *columns)))
        rest = len(values) - LONGEST
        more = element("p", f"and {rest} more", class_="note") if rest > 0 else None
        table = element("div", element("table", element("thead", head), element("tbody", join(rows))), class_="scroll",
                        tabindex="0", role="region", aria_label=path)
        return element("details", element("summary", f"{len(values)} entries"), table, more)

    def entry(self, path, index, message):
        """One of several messages, under its index and its name, if it has one."""
        name = message.get("name")
        title = element("h5", f"[{index}] ", name_text(name) if isinstance(name, str) and name else None)
        return element("div", title, self.message(path, message), id=self._shown(path))

    def value(self, path, value):
        """Whatever a field holds."""
        if isinstance(value, dict):
            return self.message(path, value)
        if not isinstance(value, list):
            return _number(value)
        if not any(isinstance(item, dict) for item in value):
            return self.scalar_list(path, value)
        if all(not isinstance(inner, (dict, list)) for item in value for inner in item.values()):
            return self.message_table(path, value)
        rest = len(value) - LONGEST
        more = element("p", f"and {rest} more", class_="note") if rest > 0 else None
        return join([*(self.entry(f"{path}[{index}]", index, item) for index, item in enumerate(value[:LONGEST])), more])

    def message(self, path, message):
        """The fields of a message, one below the other."""
        rows = []
        for key, value in message.items():
            here = f"{path}.{key}" if path else key
            identity = self._shown(here)
            rows.append(element("div", element("dt", key), element("dd", self.value(here, value)), id=identity,
                                class_="field"))
        return element("dl", *rows, class_="fields") if rows else element("p", "No field is set.", class_="note")
