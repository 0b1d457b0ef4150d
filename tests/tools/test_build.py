"""What CMake says, and what it builds, on machines other than a developer's."""
import subprocess
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]


def configure(directory, *options):
    return subprocess.run(["cmake", "-S", ROOT, "-B", directory, *options], encoding="utf-8",
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT)


def test_a_machine_without_an_interpreter_is_told_what_to_install_or_to_leave_out(tmp_path):
    done = configure(tmp_path, "-DCMAKE_DISABLE_FIND_PACKAGE_Python=ON", "-DBUILD_TESTING=OFF")
    assert done.returncode == 1
    said = " ".join(done.stdout.split())
    assert "No CPython 3.9 or later with its headers was found." in said
    assert "python3-dev" in said and "-DPython_EXECUTABLE=" in said


def test_the_libraries_alone_need_no_interpreter(tmp_path):
    done = configure(tmp_path, "-DCMAKE_DISABLE_FIND_PACKAGE_Python=ON", "-DBUILD_TESTING=OFF",
                     "-DKVRPC_PYTHON_SIDE=OFF")
    assert done.returncode == 0, done.stdout
