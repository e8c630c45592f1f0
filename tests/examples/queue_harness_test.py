#!/usr/bin/env python3
"""examples/queue_harness from outside: installs the build into a new folder, builds the example against
what lies there, and runs it."""

import argparse
import pathlib
import subprocess
import sys
import tempfile

EXPECTED = """\
increments of 3 hours:             queue 0    18000 pkts, queue 9    36000 pkts  as expected
an hour later, in all:             queue 0    18007 pkts, queue 9    36014 pkts  as expected
an hour later, since the clear:    queue 0        7 pkts, queue 9       14 pkts  as expected
absolute counts, in all:           queue 0    20000 pkts, queue 9    40000 pkts  as expected
absolute counts, since the clear:  queue 0     2000 pkts, queue 9     4000 pkts  as expected
"""


def run(*command):
    done = subprocess.run(command, capture_output=True, text=True, check=False)
    if done.returncode != 0:
        sys.exit(f"{' '.join(map(str, command))}: exit {done.returncode}\n{done.stdout}{done.stderr}")
    return done.stdout


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    for option in ("cmake", "compiler", "flags", "build", "example"):
        parser.add_argument(f"--{option}", required=True)
    args = parser.parse_args()
    with tempfile.TemporaryDirectory(prefix="oru-example-") as folder:
        installed, built = pathlib.Path(folder, "installed"), pathlib.Path(folder, "built")
        for component in ("programs", "development"):
            run(args.cmake, "--install", args.build, "--prefix", installed, "--component", component)
        moved = pathlib.Path(folder, "moved")  # a package may be moved after it was installed
        installed.rename(moved)
        # Hidden symbols: what there is one of in a process must be so for this program too.
        for flags in ("", "-fvisibility=hidden -fvisibility-inlines-hidden"):
            run(args.cmake, "-S", args.example, "-B", built, f"-DCMAKE_PREFIX_PATH={moved}",
                f"-DCMAKE_CXX_COMPILER={args.compiler}",
                f"-DCMAKE_CXX_FLAGS=-Wall -Wextra -Wpedantic -Werror {args.flags} {flags}")
            run(args.cmake, "--build", built)
            said = run(built / "queue_harness")
            if said != EXPECTED:
                sys.exit(f"with {flags!r} it said:\n{said}where this was expected:\n{EXPECTED}")
    lines = len(pathlib.Path(args.example, "queue_harness.cc").read_text(encoding="utf-8").splitlines())
    if lines >= 100:
        sys.exit(f"an example has less than a hundred lines, not {lines}")


if __name__ == "__main__":
    main()
