"""What is in the source distribution and in the wheel."""

import os
import subprocess
import sys
import tarfile
import zipfile
from pathlib import Path

import pytest

ROOT = Path(__file__).resolve().parents[2]


def only(folder, pattern):
    found = list(folder.glob(pattern))
    assert len(found) == 1, found
    return found[0]


@pytest.fixture(params=["*.whl", "*.tar.gz"])
def pattern(request):
    return request.param


@pytest.fixture
def wheel(builds):
    with zipfile.ZipFile(only(builds / "dist", "*.whl")) as archive:
        yield archive


def test_builds_from_different_folders_at_different_times_are_the_same_bytes(builds, pattern):
    first, again = only(builds / "dist", pattern), only(builds / "again", pattern)
    assert first.name == again.name
    assert first.read_bytes() == again.read_bytes()
    assert first.stat().st_mtime_ns != again.stat().st_mtime_ns


def test_no_file_names_a_folder_of_the_build(builds, wheel):
    for name in wheel.namelist():
        assert str(builds).encode() not in wheel.read(name), name


def test_the_wheel_holds_the_module_its_stubs_and_the_tools(wheel, version):
    names = wheel.namelist()
    tops = {name.split("/")[0] for name in names}
    modules = {top for top in tops if top.startswith("kvrpc.")}
    assert len(modules) == 1
    assert tops - modules == {"kvrpc-stubs", "kvrpc_tools", f"kvrpc-{version}.dist-info",
                              f"kvrpc-{version}.data"}
    assert f"kvrpc-{version}.data/data/share/man/man1/kvrpc.1" in names
    tree = ROOT / "python"
    sources = {str(path.relative_to(tree)) for path in tree.rglob("*")
               if path.suffix in (".py", ".pyi", ".html", ".css", ".js") or path.name == "py.typed"}
    assert sources <= set(names)
    assert "kvrpc_tools/schema.json" in names
    assert "kvrpc_tools/reference.html" in names


def test_the_source_distribution_holds_no_generated_file(builds, version):
    with tarfile.open(only(builds / "dist", "*.tar.gz")) as archive:
        names = archive.getnames()
    assert f"kvrpc-{version}/src/module/kvrpc.cpp" in names
    generated = (".so", "schema.json", "reference.html", ".pyc", ".pyd")
    assert not [name for name in names if name.endswith(generated)]


def test_the_requirements_belong_to_the_extra_alone(wheel, version):
    text = wheel.read(f"kvrpc-{version}.dist-info/METADATA").decode("utf-8")
    required = [line for line in text.splitlines() if line.startswith("Requires-Dist:")]
    assert required
    assert all("extra ==" in line for line in required)


@pytest.mark.parametrize("command", [["check_wheel_contents"], ["twine", "check", "--strict"]])
def test_the_checkers_of_packages_find_nothing(builds, command):
    files = [str(only(builds / "dist", "*.whl"))]
    if command[0] == "twine":
        files.append(str(only(builds / "dist", "*.tar.gz")))
    done = subprocess.run([sys.executable, "-m", *command, *files], cwd=ROOT, encoding="utf-8",
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                          env=dict(os.environ, NO_COLOR="1"))
    assert done.returncode == 0, done.stdout
    assert done.stdout.count("PASSED" if command[0] == "twine" else ": OK\n") == len(files)
