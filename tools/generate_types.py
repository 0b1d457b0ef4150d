#!/usr/bin/env python3
"""Writes the types of the client library, from the schema.

    generate_types.py SCHEMA OUTPUT

OUTPUT names one of four files, all of them for type checkers and editors:

    arguments.py    a TypedDict for each record of an argument; no key is required
    results.py      a TypedDict for each record of a result; every key is there
    procedures.pyi  a method for each procedure, in a class for each server
    async_procedures.pyi    the same with methods to await

A record is named as in the schema, but in capitals: `login_arg` is `LoginArg`. A union of several
cases is the Union of a TypedDict for each: `SendNewArgSelection1` has `selection: Literal[1]` and
`v1`. A list is a List of its nodes, which have no link.
"""

import sys
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[1] / "python"))

from kvrpc_tools.docstrings import field_lines, procedure_text  # noqa: E402
from kvrpc_tools.schema import load  # noqa: E402

HEAD = '''"""{about}

Written by tools/generate_types.py from the schema; not for editing.
"""
'''
OPTIONS = "check: Optional[bool] = ..., timeout: Optional[float] = ..."
SCALARS = {"long": "int", "int": "int", "u_long": "int", "short": "int", "bool": "bool",
           "nothing": "None", "unspecified": "Any"}


def type_name(record):
    return record.name.title().replace("_", "")


def python_type(schema, wire, module=""):
    """Returns the Python type of a wire type, with records taken from `module`."""
    if wire.item is not None:
        return f"List[{python_type(schema, wire.item, module)}]"
    if not wire.record:
        return SCALARS.get(wire.kind, "str")
    record = schema.records[wire.record]
    name = module + type_name(record)
    if wire.kind == "array" or record.link is not None:
        return f"List[{name}]"
    return f"Optional[{name}]" if wire.kind == "pointer" else name


def quoted(text, indent):
    """Returns a docstring."""
    lines = text.replace("\\", "\\\\").split("\n")
    end = "" if len(lines) == 1 else "\n" + indent
    return indent + '"""' + f"\n{indent}".join(lines).replace(f"{indent}\n", "\n") + end + '"""'


def structure(schema, record, total):
    inherits = "TypedDict" if total else "TypedDict, total=False"
    lines = [f"class {type_name(record)}({inherits}):",
             quoted("\n".join(["The record " + record.name + ".", "",
                               *field_lines(schema, record)]), "    "), ""]
    lines += [f"    {field.key}: {python_type(schema, field.type)}"
              for field in record.fields if field is not record.link]
    return lines


def union(schema, record):
    """Returns the lines of a union, and of a TypedDict for each case if it has several."""
    name = type_name(record)
    if len(record.fields) == 1:
        return case(schema, record, record.fields[0], name)
    lines, cases = [], []
    for arm in record.fields:
        cases.append(f"{name}{record.discriminant.title()}{arm.value}")
        lines += [*case(schema, record, arm, cases[-1]), "", ""]
    return [*lines, f"{name} = Union[{', '.join(cases)}]"]


def case(schema, record, arm, name):
    return [f"class {name}(TypedDict):",
            f'    """The case {arm.value} of the union {record.name}."""', "",
            f"    {record.discriminant}: Literal[{arm.value}]",
            f"    {arm.key}: {python_type(schema, arm.type)}"]


def in_order(schema, wires):
    """Returns the names of all records of the types, each after those that it holds."""
    found = {}

    def visit(wire):
        if wire.item is not None:
            visit(wire.item)
        if not wire.record or wire.record in found:
            return
        found[wire.record] = False
        for field in schema.records[wire.record].fields:
            visit(field.type)
        found[wire.record] = found.pop(wire.record)

    for wire in wires:
        visit(wire)
    return list(found)


def records(schema, about, wires, total):
    found = [schema.records[name] for name in in_order(schema, wires)]
    lines = [HEAD.format(about=about),
             "from typing import List, Literal, Optional, TypedDict, Union", "", "__all__ = [",
             *(f'    "{type_name(record)}",' for record in found), "]"]
    for record in found:
        lines += ["", "", *(union(schema, record) if record.is_union
                            else structure(schema, record, total))]
    return lines


def arguments(schema):
    return records(schema, "The records of arguments. A key that is left out arrives as zero.",
                   [each.argument for each in schema.procedures.values()], False)


def results(schema):
    return records(schema, "The records of results.",
                   [each.result for each in schema.procedures.values()], True)


def signature(schema, procedure, define, raw, result):
    wire = procedure.argument
    argument = "" if wire.kind == "nothing" else f", argument: {python_type(schema, wire, 'a.')}"
    options = f"raw: {raw}, {OPTIONS}"
    return f"    {define} {procedure.name}(self{argument}, *, {options}) -> {result}:"


def method(schema, procedure, define):
    result = python_type(schema, procedure.result, "r.")
    nodes = [name for name in schema.reachable(procedure.result) if schema.records[name].link]
    lines = []
    if nodes:
        with_raw = signature(schema, procedure, define, "Literal[True]", "Any")
        lines += ["    @overload", with_raw + " ...", "    @overload"]
    raw = "Literal[False] = ..." if nodes else "bool = ..."
    return [*lines, signature(schema, procedure, define, raw, result),
            quoted(procedure_text(schema, procedure), " " * 8), ""]


def procedures(schema, define="def"):
    lines = [HEAD.format(about="The types of the procedures' methods."),
             "from typing import Any, List, Literal, Optional, overload", "",
             "from . import arguments as a", "from . import results as r"]
    for server in schema.servers.values():
        if server.procedures:
            lines += ["", f"class {server.name.title()}Procedures:"]
            for procedure in server.procedures.values():
                lines += method(schema, procedure, define)
    return lines


def async_procedures(schema):
    return procedures(schema, "async def")


def main(source, output):
    write = {"arguments.py": arguments, "results.py": results, "procedures.pyi": procedures,
             "async_procedures.pyi": async_procedures}
    lines = write[Path(output).name](load(source))
    Path(output).write_bytes(("\n".join(lines) + "\n").encode())


if __name__ == "__main__":
    main(*sys.argv[1:])
