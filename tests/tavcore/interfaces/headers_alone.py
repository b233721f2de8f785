#!/usr/bin/env python3
"""Compiles each public header alone; the C headers as C too.

Usage: headers_alone.py CXX_COMPILER C_COMPILER INCLUDE_DIR...
"""
import subprocess
import sys
from pathlib import Path


def compiles(compiler, language, header, flags):
    run = subprocess.run([*compiler.split(), "-x", language, "-fsyntax-only", "-Wall", "-Wextra", "-Wpedantic",
                          "-Werror", *flags, "-"],
                         input=f"#include <{header}>\nextern int not_empty;\n", text=True, capture_output=True)
    if run.returncode != 0:
        print(f"{header} does not compile alone as {language}:\n{run.stderr}")
    return run.returncode == 0


def main():
    cxx, cc, *includes = sys.argv[1:]
    flags = [f"-I{path}" for path in includes]
    headers = [(path.relative_to(folder), path.suffix) for folder in map(Path, includes)
               for path in sorted(folder.rglob("*.h*"))]
    if not any(suffix == ".hpp" for _, suffix in headers) or not any(suffix == ".h" for _, suffix in headers):
        print("no headers found")
        return 1
    good = True
    for header, suffix in headers:
        good &= compiles(cxx, "c++", header, ["-std=c++17", *flags])
        if suffix == ".h":
            good &= compiles(cc, "c", header, ["-std=c99", *flags])
    print(f"{len(headers)} headers")
    return 0 if good else 1


sys.exit(main())
