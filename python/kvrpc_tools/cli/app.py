"""The commands together, and what becomes of errors. EXIT_CODES has the exit codes."""

from __future__ import annotations

import json
import os
import sys
from importlib import import_module
from typing import Any, Dict, List, Optional, Sequence, Tuple

import click

from ..blocks import BlockError
from ..check import did_you_mean
from ..errors import ArgumentError, CallError, ConnectError, KvrpcError
from .reaching import place_of

FAILED, USAGE, NO_ANSWER, BY_STATUS, CTRL_C, CLOSED_PIPE = 1, 2, 3, 64, 130, 141

EXIT_CODES = {
    "0": "All is well.",
    str(FAILED): "The output cannot be written, a list in blocks does not come to an end, or the "
                 "simulator cannot start.",
    str(USAGE): "The words or the argument are wrong; nothing was sent.",
    str(NO_ANSWER): "There is no connection, or no answer in time.",
    f"{BY_STATUS} + N": "The reply has status N.",
    str(CTRL_C): "Ctrl-C.",
    str(CLOSED_PIPE): "Whoever read the output has closed it.",
}

# The module of each command, which is imported when the command is used, and its name there.
COMMANDS = {
    "list": ("listing", "list_procedures"),
    "describe": ("describing", "describe"),
    "call": ("calling", "call"),
    "ping": ("pinging", "ping"),
    "decode": ("decoding", "decode"),
    "export": ("exporting", "export"),
    "watch": ("watching", "watch"),
    "trace": ("tracing", "trace"),
    "simulate": ("simulating", "simulate"),
    "docs": ("documents", "docs"),
    "console": ("serving", "console"),
}


class _Commands(click.Group):
    def list_commands(self, ctx: click.Context) -> List[str]:
        """Returns the names of all commands, in the order of the help."""
        return [*COMMANDS, *self.commands]

    def get_command(self, ctx: click.Context, cmd_name: str) -> Optional[click.Command]:
        """Returns a command by its name."""
        if cmd_name not in COMMANDS:
            return super().get_command(ctx, cmd_name)
        module, name = COMMANDS[cmd_name]
        found: click.Command = getattr(import_module(f".{module}", __package__), name)
        return found

    def format_commands(self, ctx: click.Context, formatter: click.HelpFormatter) -> None:
        """Writes the commands with their meaning. Wraps a line that click would cut."""
        commands = ((name, self.get_command(ctx, name)) for name in self.list_commands(ctx))
        with formatter.section("Commands"):
            formatter.write_dl([(name, command.get_short_help_str(_LONGEST_LINE))
                                for name, command in commands if command is not None])

    def resolve_command(self, ctx: click.Context, args: List[str]
                        ) -> Tuple[Optional[str], Optional[click.Command], List[str]]:
        """Returns the command that the first word names. Fails with the nearest one."""
        word = args[0]
        if not word.startswith("-") and self.get_command(ctx, word) is None:
            ctx.fail(f"there is no command {word!r}{did_you_mean(word, self.list_commands(ctx))}")
        return super().resolve_command(ctx, args)


_LONGEST_LINE = 1000  # characters of the meaning of a command
_SETTINGS = {"help_option_names": ["-h", "--help"], "max_content_width": 100}


@click.group(cls=_Commands, context_settings=_SETTINGS)
@click.version_option(package_name="kvrpc", prog_name="kvrpc", message="%(prog)s %(version)s")
@click.pass_context
def kvrpc(context: click.Context) -> None:
    """Talk to the servers of a fax server.

    Options may be anywhere, but those of trace and simulate must come before a script. The exit
    code is 2 for wrong words or a wrong argument, 3 for no connection or no answer in time, 64 + N
    for a reply with status N.
    """
    if os.environ.get("NO_COLOR"):
        context.color = False


@kvrpc.command()
@click.argument("shell", type=click.Choice(["bash", "zsh", "fish"]))
def completion(shell: str) -> None:
    """Print what makes a shell complete the words of kvrpc.

    For example, in bash: eval "$(kvrpc completion bash)"
    """
    from click.shell_completion import get_completion_class

    found = get_completion_class(shell)
    assert found is not None
    click.echo(found.source_template % found(kvrpc, {}, "kvrpc", "_KVRPC_COMPLETE").source_vars())


