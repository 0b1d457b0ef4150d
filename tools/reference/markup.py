"""HTML as text: elements, escaping, and values laid out as JSON or as Python."""

import html
import json
import re


class Html(str):
    """Text that is HTML already. Any other text is escaped when it becomes part of an element."""


VOID = frozenset({"meta", "input", "link", "br"})
# HTML lets the end tags of these out where the next element of their kind follows, or their
# parent's end. With thousands of table cells that, and quotes where needed only, halve the page.
ENDLESS = frozenset({"tr", "td", "th", "li", "dt", "dd", "thead", "tbody"})
BARE = re.compile(r"[A-Za-z0-9_#.:-]+")


def markup(*children):
    """Returns the children as one piece of HTML. None and False are left out."""
    return Html("".join(child if isinstance(child, Html) else html.escape(str(child), quote=False)
                        for child in children if child is not None and child is not False))


def tag(name, /, *children, **attributes):
    """Returns an element. `class_` gives class, `data_server` data-server, True a bare attribute.

    For example, tag("a", "x < y", href="#z") gives <a href="#z">x &lt; y</a>.
    """
    text = "".join(_attribute(key, value) for key, value in attributes.items())
    opening = f"<{name}{text}>"
    if name in VOID:
        return Html(opening)
    return Html(f"{opening}{markup(*children)}" + ("" if name in ENDLESS else f"</{name}>"))


def _attribute(key, value):
    if value is None or value is False:
        return ""
    key = key.rstrip("_").replace("_", "-")
    if value is True:
        return f" {key}"
    text = html.escape(str(value), quote=False).replace('"', "&quot;")
    return f" {key}={text}" if BARE.fullmatch(text) else f' {key}="{text}"'


def listed(links):
    """Returns links in one line, with commas between them."""
    return Html(", ".join(links))


def as_json(value, width, taken=0):
    """Returns a value as JSON, in one line if it fits where `taken` characters precede it."""
    return _laid_out(value, width, 0, {None: "null", True: "true", False: "false"}, taken)


def as_python(value, width, indent, taken):
    """Returns a value as a Python literal, laid out like `as_json`."""
    return _laid_out(value, width, indent, {None: "None", True: "True", False: "False"}, taken)


def _laid_out(value, width, indent, names, taken=0):
    flat = _flat(value, names)
    if not isinstance(value, (dict, list)) or len(flat) + max(indent, taken) <= width:
        return flat
    if isinstance(value, dict):
        opening, closing = "{", "}"
        rows = [f"{_text(key)}: {_laid_out(item, width, indent + 2, names, len(key) + indent + 6)}"
                for key, item in value.items()]
    else:
        opening, closing = "[", "]"
        rows = [_laid_out(item, width, indent + 2, names) for item in value]
    return f"{opening}\n{_filled(rows, width, ' ' * (indent + 2))}\n{' ' * indent}{closing}"


def _filled(rows, width, inner):
    """Returns members in lines: as many short ones in each as fit, others alone."""
    lines, alone = [], True
    for row in rows:
        if alone or "\n" in row or len(lines[-1]) + len(row) + 2 > width:
            lines.append(inner + row)
        else:
            lines[-1] += ", " + row
        alone = "\n" in row
    return ",\n".join(lines)


def _flat(value, names):
    if isinstance(value, dict):
        rows = (f"{_text(key)}: {_flat(item, names)}" for key, item in value.items())
        return "{" + ", ".join(rows) + "}"
    if isinstance(value, list):
        return "[" + ", ".join(_flat(item, names) for item in value) + "]"
    return _scalar(value, names)


def _scalar(value, names):
    if value is None or isinstance(value, bool):
        return names[value]
    return _text(value) if isinstance(value, str) else json.dumps(value)


def _text(value):
    return json.dumps(value, ensure_ascii=False)
