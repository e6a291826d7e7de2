#!/usr/bin/env python3
"""Compares the entities Selvora100_64.dll exports, under Microsoft's decorated
names, with those libSelvora100_64.so exports, under the Itanium ABI's.

    compare_exports.py LIBSELVORA_SO SELVORA_DLL WINDOWS_ONLY_LIST

Both names are demangled (c++filt for Linux, llvm-undname for Windows) and
written in one form: the qualified name with its parameter types, "vtable
for" a class. Every entity of the Linux library must be in the DLL, except
the type information of the classes, which Microsoft's ABI does not export
(each module that needs a class's type descriptor makes its own). What the
DLL exports beyond Linux's list must be exactly the entities
WINDOWS_ONLY_LIST names. Exit status 0 when all holds.
"""

import re
import subprocess
import sys


def run(command, text_in=None):
    return subprocess.run(command, check=True, capture_output=True, text=True,
                          input=text_in).stdout


def split_top_level(text, separator=" "):
    """text split at separator outside <...> and (...)."""
    parts, depth, current = [], 0, ""
    for c in text:
        if c in "<(":
            depth += 1
        elif c in ">)":
            depth -= 1
        if c == separator and depth == 0:
            parts.append(current)
            current = ""
        else:
            current += c
    parts.append(current)
    return parts


def tidy_types(text):
    """One spelling of the types of both demanglers."""
    text = re.sub(r"\b(class|struct|enum|union) ", "", text)
    text = text.replace(" __ptr64", "").replace("__cdecl ", "")
    text = re.sub(r"\bunsigned __int64\b", "unsigned long", text)
    text = re.sub(r"\b__int64\b", "long", text)
    text = re.sub(r"\s+([*&])", r"\1", text)  # "char const *" -> "char const*"
    text = re.sub(r"([*&])(?=[^\s,)*&>])", r"\1 ", text)
    text = text.replace("(void)", "()")
    text = text.replace("std::__1::", "std::")
    # The C runtime's FILE is struct _iobuf on Windows and _IO_FILE on Linux.
    text = text.replace("_iobuf", "_IO_FILE")
    return re.sub(r"\s+", " ", text).strip()


def without_return_type(declaration):
    """A function's qualified name and parameters, its return type dropped."""
    words = split_top_level(declaration)
    # The name is the word that holds the parameter list; "operator new" and
    # the conversion operators keep the word before them.
    for i, word in enumerate(words):
        if "(" in word:
            if i > 0 and words[i - 1].endswith("operator"):
                return " ".join(words[i - 1:])
            return " ".join(words[i:])
    return declaration


def linux_entity(name):
    if name.startswith(("typeinfo for ", "typeinfo name for ")):
        return None  # see the module docstring
    if name.startswith("vtable for "):
        return tidy_types(name)
    return tidy_types(without_return_type(name))


def windows_entity(name):
    vftable = re.fullmatch(r"const (.*)::`vftable'", name)
    if vftable:
        return "vtable for " + tidy_types(vftable.group(1))
    name = re.sub(r"^(public|protected|private): ", "", name)
    name = re.sub(r"^(static|virtual) ", "", name)
    head, _, rest = name.partition("__cdecl ")
    name = tidy_types(rest if rest else without_return_type(head))
    # A class template's constructors and destructor repeat its arguments.
    return re.sub(r"^(\w+)(<.*>)::(~?)\1<.*>\(", r"\1\2::\3\1(", name)


def linux_exports(path):
    names = set()
    for line in run(["nm", "-D", "--defined-only", "-C", path]).splitlines():
        parts = line.split(" ", 2)
        if len(parts) == 3:
            entity = linux_entity(parts[2])
            if entity:
                names.add(entity)
    return names


def windows_exports(path):
    table = run(["llvm-readobj-16", "--coff-exports", path])
    mangled = re.findall(r"^\s*Name: (\S+)$", table, re.MULTILINE)
    demangled = run(["llvm-undname-16"], "\n".join(mangled) + "\n")
    # llvm-undname echoes each name, then writes the demangled one.
    lines = [line for line in demangled.splitlines() if line.strip()]
    names = {}
    for decorated, plain in zip(lines[0::2], lines[1::2]):
        names[windows_entity(plain)] = decorated
    return names


def listed(path):
    entries = set()
    for line in open(path, encoding="utf-8"):
        line = line.split("#", 1)[0].strip()
        if line:
            entries.add(line)
    return entries


def main():
    if len(sys.argv) != 4:
        print(__doc__, file=sys.stderr)
        return 2
    linux = linux_exports(sys.argv[1])
    windows = windows_exports(sys.argv[2])
    expected_extra = listed(sys.argv[3])
    missing = linux - windows.keys()
    extra = windows.keys() - linux
    ok = True
    for name in sorted(missing):
        print(f"missing from the DLL: {name}")
        ok = False
    for name in sorted(extra - expected_extra):
        print(f"exported by the DLL alone, not in {sys.argv[3]}: {name}  ({windows[name]})")
        ok = False
    for name in sorted(expected_extra - extra):
        print(f"listed in {sys.argv[3]} but not exported by the DLL alone: {name}")
        ok = False
    print(f"{len(linux)} entities exported on Linux (type information left out), "
          f"{len(windows)} by the DLL: {len(linux & windows.keys())} by both, "
          f"{len(extra)} by the DLL alone")
    return 0 if ok else 1


if __name__ == "__main__":
    sys.exit(main())
