"""Procedures, records and servers by the names that people type."""

from __future__ import annotations

from typing import Any, Iterable, List, Optional, Union

import click
from click.shell_completion import CompletionItem

from ..check import did_you_mean
from ..schema import Procedure, Record, own


def procedure_of(name: str) -> Procedure:
    """Returns a procedure by its name, of which "_1" may be left out."""
    found = _procedure(name)
    if found is None:
        raise click.BadParameter(_unknown("procedure", name, own().procedures))
    return found


def procedure_or_record(name: str) -> Union[Procedure, Record]:
    """Returns a procedure or a record by its name."""
    found = _procedure(name) or own().records.get(name)
    if found is None:
        raise click.BadParameter(
            _unknown("procedure or record", name, own().procedures, own().records))
    return found


def _procedure(name: str) -> Optional[Procedure]:
    return own().procedures.get(name) or own().procedures.get(f"{name}_1")


def _unknown(what: str, name: str, *known: Iterable[str]) -> str:
    """Returns the message for a wrong name, with the nearest of the first names that has one."""
    near = next(filter(None, (did_you_mean(name, names) for names in known)),
                "; kvrpc list --grep WORD looks for a word")
    return f"there is no {what} {name!r}{near}"


def servers() -> List[str]:
    """Returns the names of the servers that have procedures."""
    return [server.name for server in own().servers.values() if server.procedures]


class _Name(click.ParamType):
    """A name that a shell completes."""

    def __init__(self, name: str, known: Any, find: Any) -> None:
        self.name = name
        self._known = known
        self._find = find

    def convert(self, value: Any, param: Optional[click.Parameter],
                ctx: Optional[click.Context]) -> Any:
        """Returns what the name stands for."""
        return self._find(value) if isinstance(value, str) else value

    def shell_complete(self, ctx: click.Context, param: click.Parameter,
                       incomplete: str) -> List[CompletionItem]:
        """Returns the names that begin with what was typed."""
        return [CompletionItem(each) for each in self._known() if each.startswith(incomplete)]


PROCEDURE = _Name("procedure", lambda: own().procedures, procedure_of)
PROCEDURE_OR_RECORD = _Name("procedure or record",
                            lambda: [*own().procedures, *own().records], procedure_or_record)


def files(context: click.Context, parameter: click.Parameter, incomplete: str
          ) -> List[CompletionItem]:
    """Lets the shell complete a word with the names of files, as it does without completion."""
    return [CompletionItem(incomplete, type="file")]


_SERVERS = ("alpha", "theta", "lambda", "nue", "omega", "sigma")


class ServerName(click.Choice):  # type: ignore[type-arg,unused-ignore]  # generic from 8.2 on
    """A server that has procedures. Reads the interface only when it is asked."""

    def __init__(self) -> None:
        super().__init__(_SERVERS, case_sensitive=False)


SERVER_METAVAR = f"[{'|'.join(_SERVERS)}]"  # click would write a second pair of brackets
