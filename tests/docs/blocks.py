"""Runs the code blocks of a page, in their order.

    python     run in one namespace for the page; one that begins with `# NAME.py` is saved under
               that name instead, for a later block
    output     what the Python block before it prints
    console    commands after `$ `, continued after `> `, each followed by what it prints; for bash
    json       must be JSON
    text       pictures and listings; not run
    sh, bat    not run; a comment before it, `<!-- Not run: REASON -->`, must say why

In an expected output, `...` stands for any text. A command that fails must be followed by
`$ echo $?`.
"""

import contextlib
import doctest
import io
import json
import re
import subprocess
from pathlib import Path

from sybil import Sybil
from sybil.evaluators.python import PythonEvaluator
from sybil.parsers.myst import CodeBlockParser

RUN = ("python", "output", "console", "json")
EXCUSED = ("sh", "bat")
KNOWN = {*RUN, *EXCUSED, "text"}
FENCE = re.compile(r"^(?:<!-- Not run: (?P<reason>.+) -->\n)?"
                   r"```(?P<kind>.*)\n(?P<body>[\s\S]*?)^```$", re.MULTILINE)
END = "end of the command"

_run_python = PythonEvaluator()


def run_page(page: Path, workplace: Path) -> int:
    """Runs the blocks of a page, with files in `workplace`. Returns how many ran."""

    def python(example):
        name = re.match(r"# (\w+\.py)\n", example.parsed)
        if name:
            (workplace / name[1]).write_text(example.parsed, encoding="utf-8")
            return
        with contextlib.redirect_stdout(io.StringIO()) as printed:
            _run_python(example)
        example.namespace["printed"] = printed.getvalue()

    def output(example):
        compare(example.parsed, example.namespace["printed"])

    def console(example):
        run_console(example.parsed, workplace)

    def parse(example):
        json.loads(example.parsed)

    evaluators = (python, output, console, parse)
    parsers = [CodeBlockParser(kind, evaluator) for kind, evaluator in zip(RUN, evaluators)]
    examples = list(Sybil(parsers, path=str(page.parent)).parse(page).examples())
    for example in examples:
        example.evaluate()
    return len(examples)


def run_console(block: str, workplace: Path) -> None:
    """Runs the commands of one block in one shell, and compares what each prints."""
    commands = list(commands_of(block))
    script = "".join(f"{command}\nstatus=$?; echo; echo {END} $status; (exit $status)\n"
                     for command, _ in commands)
    done = subprocess.run(["bash", "-c", script], cwd=workplace, timeout=300,
                          stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT, encoding="utf-8")
    parts = re.split(rf"\n{END} (\d+)\n", done.stdout)
    outputs, codes = parts[::2], parts[1::2]
    assert len(codes) == len(commands), done.stdout
    for place, (command, expected) in enumerate(commands):
        last = place + 1 == len(commands)
        told = not last and commands[place + 1][0] == "echo $?"
        assert codes[place] == "0" or told, f"{command}: exit code {codes[place]}: {outputs[place]}"
        compare(expected, outputs[place], command)


def commands_of(block: str):
    """Yields each command of a console block with the output that is expected of it."""
    for part in re.split(r"^\$ ", block, flags=re.MULTILINE)[1:]:
        first, _, rest = part.partition("\n")
        lines = rest.splitlines(keepends=True)
        more = [line[2:] for line in lines if line.startswith("> ")]
        yield "\n".join([first, *(line.rstrip("\n") for line in more)]), "".join(lines[len(more):])


def compare(expected: str, printed: str, what: str = "") -> None:
    """Raises AssertionError if the texts differ other than by white space at their ends."""
    expected, printed = expected.strip() + "\n", printed.strip() + "\n"
    equal = doctest.OutputChecker().check_output(expected, printed, doctest.ELLIPSIS)
    assert equal, f"{what}\nexpected:\n{expected}printed:\n{printed}"


def mistakes(text: str):
    """Yields what is wrong with the fences of a page: an unknown kind, or a reason that lacks."""
    for fence in FENCE.finditer(text):
        kind = fence["kind"].strip()
        if kind.startswith("{"):  # a directive
            continue
        if kind not in KNOWN:
            yield f"{kind or 'a block without a kind'}: {fence['body'][:40]}"
        elif kind in EXCUSED and not fence["reason"]:
            yield f"no reason why this is not run: {fence['body'][:40]}"
