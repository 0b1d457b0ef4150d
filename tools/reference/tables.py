"""The fields of an argument, a result or a record as an HTML table, with limits and meanings."""

from kvrpc_tools.docstrings import type_text

from .markup import markup, tag

BASIS = {"name": "from its name", "unknown": "nothing known"}  # the start explains the two


def note_text(note):
    """Returns a note, followed by its basis if that is not the interface itself."""
    if note.basis not in BASIS:
        return markup(note.text)
    return markup(note.text, " ", tag("em", BASIS[note.basis]))


def link(name, text=None):
    """Returns a link to a procedure, a record or another section, by its id."""
    return tag("a", text or name, href=f"#{name}")


def type_cell(schema, wire):
    """Returns a type with its limit in words, and its record as a link."""
    text = type_text(schema, wire)
    if not wire.record:
        return markup(text)
    before, _, after = text.partition(wire.record)
    return markup(before, link(wire.record), after.replace(", or None", ", or null"))


class Tables:
    """The tables of one schema with its notes."""

    def __init__(self, schema, notes):
        self._schema = schema
        self._notes = notes

    def of_type(self, wire, most):
        """Returns the table of all that a value of this type holds, or one line without it.

        The fields of an inner record follow that of the record itself, if it has `most` at most.
        A line before the table says so if the value is a list of such records.
        """
        record = self._schema.records.get(wire.record)
        if record is None:
            return tag("p", _sentence(type_text(self._schema, wire)))
        table = self._table(self._rows(record, 0, most))
        if wire.kind != "array" and record.link is None:
            return table
        return markup(tag("p", "A list. Each entry is a ", link(wire.record), ":"), table)

    def of_record(self, record):
        """Returns the table of a record's own fields."""
        return self._table(self._rows(record, 0, 0))

    @staticmethod
    def _table(rows):
        titles = (tag("th", title) for title in ("Field", "Type and limit", "Meaning"))
        return tag("table", tag("thead", tag("tr", *titles)), tag("tbody", *rows))

    def _rows(self, record, depth, most):
        if record.is_union:
            yield self._row(record.discriminant, _choices(record),
                            self._notes.field(record.name, record.discriminant), depth)
        for field in record.fields:
            if field is record.link:
                continue
            kind = type_cell(self._schema, field.type)
            if record.is_union:
                kind = markup(tag("b", f"{record.discriminant} {field.value}"), " ", kind)
            yield self._row(field.key, kind, self._notes.field(record.name, field.key), depth)
            inner = self._schema.records.get(field.type.record)
            if inner is not None and len(inner.fields) <= most:
                yield from self._rows(inner, depth + 1, most)

    @staticmethod
    def _row(key, kind, note, depth):
        name = tag("th", key, class_=f"d{depth}" if depth else None)
        return tag("tr", name, tag("td", kind), tag("td", note_text(note)))


def _choices(record):
    values = [str(field.value) for field in record.fields]
    return "number, " + (values[0] if len(values) == 1
                         else f"{', '.join(values[:-1])} or {values[-1]}")


def _sentence(text):
    return {"nothing": "Nothing."}.get(text, f"One {text}." if " " in text or text == "text"
                                       else f"{text}.")
