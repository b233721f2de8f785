"""Runs every tavctl line of docs/ and README.md on a virtual drive, and looks at the form of ip and systemd lines.

    documented_commands.py TAVCTL TAV-DRIVE [PAGE...]

Lines count that stand in a block between ``` and begin with "tavctl". An interface (can0, virtual) is replaced by the bus of a virtual
drive. A line may end with 0 or with 1 (done, and something was found); what needs another device is named in OTHERS.
"""

import pathlib
import re
import shlex
import subprocess
import sys
import tempfile
import time

ROOT = pathlib.Path(__file__).resolve().parents[2]
# Lines that show something else than a command to be run here.
OTHERS = (
    re.compile(r"^tavctl: "),  # what the tool says
    re.compile(r" group | drive | cycle-test | live| record | replay "),  # need other drives or interfaces
    re.compile(r"--scenario"),  # the drive beside plays none
    re.compile(r"trace decode candump-|\| tavctl| trace decode [A-Z]"),  # a log of the reader's own
)
LINK = re.compile(
    r"ip( -\w+)* link( show( \w+)?| set \w+ (down|txqueuelen \d+|up( type can bitrate \d+( restart-ms \d+)?)?))?"
)
NETWORK_KEYS = {"Match": {"Name"}, "CAN": {"BitRate", "RestartSec", "SamplePoint"}}


def blocks(page):
    return re.findall(r"^```\n(.*?)^```$", page.read_text(), re.MULTILINE | re.DOTALL)


def command_lines(page):
    for block in blocks(page):
        for line in block.splitlines():
            if line.startswith("tavctl ") and not any(other.search(line) for other in OTHERS):
                yield line.split("#")[0].strip()


def run(line, tavctl, bus, folder):
    words = shlex.split(line)[1:]
    words = [bus if words[i - 1] in ("--bus", "-b") and i > 0 else word for i, word in enumerate(words)]
    done = subprocess.run(
        [tavctl, "--config", str(ROOT / "share/tav/tav.ini"), *words],
        cwd=folder, capture_output=True, text=True, timeout=120, check=False,
    )
    return done.returncode, done.stdout + done.stderr


def check_commands(pages, tavctl, drive):
    faults = []
    count = 0
    for page in pages:
        with tempfile.TemporaryDirectory() as folder:
            # The shipped configuration names its description relative to the repository.
            pathlib.Path(folder, "share").symlink_to(ROOT / "share")
            bus = f"unix:{folder}/bus"
            device = subprocess.Popen(
                [drive, "--bus", bus, "--config", "share/tav/tav.ini"],
                cwd=folder, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
            )
            try:
                for said in device.stdout:
                    if " is on " in said:
                        break
                for line in command_lines(page):
                    code, said = run(line, tavctl, bus, folder)
                    count += 1
                    if code not in (0, 1):
                        faults.append(f"{page.relative_to(ROOT)}: {line}\n  exit code {code}: {said}")
            finally:
                device.terminate()
                device.wait()
    print(f"{count} commands of {len(pages)} pages")
    return faults


def check_forms(pages):
    faults = []
    for page in pages:
        for block in blocks(page):
            section = None
            for line in block.splitlines():
                if line.startswith("ip ") and not LINK.fullmatch(line):
                    faults.append(f"{page.name}: no ip command: {line}")
                if re.fullmatch(r"\[(Match|CAN)\]", line):
                    section = line[1:-1]
                elif section and "=" in line and line.split("=")[0] not in NETWORK_KEYS[section]:
                    faults.append(f"{page.name}: systemd.network has no such key in [{section}]: {line}")
    return faults


def main():
    tavctl, drive, *named = sys.argv[1:]
    pages = [ROOT / name for name in named] or [ROOT / "README.md", *sorted((ROOT / "docs").glob("*.md"))]
    faults = check_forms(pages) + check_commands(pages, str(pathlib.Path(tavctl).resolve()), str(pathlib.Path(drive).resolve()))
    print("\n".join(faults))
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
