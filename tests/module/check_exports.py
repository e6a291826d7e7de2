#!/usr/bin/env python3
"""Checks the shared library's dynamic symbol table against its API.

Every defined dynamic symbol must belong to what the public headers export:
a member, virtual table or type information of a class marked SELVORA_API,
or a free function or operator marked SELVORA_API (or SELVORA_INLINE_API). The C++ standard
library's template instantiations, which compilers export as weak symbols
each its own set, must stay local (src/module/exports.map). Nothing of the
triangulator compiled into the library may show, and the library must not
depend on a triangulator library.

    check_exports.py LIBRARY INCLUDE_DIR
"""
import pathlib
import re
import subprocess
import sys


def api_names(include_dir):
    classes, functions = set(), set()
    for header in pathlib.Path(include_dir).rglob("*.h"):
        text = header.read_text(encoding="utf-8")
        classes.update(re.findall(r"\b(?:class|struct)\s+SELVORA_API\s+(\w+)", text))
        for declaration in re.findall(r"SELVORA_(?:INLINE_)?API\s+([^;{]*?)\(", text):
            name = re.findall(r"(operator\s*\S+|\w+)\s*$", declaration)
            if name and not declaration.lstrip().startswith(("class", "struct")):
                functions.add(name[0].replace(" ", ""))
    return classes, functions


def exported(library):
    lines = subprocess.run(["nm", "-D", "--defined-only", library], check=True,
                           capture_output=True, text=True).stdout.splitlines()
    symbols = [line.split()[-2:] for line in lines if len(line.split()) >= 2]
    names = subprocess.run(["c++filt"], input="\n".join(s[1] for s in symbols), check=True,
                           capture_output=True, text=True).stdout.splitlines()
    return [(kind, mangled, name) for (kind, mangled), name in zip(symbols, names)]


def owner(name):
    """The class or function a demangled name belongs to."""
    name = re.sub(r"^(vtable|typeinfo name|typeinfo|VTT|construction vtable) for ", "", name)
    depth, head = 0, ""
    for i, c in enumerate(name):
        if c == "<":
            depth += 1
        elif c == ">":
            depth -= 1
        elif depth == 0 and (c == "(" or name.startswith("::", i)):
            break
        head += c
    head = re.sub(r"<.*>$", "", head.strip())
    # A function template's name comes after its return type.
    if " " in head and "operator" not in head:
        head = head.rsplit(" ", 1)[1]
    return head


def is_standard_library(name):
    """True for a function or object of the C++ standard library's namespaces."""
    bare = name
    while True:  # template arguments out, innermost first
        shorter = re.sub(r"<[^<>]*>", "", bare)
        if shorter == bare:
            break
        bare = shorter
    head = bare.split("(")[0]
    head = re.sub(r"^(vtable|typeinfo name|typeinfo|guard variable) for ", "", head)
    if re.fullmatch(r"operator (new|delete)(\[\])?", head.strip()):
        return True  # the placement forms of <new>
    return re.search(r"(^|\s)(std|__gnu_cxx|__cxxabiv1)::", head) is not None


def main(library, include_dir):
    classes, functions = api_names(include_dir)
    if not classes or not functions:
        sys.exit(f"no exported declarations found under {include_dir}")
    strays = []
    for kind, mangled, name in exported(library):
        if not mangled.startswith("_Z"):
            strays.append(f"{kind} {mangled} (a C name)")
            continue
        base = owner(name)
        if base in classes or base in functions:
            continue
        if base.startswith("operator") and any(re.search(rf"\b{c}\b", name) for c in classes):
            continue
        if is_standard_library(name):
            strays.append(f"{kind} {name} (the standard library's, to be kept local)")
            continue
        strays.append(f"{kind} {name}")
    needed = subprocess.run(["readelf", "-d", library], check=True, capture_output=True,
                            text=True).stdout
    for line in needed.splitlines():
        if "NEEDED" in line and "triangle" in line.lower():
            strays.append(f"depends on {line.split()[-1]}")
    if strays:
        print("exported but not part of the API:")
        print("\n".join(f"  {s}" for s in strays))
        sys.exit(1)
    print(f"{library}: every exported symbol belongs to the API "
          f"({len(classes)} classes, {len(functions)} free functions and operators)")


if __name__ == "__main__":
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    main(sys.argv[1], sys.argv[2])
