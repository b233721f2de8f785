"""Which library, and which room of a library, may include which: the rule of docs/architecture.md, read off the sources."""

import pathlib
import re

# Where each target's files are.
FOLDERS = {
    "platform/error": "nkr-error",
    "platform/time": "nkr-time",
    "platform/log": "nkrLog",
    "platform/tools": "nkr-tools",
    "platform/codec": "nkr-codec",
    "platform/canopencore": "nkr-canopencore",
    "include/tavcore": "tavcore",
    "src": "tavcore",
    "testing/doubles": "tavcore-testing",
    "testing/log": "tavcore-testing-log",
    "canopen/can": "nkr-can",
    "canopen/client": "nkr-canopen",
    "host": "tav-host",
    "drive": "tav-drive",
}

# What a header's name says of its target; the first match counts.
HEADERS = (
    (r"nkr/(error\.h|Error\.hpp|export\.h)", "nkr-error"),
    (r"nkr/time/.+", "nkr-time"),
    (r"nkr/log(_\w+)?\.h", "nkrLog"),
    (r"nkr/tools/.+", "nkr-tools"),
    (r"nkr/(cia402|safety_word)\.h", "nkr-codec"),
    (r"nkr/(canopencore|canopenservice)/.+", "nkr-canopencore"),
    (r"nkr/can/.+", "nkr-can"),
    (r"nkr/canopen/.+", "nkr-canopen"),
    (r"tavcore/testing/RecordingLog\.hpp", "tavcore-testing-log"),
    (r"tavcore/testing/.+", "tavcore-testing"),
    (r"tavcore/.+", "tavcore"),
    (r"tav/host/.+", "tav-host"),
    (r"tav/drive/.+", "tav-drive"),
)

MAY_INCLUDE = {
    "nkr-error": set(),
    "nkr-time": {"nkr-error"},
    "nkrLog": {"nkr-error"},
    "nkr-tools": {"nkr-error"},
    "nkr-codec": {"nkr-error"},
    "nkr-canopencore": {"nkr-error"},
    "tavcore": {"nkr-error", "nkr-time", "nkrLog", "nkr-tools", "nkr-codec", "nkr-canopencore"},
    "tavcore-testing": {"tavcore", "nkr-canopencore", "nkr-error"},
    "tavcore-testing-log": {"tavcore-testing", "nkrLog", "nkr-error"},
    "nkr-can": {"nkr-error", "nkr-time"},
    "nkr-canopen": {"nkr-can", "nkr-time", "nkr-canopencore", "nkr-error"},
    "tav-host": {
        "tavcore", "nkr-canopen", "nkr-can", "nkr-canopencore", "nkr-codec", "nkr-tools", "nkrLog", "nkr-time",
        "nkr-error",
    },
    "tav-drive": {"nkr-can", "nkr-time", "nkr-error", "nkr-tools"},
}

# The rooms of a library: folder of its sources -> room (a folder in it) -> the rooms that it may include. BESIDE are the files
# that lie beside the rooms: the top of the library when they include the rooms, its base when the rooms include them.
# Arrows run one way: a table with a circle is refused.
BESIDE = "."

ROOMS: dict[str, dict[str, set[str]]] = {
    "tavctl/src": {"cli": set(), "text": {"cli"}, "commands": {"cli", "text"}, BESIDE: {"cli", "commands"}},
    "src": {
        "logging": set(),
        "objects": {"logging"},
        "dispatcher": {"objects", "logging"},
        "safety": {"objects", "logging"},
        "controller": {"logging"},
        "config": {"logging"},
    },
    "platform/tools/src": {"text": set(), "ini": {"text"}, "eds": {"text"}, "lint": {"eds", "text"}},
    "canopen/can/src": {"system": set(), "unix": {"system"}, "socketcan": {"system"}, BESIDE: {"system", "unix", "socketcan"}},
    "canopen/client/src": {
        BESIDE: {"sdo", "pdo", "nmt", "emcy", "requests", "runtime"},
        "pdo": {"sdo", "runtime"},
        "requests": {"sdo", "runtime"},
        "nmt": {"runtime"},
        "sdo": {"runtime"},
        "emcy": set(),
        "runtime": set(),
    },
    "drive/src": {
        "dictionary": set(),
        "node": {"dictionary"},  # what the parts of the drive share
        "sdo": {"dictionary", "node"},
        "network": {"dictionary", "node"},
        "storage": {"dictionary", "node"},
        "pdo": {"dictionary", "node", "network"},
        "motor": set(),
        "bus": {"node"},
        "power": {"dictionary", "node", "network", "motor"},
        "safety": {"dictionary", "node", "network", "power"},
        "scenario": {"dictionary", "node", "network"},
        BESIDE: {"dictionary", "node", "sdo", "network", "storage", "pdo", "motor", "bus", "power", "safety", "scenario"},
    },
    "host/src": {
        "words": set(),
        "process": set(),
        "bus": set(),
        "description": {"words"},
        "frames": {"description", "words"},
        "configuration": {"words"},
        "machine": {"words", "process"},
        "quantities": {"words"},
        "safety": set(),
        "unit": set(),
        "group": {"unit"},
        "vehicle": set(),
    },
}

