"""The command `kvrpc simulate`: the simulator, with its own options."""

from __future__ import annotations

from typing import Tuple

import click

from .names import files


@click.command(add_help_option=False, options_metavar="",
               context_settings={"ignore_unknown_options": True, "allow_interspersed_args": False})
@click.argument("words", nargs=-1, type=click.UNPROCESSED, metavar="[OPTIONS]",
                shell_complete=files)
def simulate(words: Tuple[str, ...]) -> int:
    """Simulate the servers on loopback until Ctrl-C.

    They answer over TCP and UDP. The command prints the base port, KORVEXRPCPORT=..., that leads a
    script to them.
    """
    from ..simulator.__main__ import main

    try:
        return main(list(words), "kvrpc simulate")
    except SystemExit as end:  # that of --help, or of wrong options
        return end.code if isinstance(end.code, int) else 2
