"""The command `kvrpc describe`."""

from __future__ import annotations

import json
import sys
from typing import Any, Dict, List, Union

import click

from ..docstrings import type_text
from ..meanings import meanings
from ..schema import Procedure, Record, WireType, own
from ..templates import template
from . import options
from .names import PROCEDURE_OR_RECORD
from .values import write_json


@click.command()
@click.argument("name", type=PROCEDURE_OR_RECORD)
@click.option("--template", "template_wanted", is_flag=True,
              help="Print an argument to fill in, as JSON.")
@options.as_json
def describe(name: Union[Procedure, Record], template_wanted: bool, json_wanted: bool) -> None:
    """Describe a procedure or a record: fields, limits and meaning."""
    if template_wanted:
        wire = name.argument if isinstance(name, Procedure) else WireType("record",
                                                                         record=name.name)
        click.echo(json.dumps(template(own(), wire), ensure_ascii=False, indent=2))
    elif json_wanted:
        write_json(_told(name), sys.stdout)
    elif isinstance(name, Procedure):
        _describe_procedure(name)
    else:
        _describe_record(name)


def _told(found: Union[Procedure, Record]) -> Dict[str, Any]:
    if isinstance(found, Record):
        return {"record": found.name, "meaning": str(meanings().record(found.name)),
                "fields": _fields(found), "used_by": list(meanings().used_by(found.name))}
    return {"procedure": found.name, "server": found.server, "number": found.number,
            "meaning": str(meanings().procedure(found.name)),
            "argument": _shape(found.argument), "result": _shape(found.result),
            "see": list(meanings().see(found.name))}


def _shape(wire: WireType) -> Any:
    record = own().records.get(wire.record)
    told: Dict[str, Any] = {"type": type_text(own(), wire)}
    if record is not None:
        told.update(record=record.name, fields=_fields(record))
    return told


def _fields(record: Record) -> List[Dict[str, Any]]:
    return [{"key": field.key, "type": type_text(own(), field.type),
             "meaning": str(meanings().field(record.name, field.key)),
             **({"when": {record.discriminant: field.value}} if record.is_union else {})}
            for field in record.fields if field is not record.link]


def _describe_procedure(found: Procedure) -> None:
    click.secho(found.name, bold=True)
    click.echo(f"  {meanings().procedure(found.name)}")
    family = meanings().group(found.name).name
    click.echo(f"  Procedure {found.number} of {found.server}, {family}.")
    for title, wire in (("Argument", found.argument), ("Result", found.result)):
        click.echo(f"\n{title}: {type_text(own(), wire)}")
        record = own().records.get(wire.record)
        if record is not None:
            _print_fields(record, "  ")
    see = meanings().see(found.name)
    if see:
        click.echo(f"\nSee {', '.join(see)}")


def _describe_record(record: Record) -> None:
    click.secho(record.name, bold=True)
    click.echo(f"  {meanings().record(record.name)}\n")
    _print_fields(record, "  ")
    click.echo(f"\nUsed by {', '.join(meanings().used_by(record.name)) or 'no procedure'}")


def _print_fields(record: Record, indent: str) -> None:
    """Prints the fields of a record. If one is a record, its own fields follow, indented."""
    for field in record.fields:
        if field is record.link:
            continue
        when = f"{record.discriminant} {field.value}: " if record.is_union else ""
        note = meanings().field(record.name, field.key)
        click.echo(f"{indent}{when}{field.key}: {type_text(own(), field.type)}. {note}")
        inner = own().records.get(field.type.record)
        if inner is not None:
            _print_fields(inner, indent + "  ")
