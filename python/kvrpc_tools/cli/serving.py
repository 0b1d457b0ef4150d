"""The command `kvrpc console`."""

from __future__ import annotations

import contextlib
import os
import webbrowser
from typing import Iterator, Optional

import click
from click.core import ParameterSource

from . import options

_PATIENCE = 30.0  # seconds for each call


@click.command()
@click.option("--simulator", is_flag=True, help="Call a simulator that is started for it.")
@options.connection(_PATIENCE)
@click.option("--listen", type=click.IntRange(0, 65535), default=0, metavar="PORT",
              help="The console's port on loopback; a free one when it is left out.")
@click.option("--no-browser", is_flag=True, help="Only print the address.")
@click.pass_context
def console(context: click.Context, simulator: bool, host: Optional[str], timeout: float,
            listen: int, no_browser: bool) -> None:
    """Serve the reference with a form on every procedure.

    Only this machine can reach it. The address that is printed has a token. Without it, nobody on
    this machine can make a call. Ctrl-C ends it.
    """
    from ..console.calls import Calls
    from ..console.server import Console

    for name in ("host", "port"):
        if simulator and context.get_parameter_source(name) is ParameterSource.COMMANDLINE:
            raise click.UsageError(f"--simulator and --{name} exclude each other")
    with _target(simulator, host) as target:
        calls = Calls(host, timeout)
        try:
            server = Console(calls, target, listen)
        except OSError as error:
            raise click.UsageError(f"port {listen}: {error.strerror}") from error
        click.echo(server.address)
        if not no_browser:
            webbrowser.open(server.address)
        try:
            server.serve_forever()
        except KeyboardInterrupt:
            pass
        finally:
            server.server_close()
            calls.close()


@contextlib.contextmanager
def _target(simulator: bool, host: Optional[str]) -> Iterator[str]:
    """Leads the calls to where they go. Yields its name for the page."""
    if not simulator:
        yield host or "the hosts of the environment"
        return
    from ..testing import start

    with start() as started:
        for name, value in started.environment().items():
            if value is None:
                os.environ.pop(name, None)
            else:
                os.environ[name] = value
        yield "the simulator"
