"""What a review finds, each with a link to its field."""

from camera_parameters._report.markup import element, heading, join, name_text

WORDS = {"error": "errors", "warning": "warnings", "info": "infos"}
LONGEST = 200


def count(findings, severity):
    """How many there are of a severity, with those that are not listed."""
    return sum(1 + finding.unlisted for finding in findings if finding.severity == severity)


def summary(findings, identity):
    """What a review counts, as badges that lead to the section of that id."""
    if not any(count(findings, severity) for severity in WORDS):
        return element("span", "no findings", class_="badge good")
    badges = []
    for severity, words in WORDS.items():
        number = count(findings, severity)
        if number:
            badges.append(element("a", f"{number} {words if number > 1 else severity}", class_=f"badge {severity}",
                                  href="#" + identity))
    return join(badges)


def row(finding, stored):
    """One finding."""
    size = f"{finding.size[0]} \u00d7 {finding.size[1]}" if finding.size else None
    about = [part for part in (name_text(finding.camera) if finding.camera else None, size) if part]
    where = stored.link_to(finding.field or "", finding.field or "the whole file")
    return element("li", element("span", finding.severity, class_=f"badge {finding.severity}"),
                   element("div", element("p", finding.text),
                           element("p", element("code", finding.check), " \u00b7 ", where,
                                   join([join([" \u00b7 ", part]) for part in about]), class_="quiet")))


def section(source, stored):
    """The section of a calibration's findings, with links to the fields that the page shows."""
    findings = source.findings
    if not findings:
        body = element("p", "A review of this file finds nothing.")
    else:
        rank = {severity: place for place, severity in enumerate(WORDS)}
        worst = sorted(findings, key=lambda finding: rank.get(finding.severity, len(rank)))
        rest = len(worst) - LONGEST
        more = element("p", f"and {rest} more, which the tool's validate lists", class_="note") if rest > 0 else None
        body = join([element("ul", *(row(finding, stored) for finding in worst[:LONGEST]), class_="findings"), more])
    return element("section", heading("Findings", source.whose), body, id=stored.prefix + "findings")
