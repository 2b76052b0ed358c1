#!/usr/bin/python3
"""Includes point one way: every folder may include only the folders and libraries that stand in its row."""
import pathlib
import re
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parents[2]

# folder: (folders of the tree that it may include besides itself, third-party prefixes that it may include)
ROWS = {
    "include": ((), ()),
    "src/core": (("include",), ()),
    "src/platform": ((), ()),
    "src/logger": (("src/platform", "flowrail"), ()),
    "src/commandpipe/restserver": (("src/logger", "src/platform"), ("cpprest/",)),
    "src/commandpipe/restclient": (("src/commandpipe/restserver", "src/logger"), ("cpprest/", "pplx/")),
    "src/sdp": (("src/core", "src/logger", "src/platform", "include"), ("nlohmann/", "pcre2.h", "boost/algorithm/")),
    "src/anc": (("src/core", "include"), ()),
    "src/stream": (("src/anc", "src/commandpipe/restclient", "src/commandpipe/restserver", "src/core", "src/logger",
                    "flowrail", "include"), ()),
    "src/api": (("src/anc", "src/commandpipe/restclient", "src/commandpipe/restserver", "src/core", "src/logger",
                 "src/platform", "src/sdp", "src/stream", "flowrail", "include"), ()),
    "flowrail": ((), ()),
    "mxs": (("flowrail",), ("nlohmann/", "boost/")),
    "examples": (("include",), ("png.h",)),
    "tools": (("include",), ("nlohmann/",)),
}
THIRD_PARTY = ("cpprest/", "pplx/", "nlohmann/", "boost/", "pcre2.h", "png.h")
INCLUDE = re.compile(r'^\s*#\s*include\s*([<"])([^>"]+)[>"]')


def row_of(path):
    for folder in sorted(ROWS, key=len, reverse=True):
        if path == folder or path.startswith(folder + "/"):
            return folder
    return None


def resolve(name, source):
    """The folder of the tree that an include names, or None for the system and third parties."""
    candidates = [source.parent / name] + [ROOT / base / name for base in
                                           ("", "src", "include", "flowrail/include", "flowrail/src", "mxs")]
    for candidate in candidates:
        if candidate.is_file():
            return row_of(candidate.resolve().relative_to(ROOT).as_posix())
    return None


def main():
    listed = subprocess.run(["git", "ls-files", "-z", "--cached", "--others", "--exclude-standard", "--", *ROWS],
                            cwd=ROOT, capture_output=True, check=True).stdout.decode().split("\0")
    wrong, seen = [], 0
    for name in listed:
        path = ROOT / name
        if path.suffix not in (".h", ".hpp", ".cpp", ".c") or not path.is_file():
            continue
        row = row_of(name)
        folders, libraries = ROWS[row]
        for number, line in enumerate(path.read_text(errors="replace").splitlines(), 1):
            match = INCLUDE.match(line)
            if not match:
                continue
            seen += 1
            included = match[2]
            target = resolve(included, path)
            if target and target != row and target not in folders:
                wrong.append(f"{name}:{number}: {row} must not include {included} ({target})")
            if included.startswith(THIRD_PARTY) and not included.startswith(libraries or ("\0",)):
                wrong.append(f"{name}:{number}: {row} must not include {included}")
    print("\n".join(wrong) if wrong else f"{seen} includes point the right way")
    return 1 if wrong or not seen else 0


sys.exit(main())
