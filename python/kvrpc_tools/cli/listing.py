"""The command `kvrpc list`."""

from __future__ import annotations

import sys
from typing import Iterator, Optional, Tuple

import click

from ..meanings import Group, meanings
from ..schema import Procedure, own
from . import options
from .names import SERVER_METAVAR, ServerName
from .values import write_json


@click.command("list")
@click.argument("server", type=ServerName(), required=False, metavar=SERVER_METAVAR)
@click.option("--grep", metavar="WORD", help="Only those whose name or meaning has this word.")
@options.as_json
def list_procedures(server: Optional[str], grep: Optional[str], json_wanted: bool) -> None:
    """List the procedures by server and family, with their meaning."""
    found = list(_found(server, (grep or "").lower()))
    if json_wanted:
        write_json([{"server": each.server, "family": group.name, "name": each.name,
                     "number": each.number, "meaning": str(meanings().procedure(each.name))}
                    for each, group in found], sys.stdout)
        return
    if not found:
        click.echo(f"no name or meaning has {grep!r}", err=True)
    heading = None
    for each, group in found:
        if heading != (each.server, group.name):
            heading = (each.server, group.name)
            click.secho(f"{each.server}: {group.name}", bold=True)
        click.echo(f"  {each.name:<24} {meanings().procedure(each.name)}")


def _found(server: Optional[str], word: str) -> Iterator[Tuple[Procedure, Group]]:
    order = {group.name: place for place, group in enumerate(meanings().groups)}
    for each_server in own().servers.values():
        if server in (None, each_server.name):
            rows = [(each, meanings().group(each.name)) for each in each_server.procedures.values()]
            for each, group in sorted(rows, key=lambda row: (order[row[1].name], row[0].number)):
                if word in f"{each.name} {meanings().procedure(each.name)}".lower():
                    yield each, group
