#!/usr/bin/env python3
"""How large the tests are against the code they test.

Counts non-blank, non-comment lines of .c/.cpp/.h/.py/.sh files: tests/ and
fuzz/ against include/, api/, frame/, store/, directory/, cli/, examples/.
    scripts/test-share.py           the two totals and their ratio
    scripts/test-share.py --files   and every test file, largest first
"""
import os
import sys

ROOT = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..")
TESTS = ["tests", "fuzz"]
CODE = ["include", "api", "frame", "store", "directory", "cli", "examples"]
EXTENSIONS = (".c", ".cpp", ".h", ".py", ".sh")


def lines_of(path):
    hash_comments = path.endswith((".py", ".sh"))
    count, in_block = 0, False
    with open(path, errors="replace") as f:
        for raw in f:
            line = raw.strip()
            if hash_comments:
                count += bool(line) and not line.startswith("#")
                continue
            if in_block:
                if "*/" in line:
                    in_block = False
                    count += bool(line.split("*/", 1)[1].strip())
                continue
            if not line or line.startswith("//"):
                continue
            if line.startswith("/*"):
                if "*/" not in line:
                    in_block = True
                    continue
                if not line.split("*/", 1)[1].strip():
                    continue
            count += 1
    return count


def files_under(folders):
    found = {}
    for folder in folders:
        for top, _, names in os.walk(os.path.join(ROOT, folder)):
            for name in names:
                if name.endswith(EXTENSIONS):
                    path = os.path.join(top, name)
                    found[os.path.relpath(path, ROOT)] = lines_of(path)
    return found


def main():
    tests, code = files_under(TESTS), files_under(CODE)
    t, c = sum(tests.values()), sum(code.values())
    print(f"tests and fuzz: {t} lines; code: {c} lines; {100.0 * t / c:.1f}%")
    if "--files" in sys.argv:
        for path, n in sorted(tests.items(), key=lambda item: -item[1]):
            print(f"{n:6} {path}")


if __name__ == "__main__":
    main()
