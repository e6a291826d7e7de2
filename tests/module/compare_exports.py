#!/usr/bin/env python3
"""Compares the entities Selvora100_64.dll exports with those libSelvora100_64.so
exports, demangled.

    compare_exports.py LIBSELVORA_SO SELVORA_DLL

Both lists must hold the same entities. Exit status 0 when they do.
"""

import subprocess
import sys


def run(command, text_in=None):
    return subprocess.run(command, check=True, capture_output=True, text=True,
                          input=text_in).stdout


def linux_exports(path):
    names = set()
    for line in run(["nm", "-D", "--defined-only", "-C", path]).splitlines():
        parts = line.split(" ", 2)
        if len(parts) == 3:
            names.add(parts[2])
    return names


def windows_exports(path):
    mangled = []
    table = False
    for line in run(["x86_64-w64-mingw32-objdump", "-p", path]).splitlines():
        if line.startswith("[Ordinal/Name Pointer] Table"):
            table = True
        elif table and line.startswith("\t["):
            mangled.append(line.split()[-1])
        elif table:
            table = False
    demangled = run(["x86_64-w64-mingw32-c++filt"], "\n".join(mangled) + "\n").splitlines()
    # The C runtime's FILE is struct _iobuf on Windows and struct _IO_FILE on Linux.
    return {name.replace("_iobuf", "_IO_FILE") for name in demangled if name}


def main():
    if len(sys.argv) != 3:
        print(__doc__, file=sys.stderr)
        return 2
    linux = linux_exports(sys.argv[1])
    windows = windows_exports(sys.argv[2])
    for side, only in (("Linux", linux - windows), ("Windows", windows - linux)):
        for name in sorted(only):
            print(f"only on {side}: {name}")
    print(f"{len(linux)} entities exported on Linux, {len(windows)} on Windows, "
          f"{len(linux & windows)} by both")
    return 0 if linux == windows else 1


if __name__ == "__main__":
    sys.exit(main())
