#!/usr/bin/python3
"""What holds for the source tree as a whole."""

import pathlib
import re
import subprocess
import tempfile
import textwrap
import unittest

import include_rules

ROOT = pathlib.Path(__file__).resolve().parents[2]
SOURCES = {".c", ".cpp"}


def named_in_build_lists():
    """Every path that some CMakeLists.txt names, resolved from the folder of the list."""
    named = set()
    for lists in ROOT.rglob("CMakeLists.txt"):
        if (ROOT / "build") in lists.parents:
            continue
        for word in re.findall(r"[^\s()\"]+\.c(?:pp)?\b", lists.read_text()):
            word = word.replace("${PROJECT_SOURCE_DIR}", str(ROOT)).replace("${CMAKE_CURRENT_SOURCE_DIR}/", "")
            named.add((lists.parent / word).resolve())
    return named


# What waits in these folders lives in the caller's time; what stands at the kernel's door lives in the system's.
TIMED = ("src", "canopen/can/src", "canopen/client/src", "host/src", "drive/src")
SYSTEMS_TIME = ("canopen/can/src/system", "canopen/can/src/unix", "canopen/can/src/socketcan")
SYSTEMS_CLOCK = re.compile(r"clock::now|\bClock::now|std::condition_variable|this_thread::sleep|std::thread\b|std::async")


def uses_of_the_systems_clock(root):
    found = []
    for folder in TIMED:
        for path in sorted(pathlib.Path(root, folder).rglob("*.[ch]pp")):
            relative = path.relative_to(root).as_posix()
            if not relative.startswith(SYSTEMS_TIME):
                found += [f"{relative}: {line.strip()}" for line in path.read_text().splitlines() if SYSTEMS_CLOCK.search(line)]
    return found


class Time(unittest.TestCase):
    def test_is_asked_of_the_time_library_alone(self):
        self.assertEqual(uses_of_the_systems_clock(ROOT), [])

    def test_a_use_of_the_systems_clock_is_found(self):
        with tempfile.TemporaryDirectory() as root:
            file = pathlib.Path(root, "host/src/unit/A.cpp")
            file.parent.mkdir(parents=True)
            file.write_text("const auto now = std::chrono::steady_clock::now();\nstd::this_thread::sleep_for(wait);\n")
            self.assertEqual(len(uses_of_the_systems_clock(root)), 2)


class IncludeRules(unittest.TestCase):
    def planted(self, path, text):
        with tempfile.TemporaryDirectory() as root:
            file = pathlib.Path(root, path)
            file.parent.mkdir(parents=True)
            file.write_text(text)
            return include_rules.violations(root)

    def test_hold_over_the_whole_tree(self):
        self.assertEqual(include_rules.violations(ROOT), [])

    def test_cover_every_library(self):
        libraries = set()
        for folder in include_rules.FOLDERS:
            for lists in (ROOT / folder).rglob("CMakeLists.txt"):
                libraries.update(re.findall(r"tav_library\((\S+)", lists.read_text()))
        self.assertEqual(libraries, set(include_rules.MAY_INCLUDE))

    def test_refuse_an_arrow_that_is_not_drawn(self):
        planted = {
            "src/A.cpp": "#include <nkr/can/Bus.hpp>\n",
            "include/tavcore/A.hpp": "#include <nkr/canopen/Client.hpp>\n",
            "drive/src/A.cpp": "#include <nkr/cia402.h>\n",
            "canopen/can/src/A.cpp": "#include <nkr/log.h>\n",
            "canopen/client/src/A.cpp": "  #  include <nkr/tools/EDSParser.hpp>\n",
            "platform/tools/src/A.cpp": "#include <nkr/log_setup.h>\n",
            "platform/error/src/A.cpp": '#include "../../log/src/Sink.hpp"\n',
            "platform/log/src/A.cpp": "#include <boost/asio.hpp>\n",
        }
        for path, text in planted.items():
            with self.subTest(path):
                self.assertEqual(len(self.planted(path, text)), 1)

    def test_allow_what_is_drawn(self):
        text = "#include <nkr/log.h>\n#include <vector>\n#include <sys/socket.h>\n"
        self.assertEqual(self.planted("src/A.cpp", text), [])


