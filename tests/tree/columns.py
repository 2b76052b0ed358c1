#!/usr/bin/python3
"""Comments and prose keep to 120 columns; the formatter folds code, and neither tables nor what is quoted is folded."""
import pathlib
import re
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parents[2]
COLUMNS = 120
SLASHES = re.compile(r"\s*(//|/?\*)")
HASH = re.compile(r"\s*# ")


def comments(lines, mark):
    return ((number, line) for number, line in lines if mark.match(line))


def prose(lines):
    quoted = False
    for number, line in lines:
        if line.startswith("```"):
            quoted = not quoted
        elif not quoted and not line.lstrip().startswith("|"):
            yield number, line


def long_lines(path):
    lines = enumerate(path.read_text(errors="replace").splitlines(), 1)
    if path.suffix in (".c", ".h", ".cpp"):
        lines = comments(lines, SLASHES)
    elif path.suffix in (".py", ".cmake", ".yml") or path.name == "CMakeLists.txt" or path.parent.name == "scripts":
        lines = comments(lines, HASH)
    elif path.suffix == ".md":
        lines = prose(lines)
    else:
        return None
    return [number for number, line in lines if len(line) > COLUMNS]


def main():
    listed = subprocess.run(["git", "ls-files", "-z", "--cached", "--others", "--exclude-standard"], cwd=ROOT,
                            capture_output=True, check=True).stdout.decode().split("\0")
    seen, wrong = 0, 0
    for name in listed:
        path = ROOT / name
        numbers = long_lines(path) if path.is_file() else None
        if numbers is None:
            continue
        seen += 1
        for number in numbers:
            wrong += 1
            print(f"{name}:{number}: more than {COLUMNS} columns")
    print(f"{seen} files, {wrong} lines too long")
    return 1 if wrong or not seen else 0


if __name__ == "__main__":
    sys.exit(main())
