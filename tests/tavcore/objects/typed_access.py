#!/usr/bin/env python3
"""Compiles typed_access.cpp case by case: the right types compile, every wrong one does not, and for that reason alone.

Usage: typed_access.py COMPILER SOURCE INCLUDE_DIR...
"""
import re
import subprocess
import sys

REASONS = re.compile(r"cannot bind|no matching (member )?function|the object holds values of another type")
NO_CASE = "no such case"


def compile_case(compiler, source, flags, number):
    run = subprocess.run([compiler, "-std=c++17", "-fsyntax-only", f"-DCASE={number}", *flags, source],
                         capture_output=True, text=True, check=False, env={"LC_ALL": "C", "PATH": "/usr/bin:/bin"})
    return run.returncode == 0, run.stderr


def main():
    compiler, source, *includes = sys.argv[1:]
    flags = [f"-I{path}" for path in includes]
    compiles, messages = compile_case(compiler, source, flags, 0)
    if not compiles:
        print(f"the right types do not compile:\n{messages}")
        return 1
    number = 1
    good = True
    while True:
        compiles, messages = compile_case(compiler, source, flags, number)
        if NO_CASE in messages:
            break
        if compiles or not REASONS.search(messages):
            print(f"case {number} {'compiles' if compiles else 'fails for another reason'}:\n{messages}")
            good = False
        number += 1
    print(f"{number - 1} wrong types refused")
    return 0 if good and number > 1 else 1


sys.exit(main())
