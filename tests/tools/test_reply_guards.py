"""Mistakes in the conversion of a reply are found by the compiler or by the unit tests.

Each test plants one in a copy of src/, compiles what depends on it as the build does, and links it
with the build's own objects. Needs a build with bridge_test.
"""
import json
import os
import shlex
import shutil
import subprocess
from pathlib import Path

import pytest

ROOT = Path(__file__).resolve().parents[2]
BUILD = Path(os.environ.get("KVRPC_BUILD", str(ROOT / "build" / "debug")))
TESTS = "result_bounds*:run_on_text*:result_reader*"

pytestmark = pytest.mark.slow

# The kind that the recipe of CONTRIBUTING.md adds, in each of the places that it names.
KIND = [
    ("schema/kind_names.cpp", "    case wire_kind::short_:\n",
     '    case wire_kind::u_short_:\n      return "u_short";\n'),
    ("bridge/encode_record.cpp", "    case wire_kind::short_:\n",
     "    case wire_kind::u_short_:\n      return json_encode_u_short(node, raw_text, field);\n"),
    ("bridge/record_xdr.cpp", "    case wire_kind::short_:\n",
     "    case wire_kind::u_short_:\n      return xdr_u_short(xdrs, data);\n"),
    ("bridge/result_reader.cpp", "    case wire_kind::short_:\n",
     "    case wire_kind::u_short_:\n"
     "      return {write_decimal(at.place, unit_at(at) & 0xFFFF), at.wire + 4};\n"),
    ("bridge/run_on.cpp", "    case wire_kind::short_:\n", "    case wire_kind::u_short_:\n"),
]
PROGRAM = """
#include <cstdio>
#include <cstring>
#include "bridge/encode.h"
#include "bridge/record_xdr.h"
#include "bridge/result_reader.h"
using namespace kvrpc;
constexpr structure pair{"pair", {{"a", wire::u_short_}, {"b", wire::chars(3)}}};
constexpr structure full{"full", {{"t", wire::chars(2)}, {"a", wire::u_short_}}};
void show(const wire_type& type, char* bytes) {
  XDR xdrs;
  xdrmem_create(&xdrs, bytes, 20, XDR_DECODE);
  text_buffer text;
  result_text result{type, text, 0};
  if (xdr_result(&xdrs, &result) && result.written)
    std::printf("%.*s\\n", static_cast<int>(text.size()), text.data());
}
int main() {
  const wire_type type = wire::inline_(pair);
  char record[16] = {};
  char bytes[20] = {};
  json_node* const node = json_parse("{\\"a\\":65535,\\"b\\":\\"x\\"}");
  if (!json_encode(node, 0, record, type)) return 1;
  json_delete(node);
  XDR xdrs;
  xdrmem_create(&xdrs, bytes, sizeof bytes, XDR_ENCODE);
  if (!xdr_value(&xdrs, record, type)) return 2;
  show(type, bytes);
  char letters[20] = {0, 0, 0, 'A', 0, 0, 0, 'B', 0, 0, 'D', 'C'};
  show(wire::inline_(full), letters);
}
"""


class Planted:
    """A copy of src/ with changes, and the build's commands over it."""

    def __init__(self, folder):
        self.src = folder / "src"
        self.folder = folder
        shutil.copytree(ROOT / "src", self.src)
        self.commands = {entry["file"]: entry for entry in json.loads(
            (BUILD / "compile_commands.json").read_text(encoding="utf-8"))}

    def change(self, name, old, new):
        path = self.src / name
        text = path.read_text(encoding="utf-8")
        assert text.count(old) == 1, (name, old)
        path.write_text(text.replace(old, new), encoding="utf-8")

    def compile(self, name, source=None):
        """Returns the object, None if the compiler has failed, and the compiler's messages."""
        entry = self.commands[str(ROOT / "src" / name)]
        target = self.folder / (name.replace("/", "_") + ".o")
        command = [word.replace(str(ROOT / "src"), str(self.src))
                   for word in shlex.split(entry["command"])]
        command[command.index("-o") + 1] = str(target)
        if source:
            command[command.index("-c") + 1] = str(source)
        done = subprocess.run(command, cwd=BUILD, stderr=subprocess.PIPE, text=True)
        return (target if done.returncode == 0 else None), done.stderr

    def link(self, objects, program, with_tests):
        lines = subprocess.run(["ninja", "-t", "commands", "bridge_test"], cwd=BUILD, check=True,
                               stdout=subprocess.PIPE, text=True).stdout.splitlines()
        command = [word for word in shlex.split(lines[-1]) if word not in (":", "&&")]
        if not with_tests:
            command = [word for word in command if not word.endswith(".o")
                       and "gtest" not in word and "wrap" not in word]
        at = command.index("-o")
        command[at:at + 2] = [*map(str, objects), "-o", str(program)]
        subprocess.run(command, cwd=BUILD, check=True)