# The C++17 standard library, libc and the kernel's interface; nothing else is needed to build a library here.
STANDARD = set(
    """algorithm any array atomic bitset cassert cctype cerrno cfenv cfloat charconv chrono cinttypes climits clocale
    cmath codecvt complex condition_variable csetjmp csignal cstdarg cstddef cstdint cstdio cstdlib cstring ctime
    cuchar cwchar cwctype deque exception execution filesystem forward_list fstream functional future
    initializer_list iomanip ios iosfwd iostream istream iterator limits list locale map memory memory_resource mutex
    new numeric optional ostream queue random ratio regex scoped_allocator set shared_mutex sstream stack stdexcept
    streambuf string string_view system_error thread tuple type_traits typeindex typeinfo unordered_map unordered_set
    utility valarray variant vector
    assert.h ctype.h dirent.h errno.h fcntl.h float.h getopt.h inttypes.h limits.h locale.h math.h poll.h pthread.h
    pwd.h sched.h signal.h stdarg.h stdbool.h stddef.h stdint.h stdio.h stdlib.h string.h syslog.h termios.h time.h
    unistd.h""".split()
)
SYSTEM = re.compile(r"(sys|linux|linux/can|net|netinet|arpa)/\w+\.h")

INCLUDE = re.compile(r'^\s*#\s*include\s*([<"])([^>"]+)[>"]', re.MULTILINE)
SUFFIXES = {".c", ".h", ".cpp", ".hpp", ".inc"}


def target_of_header(name):
    for pattern, target in HEADERS:
        if re.fullmatch(pattern, name):
            return target
    return None


def fault(root, folder, target, path, quote, name):
    """What is wrong with one include; None when nothing is."""
    if quote == '"':
        inside = (path.parent / name).resolve().is_relative_to((root / folder).resolve())
        own_sources = any(
            (root / other / name).exists() or (path.parent / name).resolve().is_relative_to((root / other).resolve())
            for other, owner in FOLDERS.items()
            if owner == target
        )
        return None if inside or own_sources else f"{name} is outside {target}"
    other = target_of_header(name)
    if other is None:
        known = name in STANDARD or SYSTEM.fullmatch(name)
        return None if known else f"{name} is neither ours nor of the standard library, libc or kernel"
    if other == target or other in MAY_INCLUDE[target]:
        return None
    return f"{target} must not know {other} ({name})"


def room_of(sources, path):
    """The room of a file under the sources of a library."""
    parts = path.relative_to(sources).parts
    return parts[0] if len(parts) > 1 else BESIDE


def included_room(sources, path, name):
    """The room of a file included in quotation marks, by itself or as "room/File.hpp"; None when it lies outside."""
    beside = (path.parent / name).resolve()
    target = beside if beside.exists() else (sources / name).resolve()
    return room_of(sources, target) if target.is_relative_to(sources) else None


def room_fault(rooms, sources, path, name):
    """What is wrong between rooms with one include in quotation marks; None when nothing is."""
    room = room_of(sources, path)
    if room not in rooms:
        return f"room {room} is not in the table"
    other = included_room(sources, path, name)
    if other is None or other == room or other in rooms[room]:
        return None
    return f"room {room} must not know room {other} ({name})"


def circle(rooms):
    """The rooms that know each other round about; empty when arrows run one way."""
    left = {room: set(others) for room, others in rooms.items()}
    while ends := {room for room, others in left.items() if not others & set(left)}:
        left = {room: others for room, others in left.items() if room not in ends}
    return sorted(left)


def room_violations(root, tables):
    """One line for every arrow between rooms that is not drawn, and for every table that draws a circle."""
    root = pathlib.Path(root).resolve()
    found = []
    for folder, rooms in tables.items():
        if round_about := circle(rooms):
            found.append(f"{folder}: rooms know each other round about: {' '.join(round_about)}")
        sources = root / folder
        for path in sorted(sources.rglob("*")):
            if path.suffix not in SUFFIXES:
                continue
            for quote, name in INCLUDE.findall(path.read_text(encoding="utf-8")):
                text = room_fault(rooms, sources, path, name) if quote == '"' else None
                if text is not None:
                    found.append(f"{path.relative_to(root)}: {text}")
    return found


def violations(root):
    """One line for every include that breaks a rule, in the tree at root."""
    root = pathlib.Path(root)
    found = []
    for folder, target in FOLDERS.items():
        for path in sorted((root / folder).rglob("*")):
            if path.suffix not in SUFFIXES:
                continue
            for quote, name in INCLUDE.findall(path.read_text(encoding="utf-8")):
                text = fault(root, folder, target, path, quote, name)
                if text is not None:
                    found.append(f"{path.relative_to(root)}: {text}")
    return found
