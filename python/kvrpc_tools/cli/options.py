"""The options that several commands share, and what they set."""

from __future__ import annotations

import os
from typing import Any, Callable, Optional, TypeVar

import click

F = TypeVar("F", bound=Callable[..., Any])

# Where an option of the connection goes, because the module reads its settings there.
VARIABLES = {"port": "KORVEXRPCPORT", "transport": "RPCTRANSPORT"}

_TIMEOUT = "Give up after so many seconds."
_NO_TIMEOUT = "Give up after so many seconds; else after 25 without a byte, and that twice."


def connection(timeout: Optional[float] = None, meaning: str = "") -> Callable[[F], F]:
    """Returns what adds --host, --port, --transport and --timeout to a command.

    `timeout` is the default of --timeout. `meaning` replaces its help.
    """
    def add(command: F) -> F:
        for option in (
            click.option("--timeout", type=click.FloatRange(min=0, min_open=True),
                         default=timeout, show_default=True, metavar="SECONDS",
                         help=meaning or (_TIMEOUT if timeout else _NO_TIMEOUT)),
            click.option("--transport", type=click.Choice(["tcp", "udp"]), callback=_set,
                         expose_value=False, help="The transport; else RPCTRANSPORT, else tcp."),
            click.option("--port", type=click.IntRange(1, 65535), metavar="BASE", callback=_set,
                         expose_value=False, help="The base port; else KORVEXRPCPORT, KORVEXRPCMAP "
                         "or the portmapper decide."),
            click.option("--host", metavar="HOST", help="The host; else the environment decides."),
        ):
            command = option(command)
        return command
    return add


def as_json(command: F) -> F:
    """Adds --json to a command. Errors are JSON too then."""
    return click.option("--json", "json_wanted", is_flag=True,
                        help="Print JSON, errors as well.")(command)


def _set(context: click.Context, parameter: click.Parameter, value: Optional[object]) -> None:
    if value is not None:
        assert parameter.name is not None
        os.environ[VARIABLES[parameter.name]] = str(value)
        if parameter.name == "port":
            os.environ.pop("KORVEXRPCMAP", None)