@pytest.fixture
def planted(tmp_path):
    return Planted(tmp_path)


@pytest.mark.parametrize("name, old, new", [
    ("schema/reply_plan.h", "return 3 * chars + 16;", "return 2 * chars + 16;"),
    ("bridge/json_forms.h", "return size * sizeof json_form::bytes; }", "return size * 2; }"),
    ("schema/reply_plan.h", "number = 11;", "number = 10;"),
    ("schema/reply_plan.h", "boolean = 5;", "boolean = 4;"),
])
def test_the_compiler_finds_a_bound_that_is_too_small(planted, name, old, new):
    planted.change(name, old, new)
    compiled, messages = planted.compile("bridge/result_reader.cpp")
    assert compiled is None
    assert "static assertion failed" in messages or "static_assert failed" in messages


@pytest.mark.parametrize("name, old, new", [
    ("bridge/value_text.h", "plain >= left", "plain > left"),
    ("bridge/result_reader.cpp", "open_nodes == 1 ? after : trail{}", "after"),
    ("bridge/result_reader.cpp", "reserve(escaped_room(count))", "reserve(2 * count)"),
    ("bridge/result_reader.cpp", "{out_.reserve(room_), wire", "{out_.reserve(1), wire"),
    ("bridge/result_reader.cpp", "window_.hold(at.wire, rest)", "at.wire"),
])
def test_the_unit_tests_find_a_mistake_in_the_reader(planted, name, old, new):
    planted.change(name, old, new)
    compiled, messages = planted.compile("bridge/result_reader.cpp")
    assert compiled is not None, messages
    program = planted.folder / "tests"
    planted.link([compiled], program, with_tests=True)
    done = subprocess.run([str(program), f"--gtest_filter={TESTS}", "--gtest_brief=1"],
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT, timeout=120)
    assert done.returncode != 0


def add_kind(planted, left_out=None):
    planted.change("schema/types.h", "  unspecified,  //", "  unspecified, u_short_,  //")
    planted.change("schema/types.h", "inline constexpr wire_type bool_ =",
                   "inline constexpr wire_type u_short_ =\n"
                   "    fixed(wire_kind::u_short_, 0, 2, 2, 4, reply_room::number);\n"
                   "inline constexpr wire_type bool_ =")
    for name, old, new in KIND:
        if name != left_out:
            planted.change(name, old, new + old)


def test_a_new_kind_works_when_the_recipe_is_followed(planted):
    add_kind(planted)
    source = planted.folder / "program.cpp"
    source.write_text(PROGRAM, encoding="utf-8")
    objects = []
    for name, _, _ in KIND:
        compiled, messages = planted.compile(name)
        assert compiled is not None, messages
        objects.append(compiled)
    main, messages = planted.compile("bridge/stub.cpp", source)
    assert main is not None, messages
    program = planted.folder / "program"
    planted.link([main, *objects], program, with_tests=False)
    done = subprocess.run([str(program)], stdout=subprocess.PIPE, text=True)
    assert done.returncode == 0
    assert done.stdout.splitlines() == ['{"a":65535,"b":"x"}', '{"t":"ABCD","a":17475}']


@pytest.mark.parametrize("place", [name for name, _, _ in KIND])
def test_the_compiler_finds_a_place_that_lacks_a_new_kind(planted, place):
    add_kind(planted, left_out=place)
    compiled, messages = planted.compile(place)
    assert compiled is None
    assert "u_short_" in messages
