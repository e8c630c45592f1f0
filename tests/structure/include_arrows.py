#!/usr/bin/env python3
"""Checks that no include runs against the order of the folders.

The folders stand in a row, and an includer is always further right than what it includes; the
library and the platform include nothing but each other, the C++ standard library and POSIX.

  include_arrows.py ROOT    names every include under ROOT that breaks this, and fails if any does
"""

import pathlib
import re
import sys

# The row, from left to right. Folders in one group do not know each other.
ROW = [
    {"platform/kel"},
    {"platform/dov"},
    {"platform/wib"},
    {"platform/kelo"},
    {"platform/pekt"},
    {"platform/glim"},
    {"platform/interface"},
    {"platform/qos"},
    {"platform/bridging"},
    {"platform/oru"},
    {"counters/pollers"},
    {"counters/copp", "counters/vlan"},
    {"counters"},
    {"tester"},
]
# Of the library, a chip knows the contract that it fulfils and the records in it, and no more.
CHIPS = {"hardware/simulated", "hardware/linux"}
CHIP_CONTRACT = re.compile(r"counters/(pollers|vlan)/(\w*helper|counter_records)\.h")
# Programs; what stands outside all of this (tests, bench) may include anything.
PROGRAMS = {"agent", "reader"}

# Beyond the C++ standard library's own headers, which are the ones without a suffix.
SYSTEM_HEADERS = {
    # C's, which are part of the C++ standard library too.
    "assert.h", "ctype.h", "errno.h", "float.h", "inttypes.h", "limits.h", "math.h", "stdarg.h",
    "stddef.h", "stdint.h", "stdio.h", "stdlib.h", "string.h", "time.h",
    # POSIX
    "fcntl.h", "poll.h", "pthread.h", "pwd.h", "sched.h", "signal.h", "sys/mman.h", "sys/select.h",
    "sys/socket.h", "sys/stat.h", "sys/statvfs.h", "sys/time.h", "sys/types.h", "sys/uio.h",
    "sys/un.h", "sys/wait.h", "unistd.h",
    # Not POSIX, but of the same C library: locks on files, and which file system a file is on.
    "sys/file.h", "sys/statfs.h", "sys/vfs.h",
    # Readable type names.
    "cxxabi.h",
}

INCLUDE = re.compile(r'^\s*#\s*include\s*([<"])([^>"]+)[>"]')
PLACE = {folder: place for place, group in enumerate(ROW) for folder in group}


def room(path):
    """The folder of the table that the file PATH (from the root) stands in, or None."""
    for folder in (path.parent, *path.parent.parents):
        name = folder.as_posix()
        if name in PLACE or name in CHIPS or name in PROGRAMS:
            return name
    return None


def objection(includer, included):
    """Why the room INCLUDER may not include the file INCLUDED, or None when it may."""
    target = room(included)
    if includer is None or target == includer:
        return None
    if target is None:
        return "is not one of the folders that programs and libraries are made of"
    if includer in PLACE:
        if target not in PLACE:
            return f"{target} is further right"
        if PLACE[target] == PLACE[includer]:
            return f"{target} stands beside {includer}, and they do not know each other"
        return None if PLACE[target] < PLACE[includer] else f"{target} is further right"
    if includer in CHIPS:
        if target.startswith("platform/") or CHIP_CONTRACT.fullmatch(included.as_posix()):
            return None
        return "a chip knows the platform and the helpers' contract only"
    if includer == "reader":
        return None if target.startswith("platform/") else "the reader knows the platform only"
    return None if target != "reader" else "the agent does not know the reader"


def sources(root):
    for top in ("platform", "counters", "tester", "hardware", "agent", "reader", "tests", "bench"):
        for path in sorted((root / top).rglob("*")):
            if path.suffix in (".h", ".cc"):
                yield path


def check(root):
    """Every breach under ROOT as a line of text."""
    breaches = []
    for path in sources(root):
        name = path.relative_to(root)
        includer = room(name)
        for number, line in enumerate(path.read_text(encoding="utf-8").splitlines(), 1):
            found = INCLUDE.match(line)
            if not found:
                continue
            kind, target = found.groups()
            why = None
            if kind == "<":
                outside = "." in target or "/" in target
                if includer in PLACE and outside and target not in SYSTEM_HEADERS:
                    why = "neither the C++ standard library nor POSIX"
            elif not (root / target).is_file():
                why = "no such file below the root, where includes start"
            else:
                why = objection(includer, pathlib.PurePosixPath(target))
            if why:
                breaches.append(f"{name}:{number}: includes {target}: {why}")
    return breaches


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    root = pathlib.Path(sys.argv[1])
    if not any(sources(root)):
        sys.exit(f"no sources under {root}")
    breaches = check(root)
    for breach in breaches:
        print(breach)
    sys.exit(1 if breaches else 0)


if __name__ == "__main__":
    main()
