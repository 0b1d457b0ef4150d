#!/usr/bin/env python3
"""Writes the page of commands and the manual page from the commands' own help.

    generate_commands.py [--check]

Writes docs/commands.md and docs/kvrpc.1. With --check, writes nothing and fails if one of them is
not what it would write. Needs click, so both are in the repository and not made by the build.
"""
import inspect
import re
import sys
from argparse import SUPPRESS
from pathlib import Path
from typing import NamedTuple

ROOT = Path(__file__).resolve().parents[1]
sys.path.insert(0, str(ROOT / "python"))
sys.path.append(str(ROOT / "build" / "lib"))  # the module, which some commands import

import click  # noqa: E402

from kvrpc_tools.cli.app import EXIT_CODES, kvrpc  # noqa: E402
from kvrpc_tools.simulator.__main__ import option_parser  # noqa: E402

VARIABLES = {
    "ALPHAHOST, OMEGAHOST": "The hosts of alpha and of omega; else LOCALHOST.",
    "ZOLMHOST": "The host of the other servers; else localhost.",
    "LOCALHOST": "The name of this host; else localhost.",
    "RPCTRANSPORT": "tcp, which is the default, or udp.",
    "KORVEXRPCPORT": "The base port; without it, the portmapper of the host is asked.",
    "KORVEXRPCMAP": "Base ports by host, for example fax1:7000;fax2:7100.",
    "KORVEXRPCOFFSET": "Added to every program number.",
    "NO_COLOR": "If set, nothing is coloured.",
}


class Command(NamedTuple):
    """A command as its help describes it. `options` are pairs of spelling and meaning."""

    name: str
    usage: str
    paragraphs: list
    options: list
    notes: str  # lines that follow the options as they are

    @property
    def summary(self):
        return self.paragraphs[0].split(". ")[0].rstrip(".") + "."


def commands():
    with kvrpc.make_context("kvrpc", [], resilient_parsing=True) as top:
        for name in kvrpc.list_commands(top):
            command = kvrpc.get_command(top, name)
            with click.Context(command, info_name=name, parent=top) as context:
                notes = ""
                if name == "simulate":
                    options = list(simulator_options())
                    notes = inspect.cleandoc(option_parser("kvrpc simulate").epilog)
                else:
                    records = [each.get_help_record(context) for each in command.params
                               if isinstance(each, click.Option)]  # newer clicks list arguments too
                    options = [(spelling, " ".join(meaning.split()))
                               for spelling, meaning in filter(None, records)]
                usage = " ".join(["kvrpc", name, *command.collect_usage_pieces(context)])
                yield Command(name, usage, paragraphs(command.help), options, notes)


def simulator_options():
    """The simulator has a parser of its own, because it needs no click."""
    for action in option_parser("kvrpc simulate")._actions:
        if action.help != SUPPRESS and action.dest != "help":
            metavar = "" if action.nargs == 0 else action.metavar or action.dest.upper()
            if action.nargs == "?":
                metavar = f"[{metavar}]"
            yield f"{', '.join(action.option_strings)} {metavar}".strip(), \
                action.help[0].upper() + action.help[1:] + "."


def paragraphs(text):
    return [" ".join(each.split()) for each in inspect.cleandoc(text).split("\n\n")]


def version():
    text = (ROOT / "pyproject.toml").read_text(encoding="utf-8")
    return re.search(r'^version = "(.*?)"', text, re.MULTILINE).group(1)


# ---- Markdown

def markdown(found):
    lines = ["<!-- Written by tools/generate_commands.py: not for editing. -->", "# Commands", "",
             *spaced(paragraphs(kvrpc.help)),
             'The command needs `pip install "kvrpc[cli]"`. The same is in `man kvrpc` and in '
             "`kvrpc COMMAND --help`.", ""]
    lines += table("command", "what it does",
                   [(f"[{each.name}](#kvrpc-{each.name})", cell(each.summary)) for each in found])
    for each in found:
        lines += [f"## kvrpc {each.name}", "", f"    {each.usage}", "", *spaced(each.paragraphs)]
        if each.options:
            lines += table("option", "meaning", [(f"`{cell(spelling)}`", cell(meaning))
                                                 for spelling, meaning in each.options])
        if each.notes:
            lines += ["```text", *each.notes.splitlines(), "```", ""]
    lines += ["## Exit codes", "", *table("code", "when", EXIT_CODES.items()),
              "## Environment", "", *table("variable", "meaning", VARIABLES.items())]
    return "\n".join(lines).rstrip() + "\n"


def spaced(texts):
    return [line for text in texts for line in (in_code(text), "")]


def in_code(text):
    """Marks the command of an example as code."""
    return re.sub(r"(For example(?:, in bash)?: )(.*)", r"\1`\2`", text)


def cell(text):
    return text.replace("|", "\\|")


def table(left, right, rows):
    return [f"| {left} | {right} |", "|---|---|", *(f"| {a} | {b} |" for a, b in rows), ""]


# ---- manual page

def manual(found):
    lines = ['.\\" Written by tools/generate_commands.py: not for editing.',
             f'.TH KVRPC 1 "" "kvrpc {version()}" "User Commands"', ".SH NAME",
             roff("kvrpc - " + lowered(paragraphs(kvrpc.help)[0])), ".SH SYNOPSIS",
             ".B kvrpc", roff("COMMAND [OPTIONS] [ARGS]..."), ".SH DESCRIPTION"]
    for text in paragraphs(kvrpc.help)[1:]:
        lines += [".PP", roff(text)]
    lines += [".SH COMMANDS"]
    for each in found:
        lines += [f".SS {roff(each.usage)}"]
        for text in each.paragraphs:
            lines += [".PP", roff(text)]
        lines += tagged(each.options)
        if each.notes:
            lines += [".PP", ".nf", *map(roff, each.notes.splitlines()), ".fi"]
    lines += [".SH EXIT STATUS", *tagged(EXIT_CODES.items()),
              ".SH ENVIRONMENT", *tagged(VARIABLES.items())]
    return "\n".join(lines) + "\n"


def tagged(rows):
    return [line for left, right in rows for line in (".TP", f"\\fB{roff(left)}\\fR", roff(right))]


def lowered(text):
    return text[0].lower() + text[1:].rstrip(".")


def roff(text):
    text = text.replace("\\", "\\e").replace("-", "\\-")
    return "\\&" + text if text.startswith((".", "'")) else text


def main(arguments):
    found = list(commands())
    stale = 0
    for name, text in (("commands.md", markdown(found)), ("kvrpc.1", manual(found))):
        file = ROOT / "docs" / name
        if arguments != ["--check"]:
            file.write_text(text, encoding="utf-8")
        elif not file.exists() or file.read_text(encoding="utf-8") != text:
            stale = 1
            print(f"docs/{name} is not what tools/generate_commands.py writes: run it")
    return stale


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
