#!/usr/bin/env python3
"""Runs the same-bits battery built for Linux and for Windows (under Wine) and
compares their results line by line, bit for bit.

    compare.py LINUX_PROGRAM WINDOWS_PROGRAM DATA_DIR [--wine PATH]

Every result must be the same on both platforms: the library's arithmetic is
IEEE double arithmetic without contraction, and its trigonometric functions
are its own, correctly rounded. Exit status 0 when all agree.
"""

import argparse
import os
import subprocess
import sys


def results(command, env=None):
    out = subprocess.run(command, check=True, capture_output=True, text=True, env=env).stdout
    lines = {}
    for line in out.splitlines():
        line = line.rstrip("\r")
        name, colon, value = line.partition(":")
        if not colon:
            raise SystemExit(f"not a result: {line!r}")
        if name in lines:
            raise SystemExit(f"result named twice: {name}")
        lines[name] = value.strip()
    return lines


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("linux")
    parser.add_argument("windows")
    parser.add_argument("data")
    parser.add_argument("--wine", default="/usr/lib/wine/wine64")
    args = parser.parse_args()

    env = dict(os.environ, WINEDEBUG="-all")
    linux = results([args.linux, args.data])
    windows = results([args.wine, args.windows, args.data], env)

    failed = False
    if linux.keys() != windows.keys():
        for name in sorted(linux.keys() - windows.keys()):
            print(f"only on Linux: {name}")
        for name in sorted(windows.keys() - linux.keys()):
            print(f"only on Windows: {name}")
        failed = True
    differing = sorted(n for n in linux.keys() & windows.keys() if linux[n] != windows[n])
    for name in differing:
        print(f"DIFFERS: {name}\n  Linux:   {linux[name]}\n  Windows: {windows[name]}")
        failed = True
    print(f"{len(linux)} results compared, {len(linux) - len(differing)} the same, "
          f"{len(differing)} different")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
