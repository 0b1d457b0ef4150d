"""The command `kvrpc docs`."""

from __future__ import annotations

import webbrowser
from importlib import resources
from pathlib import Path
from typing import Optional, Union

import click

from ..schema import Procedure, Record
from .names import PROCEDURE_OR_RECORD


@click.command()
@click.argument("name", type=PROCEDURE_OR_RECORD, required=False)
@click.option("--path", "path_wanted", is_flag=True, help="Print the page's file; open nothing.")
def docs(name: Optional[Union[Procedure, Record]], path_wanted: bool) -> None:
    """Open the reference of procedures and records in the browser.

    It is one page that needs no network. With NAME, opens it at that procedure or record.
    """
    page = Path(str(resources.files("kvrpc_tools").joinpath("reference.html")))
    if not page.is_file():
        raise click.UsageError("the page is missing: in a source tree, run make build")
    if path_wanted:
        click.echo(str(page))
        return
    address = page.resolve().as_uri() + (f"#{name.name}" if name is not None else "")
    if not webbrowser.open(address):
        click.echo(f"no web browser was found; open {address}")