def run(words: Sequence[str]) -> int:
    """Runs the words of a command line. Returns the exit code."""
    if sys.stdout is None:  # closed by the caller, as with >&- in a shell
        told = {"error": "OSError", "message": "the output is closed"}
        _print_error(FAILED, told, "--json" in words)
        return FAILED
    if "_KVRPC_COMPLETE" in os.environ:
        kvrpc.main(prog_name="kvrpc")  # answers the shell and ends the process
    try:
        code = _invoke(_command_first(list(words)) or ["--help"])  # click 8.2 fails without words
        sys.stdout.flush()
        return code
    except BrokenPipeError:
        _give_up_output()
        return CLOSED_PIPE
    except (KeyboardInterrupt, click.Abort):
        return CTRL_C
    except (click.ClickException, KvrpcError, TimeoutError) as error:
        code, told = _told(error)
        _print_error(code, told, "--json" in words)
        return code
    except OSError as error:
        _give_up_output()
        name = error.filename or "the output"
        told = {"error": type(error).__name__, "message": f"{name}: {error.strerror or error}"}
        _print_error(FAILED, told, "--json" in words)
        return FAILED


def _give_up_output() -> None:
    """Drops output that cannot be written. Otherwise the interpreter fails to write it at its end.
    """
    try:
        sys.stdout.flush()
    except OSError:
        nothing = os.open(os.devnull, os.O_WRONLY)
        os.dup2(nothing, sys.stdout.fileno())
        os.close(nothing)


def _invoke(words: List[str]) -> int:
    """Runs a command. It is not left to click, which has exit codes of its own."""
    try:
        with kvrpc.make_context("kvrpc", words) as context:
            code = kvrpc.invoke(context)
    except click.exceptions.Exit as end:  # that of --help, for example
        return end.exit_code
    return code if isinstance(code, int) else 0


def _command_first(words: List[str]) -> List[str]:
    """Moves the options before a command after it."""
    for place, word in enumerate(words):
        if _is_command(word) and not _is_value(words, place):
            return [word, *words[:place], *words[place + 1:]]
    return words


def _is_command(word: str) -> bool:
    return word in COMMANDS or word in kvrpc.commands


def _is_value(words: List[str], place: int) -> bool:
    """Returns whether a word is the value of the option before it, and the command comes later.

    For example, the first `list` of `--host list list`.
    """
    option = words[place - 1] if place else ""
    later = next(filter(_is_command, words[place + 1:]), None)
    if not option.startswith("-") or later is None:
        return False
    command = kvrpc.get_command(click.Context(kvrpc), later)
    return any(option in each.opts and isinstance(each, click.Option) and not each.is_flag
               for each in (command.params if command else ()))


def _told(error: Exception) -> Tuple[int, Dict[str, Any]]:
    """The exit code of an error, and what to tell of it."""
    told: Dict[str, Any] = {"error": type(error).__name__, "message": str(error)}
    if isinstance(error, click.ClickException):
        if isinstance(error, click.BadParameter) and isinstance(error.param, click.Argument):
            error.param_hint = f"'{str(error.param.name).upper()}'"  # else all choices in brackets
        told = {"error": "UsageError", "message": error.format_message()}
        return USAGE, told
    if isinstance(error, ArgumentError) and error.problems:
        return USAGE, told
    told.update(place_of(error))
    if isinstance(error, CallError):
        return BY_STATUS + error.status, {**told, "status": error.status}
    if isinstance(error, ConnectError):
        told.update(server=error.server, host=error.host, port=error.port,
                    transport=error.transport, advice=error.advice)
    return FAILED if isinstance(error, BlockError) else NO_ANSWER, told


def _print_error(code: int, told: Dict[str, Any], as_json: bool) -> None:
    if sys.stderr is None:  # closed by the caller; print would write to the standard output
        return
    if as_json:
        print(json.dumps({**told, "exit_code": code}, ensure_ascii=False), file=sys.stderr)
    else:
        line = " ".join(str(told["message"]).split())
        if told["error"] != "ConnectError" and "server" in told:  # its message has the place
            line += (f"; {told['server']} on {told['host']} (port {told['port'] or 'unknown'}, "
                     f"{told['transport']}): {told['advice']}")
        print(f"kvrpc: {line}", file=sys.stderr)
