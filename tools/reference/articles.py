"""The articles of the page: a procedure, a record, a group, a server, the list of field keys."""

import shlex

from kvrpc_tools.templates import template

from .markup import as_json, as_python, listed, markup, tag
from .tables import Tables, link, note_text

WIDTH = 50  # of an example's lines, which are beside the tables
FEW = 8  # names that are shown without folding
# Fields of an inner record that are shown in place. A larger one in a result is a link only, which
# keeps the page below its limit; an argument has to be filled in, so it has all of its fields.
MOST_IN_ARGUMENT, MOST_IN_RESULT = 1000, 8


def slug(name):
    """Returns a group's name as part of an id. For example, Time and text gives time-and-text."""
    return name.lower().replace(",", "").replace(" ", "-")


def article(kind, name, above, *children, **attributes):
    """Returns a section of its own, with its heading and the line above that."""
    return tag("article", tag("p", above, class_="above"),
               tag("h2", name), *children,
               id=attributes.pop("id_", name), class_=kind, **attributes)


def code(title, text):
    """Returns a titled text, which the script gives a copy button."""
    return markup(tag("h4", title), tag("pre", text))


def folded(links, what):
    """Returns links in one line. If there are many, they open under a summary."""
    if len(links) <= FEW:
        return tag("p", listed(links))
    return tag("details", tag("summary", f"{len(links)} {what}"), tag("p", listed(links)))


class Articles:
    """Makes the articles of one schema. `examples` has an argument and a reply by procedure."""

    def __init__(self, schema, notes, examples):
        self._schema = schema
        self._notes = notes
        self._examples = examples
        self._tables = Tables(schema, notes)

    def procedure(self, procedure):
        """Returns the article of a procedure."""
        name, notes = procedure.name, self._notes
        group = notes.group(name)
        above = markup(link(f"group-{slug(group.name)}", group.name), " · ",
                       link(f"server-{procedure.server}", procedure.server),
                       f" · procedure {procedure.number}")
        see = [link(other) for other in notes.see(name)]
        told = tag("div", self._forms(name), tag("h3", "Argument"), *self._argument(procedure),
                   tag("h3", "Result"), self._tables.of_type(procedure.result, MOST_IN_RESULT),
                   see and markup(tag("h3", "See also"), tag("p", listed(see))),
                   class_="told")
        return article("procedure", name, above, tag("p", note_text(notes.procedure(name)),
                                                     class_="note"),
                       tag("div", told, self._calls(procedure), class_="columns"))

    def _forms(self, name):
        later = self._notes.later_form(name)
        earlier = self._notes.earlier_forms(name)
        if later:
            return tag("p", tag("strong", "Prefer "), link(later.later), ". It adds ", later.adds,
                       " Fall back on this form only if a server lacks the later one.",
                       class_="callout")
        if not earlier:
            return None
        return tag("p", "The form to prefer. The earlier ", "form is " if len(earlier) == 1
                   else "forms are ", listed([link(pair.earlier) for pair in earlier]),
                   ". This one adds ", earlier[0].adds, class_="callout good")

    def _argument(self, procedure):
        wire = procedure.argument
        yield self._tables.of_type(wire, MOST_IN_ARGUMENT)
        if wire.kind not in ("nothing", "unspecified"):
            text = as_json(template(self._schema, wire), 64)
            yield tag("details", tag("summary", "Template"), tag("pre", text))

    def _calls(self, procedure):
        example = self._examples.get(procedure.name)
        if example is None:
            return tag("div", tag("h3", "Example"), tag(
                "p", "There is none: the argument is not described, so nothing can be sent."),
                class_="calls")
        argument = example["argument"]
        return tag("div", tag("h3", "Example"),
                   code("Command", command(procedure, argument)),
                   code("Python", python(procedure, argument)),
                   code("Text for kvrpc.RpcClient.call", example["call"]),
                   code("Reply of the simulator, with codes of its own",
                        as_json(example["reply"], WIDTH)),
                   class_="calls")

    def record(self, record):
        """Returns the article of a record."""
        users = [link(name) for name in self._notes.used_by(record.name)]
        return article("record", record.name, "Union" if record.is_union else "Record",
                       tag("p", note_text(self._notes.record(record.name)), class_="note"),
                       self._tables.of_record(record), tag("h3", "Used by"),
                       folded(users, "procedures") if users else tag("p", "No procedure."))

    def group(self, group):
        """Returns the article of a group: what to start with, then all of it in order of use."""
        start = group.start and tag("p", "Start with ", listed([link(n) for n in group.start]), ".",
                                    class_="callout good")
        return article("group", group.name, f"{len(group.procedures)} procedures, in order of use",
                       group.text and tag("p", group.text, class_="note"), start,
                       self._directory(group.procedures), id_=f"group-{slug(group.name)}")

    def server(self, server):
        """Returns the article of a server: its addresses and its procedures by number."""
        names = [server.procedures[number].name for number in sorted(server.procedures)]
        return article("server", server.name, "Server",
                       tag("p", f"{len(names)} procedures. Program {server.program}, version 1, "
                           f"base port + {server.slot}.", class_="note"),
                       tag("ol", *(tag("li", link(name), value=str(number)) for number, name in
                                   zip(sorted(server.procedures), names)), class_="numbers"),
                       id_=f"server-{server.name}")

    def _directory(self, names):
        rows = []
        for name in names:
            later = self._notes.later_form(name)
            rows.append(tag("dt", link(name), later and tag("b", "older form")))
            rows.append(tag("dd", note_text(self._notes.procedure(name))))
        return tag("dl", *rows, class_="directory")

    def fields(self):
        """Returns the list of all field keys. The script adds the records that have each."""
        keys = set()
        for record in self._schema.records.values():
            keys |= {field.key for field in record.fields if field is not record.link}
            keys |= {record.discriminant} if record.is_union else set()
        rows = (markup(tag("dt", key, id=f"field-{key}"),
                       tag("dd", note_text(self._notes.key(key))))
                for key in sorted(keys, key=str.lower))
        return article("fields", "Fields", f"{len(keys)} keys of all records",
                       tag("dl", *rows, class_="directory"), id_="fields")


def command(procedure, argument):
    """Returns the line for a shell."""
    line = f"kvrpc call {procedure.name}"
    if procedure.argument.kind == "nothing":
        return line
    return f"{line} {shlex.quote(as_json(argument, WIDTH, len(line) + 3))}"


def python(procedure, argument):
    """Returns the lines for a script."""
    name = procedure.server.title()
    call = f"    result = client.{procedure.name}("
    text = ""
    if procedure.argument.kind != "nothing":
        text = as_python(argument, WIDTH, 4, len(call) + 1)
    return f"from kvrpc_tools import {name}\n\nwith {name}() as client:\n{call}{text})"
