"""Programs that run under Wine at the same time do not disturb each other."""

from wine import run


def test_a_run_has_a_registry_of_its_own():
    # Runs that share its files write them while another one reads them: now and then an interpreter
    # finds no source of random numbers there and does not start.
    code, output, errors = run("lib", """
import glob, os
for each in glob.glob("Z:/tmp/wine/*.reg"):
    print(os.path.basename(each), os.stat(each).st_nlink)
""")
    assert (code, errors) == (0, b"")
    assert sorted(output.splitlines()) == [b"system.reg 1", b"user.reg 1", b"userdef.reg 1"]
