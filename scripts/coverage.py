#!/usr/bin/env python3
"""Prints the table of a coverage run: coverage.py GCOVR.json REASONS.txt.

A line of the reasons is FILE | TEXT OF THE SOURCE LINE | REASON. Fails if a line that wasn't run has
no reason, if a reason matches no such line, or if fewer than 97 of 100 lines were run.
"""

import collections
import json
import pathlib
import sys

REQUIRED = 97.0


def read_reasons(path):
    reasons = {}
    for number, line in enumerate(path.read_text(encoding="utf-8").splitlines(), 1):
        if not line.strip() or line.startswith("#"):
            continue
        # The text between the first and the last separator may hold one itself.
        file, _, rest = line.partition(" | ")
        text, _, reason = rest.rpartition(" | ")
        if not (file and text and reason):
            sys.exit(f"coverage: {path}:{number}: not FILE | TEXT | REASON")
        reasons[file.strip(), text.strip()] = reason.strip()
    return reasons


def percent(part, whole):
    return 100.0 * part / whole if whole else 100.0


def count(files):
    """Lines and branches of each folder, as [lines, lines run, branches, branches taken]."""
    folders = collections.defaultdict(lambda: [0, 0, 0, 0])
    for file in files:
        for key in (str(pathlib.PurePosixPath(file["file"]).parent), "all"):
            for line in file["lines"]:
                taken = [branch["count"] > 0 for branch in line["branches"]]
                figures = (1, line["count"] > 0, len(taken), sum(taken))
                folders[key] = [a + b for a, b in zip(folders[key], figures)]
    return folders


def print_table(folders):
    print(f"  {'folder':24}{'lines':>7}{'run':>7}{'':9}{'branches':>10}{'taken':>7}")
    for folder in sorted(folders, key=lambda name: (name == "all", name)):
        lines, run, branches, taken = folders[folder]
        print(f"  {folder:24}{lines:7}{run:7}{percent(run, lines):7.1f} %"
              f"{branches:10}{taken:7}{percent(taken, branches):7.1f} %")


def lines_not_run(files):
    for file in files:
        source = pathlib.Path(file["file"]).read_text(encoding="utf-8").splitlines()
        for line in file["lines"]:
            if line["count"] == 0:
                number = line["line_number"]
                yield file["file"], number, source[number - 1].strip()


def main():
    files = json.loads(pathlib.Path(sys.argv[1]).read_text(encoding="utf-8"))["files"]
    for file in files:
        file["lines"] = [line for line in file["lines"] if not line["gcovr/noncode"]]
    reasons = read_reasons(pathlib.Path(sys.argv[2]))
    folders = count(files)
    print_table(folders)
    failed = False
    used = set()
    print("\n  Not run:")
    for file, number, text in lines_not_run(files):
        reason = reasons.get((file, text))
        used.add((file, text))
        failed |= reason is None
        print(f"  {file}:{number}: {text}\n      {reason or 'NO REASON'}")
    for file, text in reasons.keys() - used:
        failed = True
        print(f"  {file}: {text}\n      HAS A REASON, but was run or is gone")
    lines, run = folders["all"][:2]
    if percent(run, lines) < REQUIRED:
        failed = True
        print(f"\n  fewer than {REQUIRED:.0f} of 100 lines were run")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
