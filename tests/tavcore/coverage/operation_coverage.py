#!/usr/bin/env python3
"""Lists every operation of the service interfaces with its tests of success, first failure, repeat and guard.

usage: operation_coverage.py INCLUDE_DIR OUTPUT TEST_PROGRAM...

Writes the list to OUTPUT and fails when an operation lacks a test. The operations are taken from the public
headers, the tests from the test programs themselves (--gtest_list_tests): nothing here is kept by hand.
"""
import argparse
import re
import subprocess
import sys
from pathlib import Path

INTERFACES = [
    "IDiagnosticService", "IInternalService", "INMTService", "IEMCYService", "IPDSService", "ISafeMotionService",
    "ICommunicationService", "IManufacturerService", "IVelocityModeService", "ISRDOService",
]
TESTS = {
    "success": "SucceedsWithItsAccessesInOrder",
    "first failure": "AnswersTheSecondCodeOfTheAccessThatFailedTwice",
    "repeat": "EndsWithTheRepeatOfTheAccessThatFailedOnce",
    "guard": "BeforeInitIsRefusedOrNeedsNoDescription",
}


def operations(include: Path, interface: str) -> list[str]:
    text = (include / "tavcore" / f"{interface}.hpp").read_text(encoding="utf-8")
    return re.findall(r"virtual nkr_error_t (\w+)\(", text)


def rows_by_test(programs: list[str]) -> dict[str, set[str]]:
    """Which rows (operation, or operation_variant) each test runs over."""
    rows: dict[str, set[str]] = {name: set() for name in TESTS.values()}
    for program in programs:
        listed = subprocess.run([program, "--gtest_list_tests"], capture_output=True, text=True, check=True)
        for test, row in re.findall(r"^  (\w+)/(\w+)", listed.stdout, re.MULTILINE):
            if test in rows:
                rows[test].add(row)
    return rows


def covers(row: str, operation: str) -> bool:
    return row == operation or row.startswith(operation + "_")


def main() -> int:
    parser = argparse.ArgumentParser()
    parser.add_argument("include", type=Path)
    parser.add_argument("output", type=Path)
    parser.add_argument("programs", nargs="+")
    arguments = parser.parse_args()
    rows = rows_by_test(arguments.programs)
    lines = []
    missing = []
    for interface in INTERFACES:
        found = operations(arguments.include, interface)
        if not found:
            missing.append(f"{interface}: no operations found in its header")
        for operation in found:
            tested = {kind: sorted(r for r in rows[test] if covers(r, operation)) for kind, test in TESTS.items()}
            lacking = [kind for kind, names in tested.items() if not names]
            if lacking:
                missing.append(f"{interface}::{operation}: no test of {', '.join(lacking)}")
            variants = ", ".join(tested["success"]) or "-"
            lines.append(f"{interface}::{operation}: {', '.join(k for k in TESTS if tested[k])} ({variants})")
    arguments.output.write_text("\n".join(lines) + "\n", encoding="utf-8")
    print(f"{len(lines)} operations, {len(missing)} without a test; list in {arguments.output}")
    for line in missing:
        print(line)
    return 1 if missing else 0


if __name__ == "__main__":
    sys.exit(main())
