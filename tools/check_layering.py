#!/usr/bin/env python3
"""Checks that the library's subsystems include each other only downwards.

The subsystems are the folders of src/ and include/selvora/, in layers:

    kernel < foundation < geometry, tessellation, image, net < module

A file of one subsystem may include the headers of a subsystem of a lower
layer only (and its own). Prints the graph of folders, each edge with how many
includes make it, and every include that breaks the rule; exits 1 if any does.

    tools/check_layering.py [ROOT]
"""

import os
import re
import sys
from collections import defaultdict

LAYERS = {
    "kernel": 0,
    "foundation": 1,
    "geometry": 2,
    "tessellation": 2,
    "image": 2,
    "net": 2,
    "module": 3,
}
INCLUDE = re.compile(r'\s*#\s*include\s*[<"]([^">]+)[">]')
SOURCE = re.compile(r"\.(h|hpp|c|cpp)$")


def included_subsystem(path):
    """The subsystem a quoted include names: "selvora/<sub>/..." (a public
    header) or "<sub>/..." (an internal one), else None."""
    parts = path.split("/")
    if len(parts) > 2 and parts[0] == "selvora" and parts[1] in LAYERS:
        return parts[1]
    if len(parts) > 1 and parts[0] in LAYERS:
        return parts[0]
    return None


def includes(root):
    """(subsystem, file, included subsystem, include) for every include across
    subsystems."""
    for base in ("src", os.path.join("include", "selvora")):
        for subsystem in LAYERS:
            folder = os.path.join(root, base, subsystem)
            for directory, _, names in os.walk(folder):
                for name in sorted(names):
                    if not SOURCE.search(name):
                        continue
                    path = os.path.join(directory, name)
                    with open(path, encoding="utf-8", errors="replace") as f:
                        for line in f:
                            match = INCLUDE.match(line)
                            target = match and included_subsystem(match.group(1))
                            if target and target != subsystem:
                                yield subsystem, os.path.relpath(path, root), target, match.group(1)


def main():
    root = sys.argv[1] if len(sys.argv) > 1 else os.path.join(os.path.dirname(__file__), "..")
    edges = defaultdict(int)
    wrong = []
    for subsystem, path, target, include in includes(root):
        edges[(subsystem, target)] += 1
        if LAYERS[target] >= LAYERS[subsystem]:
            wrong.append(f"{path}: includes {include} ({subsystem} -> {target})")
    print("subsystem folders, by includes (layer: kernel 0, foundation 1, "
          "geometry/tessellation/image/net 2, module 3):")
    for (subsystem, target), count in sorted(edges.items(),
                                             key=lambda e: (LAYERS[e[0][0]], e[0])):
        mark = "" if LAYERS[target] < LAYERS[subsystem] else "   <- against the layering"
        print(f"  {subsystem} -> {target}: {count}{mark}")
    if wrong:
        print(f"{len(wrong)} includes against the layering:")
        for line in wrong:
            print("  " + line)
        return 1
    print("no include against the layering")
    return 0


if __name__ == "__main__":
    sys.exit(main())
