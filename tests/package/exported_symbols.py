#!/usr/bin/env python3
"""Holds the dynamic symbols of the installed shared libraries against the installed headers: what a library exports
is a class or function that a public header declares with NKR_EXPORT, and every such function of C is exported.

Usage: exported_symbols.py PREFIX
"""
import re
import subprocess
import sys
from pathlib import Path

ABOUT = re.compile(r"^(?:(?:vtable|VTT|typeinfo(?: name)?|guard variable|construction vtable) for |"
                   r"(?:non-virtual |virtual |covariant return )?thunk to )+")


def declared(headers):
    """The names that the headers export: of classes and of functions or objects, with their namespaces."""
    names = set()
    for header in headers:
        text = re.sub(r"/\*.*?\*/|//[^\n]*", "", header.read_text(), flags=re.S)
        namespace = re.search(r"^namespace ([\w:]+) \{(?!.*\n(?:class|struct) \w+;)", text, re.M)
        # A header may first forward-declare what belongs to another namespace: the last one opened is its own.
        opened = re.findall(r"^namespace ([\w:]+) \{", text, re.M)
        prefix = f"{opened[-1]}::" if namespace or opened else ""
        names.update(prefix + name for name in re.findall(r"^(?:class|struct) NKR_EXPORT (\w+)", text, re.M))
        for statement in re.findall(r"^(?:\[\[nodiscard\]\] |NKR_NODISCARD )?NKR_EXPORT (.*?);", text, re.S | re.M):
            name = re.search(r"(\w+)(?:\[\w*\])?$", statement.split("(")[0].strip())
            names.add(prefix + name.group(1))
    return names


def exported(library):
    """The symbols that a library defines for others, demangled."""
    listing = subprocess.run(["nm", "-D", "-C", "--defined-only", library], capture_output=True, text=True, check=True)
    return [line.split(" ", 2)[2] for line in listing.stdout.splitlines()]


def qualified_name(symbol):
    """`nkr::can::Frame::Frame` of `nkr::can::Frame::Frame(unsigned int, ...)`."""
    text = ABOUT.sub("", symbol).replace("[abi:cxx11]", "")
    depth, plain = 0, ""
    for sign in text.replace("(anonymous namespace)", "{anonymous}"):
        depth += (sign in "<(") - (sign in ">)")
        if depth == 0 and sign not in ">)":
            plain += sign
        if sign == "(" and depth == 1:
            break
    return plain.split(" ")[-1] if not plain.startswith("operator") else plain


def is_interface(symbol, names):
    parts = qualified_name(symbol).split("::")
    return any("::".join(parts[:length]) in names for length in range(1, len(parts) + 1))


def main():
    prefix = Path(sys.argv[1])
    names = declared(sorted((prefix / "include").rglob("*.h*")))
    libraries = sorted(path for path in prefix.glob("lib/**/*.so") if path.is_symlink())
    if len(libraries) < 8 or len(names) < 50:
        print(f"{len(libraries)} libraries and {len(names)} names: something is missing")
        return 1
    good, functions = True, set()
    for library in libraries:
        symbols = exported(library)
        functions.update(symbols)
        internals = sorted({symbol for symbol in symbols if not is_interface(symbol, names)})
        print(f"{library.name}: {len(symbols)} symbols")
        for symbol in internals:
            print(f"  internal: {symbol}")
            good = False
    for name in sorted(name for name in names if name.startswith("nkr_") and name not in functions):
        print(f"not exported: {name}")
        good = False
    return 0 if good else 1


sys.exit(main())
