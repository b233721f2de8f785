#!/usr/bin/env python3
"""Installs a build by its components and looks at what each holds: runtime what a program needs to run, development
what a compiler needs, and both together what a whole installation holds.

Usage: install_components.py CMAKE BUILD WHOLE_PREFIX
"""
import subprocess
import sys
import tempfile
from pathlib import Path


def installed(cmake, build, component):
    with tempfile.TemporaryDirectory() as prefix:
        subprocess.run([cmake, "--install", build, "--prefix", prefix, "--component", component], check=True,
                       stdout=subprocess.DEVNULL)
        return files(prefix)


def files(prefix):
    return {str(path.relative_to(prefix)) for path in Path(prefix).rglob("*") if not path.is_dir()}


def main():
    cmake, build, whole = sys.argv[1:]
    runtime = installed(cmake, build, "runtime")
    development = installed(cmake, build, "development")
    everything = files(whole)
    faults = [f"in both components: {name}" for name in sorted(runtime & development)]
    faults += [f"in no component: {name}" for name in sorted(everything - runtime - development)]
    faults += [f"for development, and in runtime: {name}" for name in sorted(runtime)
               if name.endswith((".h", ".hpp", ".a", ".pc", ".cmake", ".so"))]
    faults += [f"for running, and in development: {name}" for name in sorted(development)
               if name.startswith(("bin/", "share/")) or ".so." in name]
    if "share/tav/tav.eds" not in runtime or "include/tavcore/Controller.hpp" not in development:
        faults.append("something is missing")
    print("\n".join(faults))
    return 1 if faults else 0


sys.exit(main())