class Rooms(unittest.TestCase):
    TABLES = {"drive/src": {"base": set(), "wing": {"base"}, include_rules.BESIDE: {"base", "wing"}}}

    def planted(self, tables=None, **files):
        """Violations in a tree with such files: room__File="what it includes"."""
        with tempfile.TemporaryDirectory() as root:
            for name, included in files.items():
                file = pathlib.Path(root, "drive/src", name.replace("__", "/") + ".hpp")
                file.parent.mkdir(parents=True, exist_ok=True)
                file.write_text(f'#include "{included}"\n' if included else "")
            return include_rules.room_violations(root, tables or self.TABLES)

    def test_hold_over_the_whole_tree(self):
        self.assertEqual(include_rules.room_violations(ROOT, include_rules.ROOMS), [])

    def test_are_there(self):
        for folder, rooms in include_rules.ROOMS.items():
            for room in rooms:
                with self.subTest(f"{folder}/{room}"):
                    self.assertTrue((ROOT / folder / room).is_dir())

    def test_allow_the_arrows_of_the_table(self):
        self.assertEqual(self.planted(Top="wing/W.hpp", wing__W="base/B.hpp", base__B="C.hpp", base__C=""), [])

    def test_find_an_arrow_back(self):
        for included in ("wing/W.hpp", "../wing/W.hpp", "../../src/wing/W.hpp"):
            with self.subTest(included):
                found = self.planted(wing__W="base/B.hpp", base__B=included)
                self.assertEqual(found, [f"drive/src/base/B.hpp: room base must not know room wing ({included})"])

    def test_find_an_arrow_to_the_files_beside(self):
        self.assertEqual(len(self.planted(Top="", wing__W="Top.hpp")), 1)
        self.assertEqual(len(self.planted(Top="", wing__W="../Top.hpp")), 1)

    def test_find_a_room_without_a_row(self):
        self.assertEqual(len(self.planted(attic__A="base/B.hpp")), 1)

    def test_refuse_a_table_that_draws_a_circle(self):
        table = {"a": {"b"}, "b": {"c"}, "c": {"a"}, "d": {"a"}}
        self.assertEqual(
            self.planted({"drive/src": table}), ["drive/src: rooms know each other round about: a b c d"]
        )


class BuildLists(unittest.TestCase):
    def missing(self, *folders):
        named = named_in_build_lists()
        sources = [path for folder in folders for path in (ROOT / folder).rglob("*.c*")]
        return [str(path.relative_to(ROOT)) for path in sources if path.suffix in SOURCES and path not in named]

    def test_name_every_test(self):
        self.assertEqual(self.missing("tests"), [])

    def test_name_every_source_of_the_product(self):
        self.assertEqual(self.missing("platform", "src", "canopen", "drive", "tavctl", "examples", "bench"), [])


class Readme(unittest.TestCase):
    def test_shows_the_example_as_it_is_built(self):
        example = (ROOT / "examples" / "first_program.cpp").read_text()
        shown = re.search(r"  // README: begin\n(.*?)  // README: end\n", example, re.DOTALL).group(1)
        self.assertIn("```cpp\n" + textwrap.dedent(shown) + "```\n", (ROOT / "README.md").read_text())

    def test_has_pages_that_show_an_example_as_it_is_built(self):
        example = (ROOT / "examples" / "virtual_time.cpp").read_text()
        marked = r"// virtual-drive.md: begin\n(.*?)// virtual-drive.md: end\n"
        shown = re.search(marked, example, re.DOTALL).group(1)
        self.assertIn("```cpp\n" + shown + "```\n", (ROOT / "docs" / "virtual-drive.md").read_text())

    def test_links_to_files_that_exist(self):
        for page in (*ROOT.glob("*.md"), *ROOT.glob("docs/*.md")):
            for link in re.findall(r"\]\(([^)#:]+)\)", page.read_text()):
                with self.subTest(f"{page.name}: {link}"):
                    self.assertTrue((page.parent / link).exists())


class Scripts(unittest.TestCase):
    def test_say_how_they_are_used(self):
        scripts = ("test", "tests/system/can-vm", "tests/repository/check-style", "docs/reference/build",
                   "packaging/abi/compare")
        for script in scripts:
            with self.subTest(script):
                done = subprocess.run([ROOT / script, "--help"], capture_output=True, text=True, check=False)
                self.assertEqual(done.returncode, 0)
                self.assertIn("--", done.stdout)


if __name__ == "__main__":
    unittest.main()
