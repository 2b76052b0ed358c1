#!/usr/bin/python3
"""The road in README.md is the one that is compiled: between its markers stands what tests/docs/road.cpp holds.

    check.py [--write]"""
import pathlib
import re
import sys

root = pathlib.Path(__file__).resolve().parents[2]
road = re.search(r"// begin\n(.*)// end\n", (root / "tests/docs/road.cpp").read_text(), re.S)[1]
readme = root / "README.md"
text = readme.read_text()
expected = re.sub(r"(<!-- road:[^\n]*-->\n```cpp\n).*?(```\n<!-- end of road -->)",
                  lambda match: match[1] + road + match[2], text, flags=re.S)
if "--write" in sys.argv:
    readme.write_text(expected)
elif expected != text:
    sys.exit("The code in README.md differs from tests/docs/road.cpp: run tests/docs/check.py --write")
else:
    print("README.md holds the code that is compiled")
