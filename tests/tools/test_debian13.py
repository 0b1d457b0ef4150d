"""tools/debian13 without a root of Debian 13: programs that only log replace the system's."""

import os
import shutil

import pytest

from tests.tools.scripts import ROOT, executable, run

MIRROR = "http://mirror.example/debian/"


@pytest.fixture
def machine(tmp_path):
    """A small tree, an empty cache, and a PATH on which nothing needs root."""
    tree, programs = tmp_path / "tree", tmp_path / "programs"
    shutil.copytree(ROOT / "tools", tree / "tools")
    programs.mkdir()
    log = tmp_path / "log"
    release = 'echo "$(. /etc/os-release && echo "$VERSION_CODENAME")'
    executable(programs, "id", "echo 0")
    executable(programs, "sleep", "")
    executable(programs, "chroot", "")
    executable(programs, "apt-get", f'echo "other http://x/"; {release} {MIRROR}"')
    # The script of `bash -euc`, `-`, root and copy come before the command's environment.
    executable(programs, "unshare", f'while [ "$1" != -euc ]; do shift; done; shift 5; '
                                    f'echo "run: $*" >> {log}')
    executable(programs, "debootstrap", f"""
echo "debootstrap: $*" >> {log}
[ "$(grep -c debootstrap: {log})" = "${{ATTEMPTS:-1}}" ] || exit 1
for word; do case "$word" in *.new) root=$word ;; esac; done
mkdir -p "$root/etc/apt/apt.conf.d" "$root/etc/dpkg/dpkg.cfg.d" \
  "$root/usr/local/share/ca-certificates"
""")

    class Machine:
        cache = tmp_path / "cache" / "debian13"

        def __init__(self):
            self.tree, self.programs = tree, programs

        def write(self, name, text):
            (tree / name).write_text(text, encoding="utf-8")

        def run(self, *commands, **variables):
            log.unlink(missing_ok=True)
            done = run(tree / "tools" / "debian13", *commands, cwd=tree,
                       PATH=f"{programs}:/usr/sbin:{os.environ['PATH']}",
                       KVRPC_CACHE=str(tmp_path / "cache"), **variables)
            lines = log.read_text(encoding="utf-8").splitlines() if log.exists() else []
            return done, lines

    return Machine()


def test_the_root_is_made_once_from_the_mirror_of_this_machine(machine):
    done, log = machine.run("make demo")
    assert done.returncode == 0, done.stderr
    assert log[0].startswith("debootstrap: --variant=minbase ")
    assert log[0].endswith(f"/root.new {MIRROR}")
    assert [line.split(" LANG=C.UTF-8 ")[1] for line in log[1:]] == [
        "tools/setup build", "bash -c make demo"]
    _, log = machine.run("make demo")
    assert not [line for line in log if "debootstrap" in line]


def test_the_root_is_tried_three_times(machine):
    done, log = machine.run("true", ATTEMPTS="3")
    assert done.returncode == 0, done.stderr
    assert len([line for line in log if line.startswith("debootstrap:")]) == 3


def test_a_root_that_cannot_be_made_ends_the_run_and_leaves_none(machine):
    done, log = machine.run("true", ATTEMPTS="9")
    assert done.returncode != 0
    assert len(log) == 3
    assert not (machine.cache / "root").exists()


def test_without_arguments_the_demo_the_tests_and_the_checks_are_run(machine):
    _, log = machine.run()
    assert [line.split("bash -c ")[1] for line in log[2:]] == [
        "make demo", "make test", "make check"]


def test_the_copy_follows_the_tree_and_keeps_what_was_built(machine):
    copy = machine.cache / "kvrpc"
    machine.write("kept.txt", "kept")
    machine.write("changed.txt", "before")
    machine.write("removed.txt", "removed")
    machine.write(".gitignore", "/build/\n")
    assert machine.run("true")[0].returncode == 0
    (copy / "build").mkdir()
    (copy / "build" / "built").write_text("", encoding="utf-8")
    os.utime(copy / "kept.txt", (1, 1))
    machine.write("changed.txt", "after")
    machine.write("new.txt", "new")
    (machine.tree / "removed.txt").unlink()
    (machine.tree / "kept.txt").touch()  # as in a fresh clone
    assert machine.run("true")[0].returncode == 0
    assert {path.name: path.read_text(encoding="utf-8") for path in copy.glob("*.txt")} == {
        "kept.txt": "kept", "changed.txt": "after", "new.txt": "new"}
    assert (copy / "kept.txt").stat().st_mtime == 1
    assert (copy / "build" / "built").exists()
    assert os.access(copy / "tools" / "debian13", os.X_OK)


def test_the_copy_follows_a_change_of_mode(machine):
    machine.write("script", "exit 0")
    copy = machine.cache / "kvrpc" / "script"
    for mode in (0o644, 0o755, 0o644):
        (machine.tree / "script").chmod(mode)
        assert machine.run("true")[0].returncode == 0
        assert copy.stat().st_mode & 0o777 == mode


def test_a_command_sees_only_what_concerns_the_network_and_the_tests(machine):
    _, log = machine.run("true", KVRPC_REQUIRE_PEERS="1", https_proxy="http://p:1", KVRPC_LIB="x")
    words = log[-1].split()
    assert {"KVRPC_REQUIRE_PEERS=1", "https_proxy=http://p:1"} <= set(words)
    assert not [word for word in words if word.startswith("KVRPC_LIB")]


def test_somebody_else_is_told_that_it_needs_root(machine):
    executable(machine.programs, "id", "echo 1000")
    done, log = machine.run("true")
    assert (done.returncode, done.stderr, log) == (
        1, "debian13: needs root, for debootstrap and chroot\n", [])
