"""Windows and Linux programs with one table: windows_sharing_test.py RUN SHARING-EXE SHARING-LINUX.

Plays roles of sharing_test, by RUN (which starts Windows programs) and on this machine itself. Exit
status 77, with the reason, where that cannot be tried."""

import os
import subprocess
import sys
import tempfile

SKIPPED = 77
# Each is a byte range of the table file: the append lock, the record lock of record 1, and a range
# past both.
RANGES = {"append": 0x7FFFFFFE, "record": 0x40000000 + 1, "plain": 1000}

run, windows_program, linux_program = sys.argv[1:]
windows = [run, windows_program, "--role"]
linux = [linux_program, "--role"]


def start(program, *arguments):
    return subprocess.Popen([*program, *arguments], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                            text=True)


def played(program, *arguments):
    """What a role says in one line; it ends with status 0."""
    process = start(program, *arguments)
    said, _ = process.communicate(timeout=120)
    assert process.returncode == 0, (program, arguments, said)
    return said.strip()


def see_each_other(file):
    """Whether a lock of one side refuses the same to the other, both ways, for every range."""
    seen = set()
    for holder, other in ((windows, linux), (linux, windows)):
        for name, place in RANGES.items():
            with start(holder, "holder", file, str(place), "1") as process:
                held = process.stdout.readline().strip()
                assert held == "held", (held, name)
                refused = played(other, "holder", file, str(place), "1", "0") == "refused"
                process.communicate("enough\n")
            seen.add(refused)
            print(f"{'Windows' if holder is windows else 'Linux'} holds the {name} lock:",
                  "refused" if refused else "GIVEN", "to the other")
    assert len(seen) == 1, "some locks are seen and some are not"
    return seen.pop()


def main():
    if not os.access(linux_program, os.X_OK):
        print(f"no program of this machine to share a table with: {linux_program} (make test)")
        return SKIPPED
    with tempfile.TemporaryDirectory(prefix="zk_sharing_") as folder:
        os.chdir(folder)
        assert played(linux, "table maker", "T.DBF") == ""
        if not see_each_other("T.DBF"):
            print("Windows and Linux programs do not see each other's locks on this machine")
            return SKIPPED
        # Two Windows programs and two of this machine write at once.
        workers = [start(windows if who < 2 else linux, "worker", "T.DBF", str(who))
                   for who in range(4)]
        said = [worker.communicate(timeout=300)[0].strip() for worker in workers]
        print("records and changes:", said)
        assert [worker.returncode for worker in workers] == [0] * 4, said
        assert all(int(line.split()[0]) > 0 for line in said)
        for program in (windows, linux):
            print(played(program, "inspector", "T.DBF", *said))
    return 0


sys.exit(main())
