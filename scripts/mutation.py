#!/usr/bin/env python3
"""Breaks the product in a copy of its tree and runs the unit tests of each broken file.

mutation.py [--seed N] [--count N] [--only TEXT] [--list]; see mutation.sh, which calls it.

A broken place counts as noticed if a test fails, hangs, or ends its program, twice. A place that
doesn't compile isn't counted; another one of the same file replaces it.
"""

import argparse
import hashlib
import json
import math
import os
import pathlib
import random
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import time

import mutation_sites

# Tests mirror the tree, so the folder of a source determines its test programs. Unit tests don't link
# the entry point; the tests that start the executable cover it.
PROGRAMS = {
    "framework/system": ["framework_system_tests"],
    "framework/logger": ["framework_logger_tests", "framework_log_files_tests"],
    "framework/exception": ["framework_exception_tests"],
    "tarnwick-service": ["tarnwick_service_tests"],
    "tarnwick-service/main.cpp": ["process_tests"],
}
# Code that the compiler must reject is also tested by compiling.
COMPILE_TESTS = {
    "framework/system/wide_format.h": "FormatCheck",
    "framework/logger/log_line.h": "LogCall",
}
# Places where a change has no effect, each with the reason; they are skipped.
HARMLESS = "tests/mutation_reasons.txt"
REQUIRED = 0.95
BUILD_LIMIT = 900  # seconds


def copy_tree():
    """Updates the copy. Unchanged files keep their time, so their objects stay valid."""
    root = pathlib.Path(__file__).resolve().parent.parent
    copy = root / "build" / "mutation" / "tree"
    listed = subprocess.run(
        ["git", "-c", f"safe.directory={root}", "ls-files", "-coz", "--exclude-standard"],
        cwd=root, capture_output=True, text=True, check=True).stdout
    wanted = [name for name in listed.split("\0") if name and (root / name).is_file()]
    for name in wanted:
        source, target = root / name, copy / name
        if not target.is_file() or target.read_bytes() != source.read_bytes():
            target.parent.mkdir(parents=True, exist_ok=True)
            shutil.copyfile(source, target)
            shutil.copymode(source, target)
    for path in copy.rglob("*"):
        relative = path.relative_to(copy)
        if relative.parts[0] != "build" and path.is_file() and relative.as_posix() not in wanted:
            path.unlink()
    return copy


class Program:
    """A test program, run in as few processes as possible."""

    def __init__(self, folder, name):
        self.path = folder / "build" / "mutation" / "bin" / f"{name}.exe"
        self.wine = folder / "cmake" / "wine.sh"
        self.name = name
        self.alone = []  # tests that pass only in a separate process
        self.limit = 900.0

    def run(self, names=None, fail_fast=True):
        """Returns (ended well, names of failed tests or of the one it ended in, if any)."""
        chosen = ":".join(names) if names else "*-" + ":".join(self.alone)
        command = [self.wine, self.path, f"--gtest_filter={chosen}"]
        environment = dict(os.environ, GTEST_FAIL_FAST="1" if fail_fast else "0")
        # A file, not a pipe: a process that the program has started may keep a pipe open.
        with tempfile.TemporaryFile() as output:
            # Not in the programs' folder: Windows loads a controller library from the working folder.
            process = subprocess.Popen(command, cwd=self.wine.parent, env=environment,
                                       stdin=subprocess.DEVNULL, stdout=output,
                                       stderr=subprocess.STDOUT, start_new_session=True)
            try:
                well = process.wait(timeout=self.limit) == 0
            except subprocess.TimeoutExpired:
                os.killpg(process.pid, signal.SIGKILL)
                process.wait()
                restart_wine()
                well = False
            output.seek(0)
            text = output.read().decode("utf-8", "replace").replace("\r", "")
        failed = re.findall(r"^\[  FAILED  \] ([^\s,]+)", text, re.M)
        begun = re.findall(r"^\[ RUN      \] (\S+)", text, re.M)
        ended = "[  PASSED  ]" in text
        if not failed and not ended:
            failed = begun[-1:]
        return well and ended, list(dict.fromkeys(failed))

    def calibrate(self):
        """Finds the tests that need a separate process, and the duration of the whole run."""
        while True:
            began = time.monotonic()
            well, failed = self.run(fail_fast=False)
            if well:
                break
            if not failed:
                sys.exit(f"mutation: {self.name} fails outside its tests with nothing broken")
            for name in failed:
                if name in self.alone or not self.run([name])[0]:
                    sys.exit(f"mutation: {self.name}: {name} fails with nothing broken")
            self.alone += failed
        for name in self.alone:
            if not self.run([name])[0]:
                sys.exit(f"mutation: {self.name}: {name} fails with nothing broken")
        took = time.monotonic() - began
        self.limit = 4 * took + 30
        print(f"  {self.name}: {took:.0f} s, {len(self.alone)} tests in separate processes",
              flush=True)

    def failing_test(self):
        """The name of a test that fails twice; None if all pass."""
        for names in [None] + [[name] for name in self.alone]:
            well, failed = self.run(names)
            if well:
                continue
            # Once in a thousand times Wine fails to start a program; that isn't a failed test.
            if not self.run(failed[:1] or names)[0] or not self.run(names)[0]:
                return failed[0] if failed else "the program's beginning or end"
        return None


class CompileTests:
    """ctest tests that start the compiler instead of a program."""

    def __init__(self, folder, pattern):
        self.command = ["ctest", "--test-dir", folder / "build" / "mutation", "--no-tests=error",
                        "--stop-on-failure", "-R", rf"\.{pattern}\."]
        self.pattern = pattern

    def failing_test(self):
        result = subprocess.run(self.command, stdin=subprocess.DEVNULL, capture_output=True,
                                check=False)
        return self.pattern if result.returncode != 0 else None


def restart_wine():
    environment = dict(os.environ, WINEPREFIX=os.environ["TARNWICK_WINEPREFIX"])
    for option in ("-k", "-w", "-p"):
        subprocess.run(["wineserver", option], env=environment, check=False, timeout=60,
                       stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                       stderr=subprocess.DEVNULL)


def program_names(path):
    return PROGRAMS.get(path) or PROGRAMS[str(pathlib.PurePosixPath(path).parent)]


def configure(folder):
    # Neither optimised nor with debug information: a broken file is compiled once and run once.
    command = ["cmake", "--preset", "mingw", "-B", "build/mutation", "-DCMAKE_BUILD_TYPE=Debug",
               "-DCMAKE_CXX_FLAGS_DEBUG=-O0", "-DCMAKE_C_FLAGS_DEBUG=-O0"]
    subprocess.run(command, cwd=folder, check=True, stdout=subprocess.DEVNULL)


def build(folder, names):
    targets = [argument for name in names for argument in ("--target", name)]
    result = subprocess.run(["cmake", "--build", "build/mutation", *targets], cwd=folder,
                            capture_output=True, text=True, check=False, timeout=BUILD_LIMIT)
    return result.returncode == 0, result.stdout


def read_harmless(folder):
    """The places where a change has no effect, as (file, text of the line, change)."""
    harmless = set()
    for line in (folder / HARMLESS).read_text(encoding="utf-8").splitlines():
        if line.strip() and not line.startswith("#"):
            file, text, change, _ = (part.strip() for part in line.split(" | "))
            if text not in [row.strip() for row in
                            (folder / file).read_text(encoding="utf-8").splitlines()]:
                sys.exit(f"mutation: {HARMLESS}: {file} has no line {text}")
            harmless.add((file, text, change))
    return harmless


def draw(folder, only, count, seed):
    """A list of (path, sites in the order of trial, how many of them to count)."""
    chance = random.Random(seed)
    harmless = read_harmless(folder)
    files = {}
    for top in ("framework", "tarnwick-service"):
        for path in sorted((folder / top).rglob("*")):
            relative = path.relative_to(folder).as_posix()
            if path.suffix in (".cpp", ".h") and only in relative:
                sites = mutation_sites.find(path.read_text(encoding="utf-8"))
                if sites:
                    files[relative] = mutation_sites.shuffled(sites, chance)
    # Spread over all files; a long one gets more, but not in proportion.
    share = dict.fromkeys(files, 0)
    for _ in range(min(count, sum(map(len, files.values())))):
        open_files = [path for path in files if share[path] < len(files[path])]
        share[min(open_files,
                  key=lambda path: ((share[path] + 0.5) / math.sqrt(len(files[path])), path))] += 1
    for path in files:
        rows = (folder / path).read_text(encoding="utf-8").splitlines()
        files[path] = [site for site in files[path]
                       if (path, rows[site.line - 1].strip(), site.describe()) not in harmless]
    # Headers last, because their includers are compiled too.
    order = sorted(files, key=lambda path: (path.endswith(".h"), path))
    return [(path, files[path], share[path]) for path in order if share[path]]


class Verdicts:
    """Results of earlier runs with the same seed on the same tree, so that an interrupted run
    continues."""

    def __init__(self, folder, seed):
        text = hashlib.sha256()
        for top in ("framework", "tarnwick-service", "tests"):
            for path in sorted((folder / top).rglob("*")):
                if path.is_file() and path.suffix != ".txt":
                    text.update(path.read_bytes())
        self.path = folder.parent / f"verdicts-{seed}-{text.hexdigest()[:12]}.json"
        self.known = json.loads(self.path.read_text()) if self.path.is_file() else {}

    def of(self, key, find):
        if key not in self.known:
            self.known[key] = find()
            self.path.write_text(json.dumps(self.known, indent=1))
        return self.known[key]


class Tally:
    def __init__(self, total, verdicts):
        self.total = total
        self.verdicts = verdicts
        self.noticed = 0
        self.uncompiled = 0
        self.survivors = []

    def judged(self):
        return self.noticed + len(self.survivors)

    def add(self, place, noticed_by, took):
        if noticed_by:
            self.noticed += 1
        else:
            self.survivors.append(place)
        print(f"  {self.judged():3}/{self.total}  {'noticed ' if noticed_by else 'SURVIVED'}  "
              f"{place}  {noticed_by}  {took:.0f} s", flush=True)


def try_site(folder, path, site, tests):
    """None if it doesn't compile, else the name of the noticing test or an empty text."""
    source = folder / path
    original = source.read_text(encoding="utf-8")
    source.write_text(site.apply(original), encoding="utf-8")
    try:
        if not build(folder, program_names(path))[0]:
            return None
        for test in tests:
            name = test.failing_test()
            if name:
                return name
        return ""
    finally:
        source.write_text(original, encoding="utf-8")


def judge_file(folder, path, sites, count, tests, tally):
    for site in sites:
        if count == 0:
            return
        began = time.monotonic()
        place = f"{path}:{site.line}  {site.describe()}"
        # A line may have two places with the same description.
        noticed_by = tally.verdicts.of(f"{site.start} {place}",
                                       lambda: try_site(folder, path, site, tests))
        if noticed_by is None:
            tally.uncompiled += 1
            continue
        tally.add(place, noticed_by, time.monotonic() - began)
        count -= 1
    # A file with few places may have none left that compile.
    tally.total -= count


def options():
    parser = argparse.ArgumentParser()
    parser.add_argument("--seed", type=int, default=random.SystemRandom().randrange(1_000_000))
    parser.add_argument("--count", type=int, default=100)
    parser.add_argument("--only", default="")
    parser.add_argument("--list", action="store_true")
    return parser.parse_args()


def main():
    chosen = options()
    folder = copy_tree()
    drawn = draw(folder, chosen.only, chosen.count, chosen.seed)
    print(f"  seed {chosen.seed}, {sum(count for _, _, count in drawn)} places in "
          f"{len(drawn)} files", flush=True)
    if chosen.list:
        for path, sites, count in drawn:
            for site in sites[:count]:
                print(f"  {path}:{site.line}  {site.describe()}")
        return 0
    names = sorted({name for path, _, _ in drawn for name in program_names(path)})
    configure(folder)
    well, output = build(folder, names)
    if not well:
        print(output)
        return 2
    programs = {name: Program(folder, name) for name in names}
    for program in programs.values():
        program.calibrate()
    tally = Tally(sum(count for _, _, count in drawn), Verdicts(folder, chosen.seed))
    for path, sites, count in drawn:
        tests = [programs[name] for name in program_names(path)]
        if path in COMPILE_TESTS:
            tests.append(CompileTests(folder, COMPILE_TESTS[path]))
        judge_file(folder, path, sites, count, tests, tally)
    # Leftovers of a broken product could make tests fail.
    well = build(folder, names)[0] and not any(p.failing_test() for p in programs.values())
    print(f"\n  with nothing broken all tests {'pass' if well else 'DO NOT PASS'}")
    print(f"  seed {chosen.seed}: {tally.noticed} of {tally.judged()} noticed, "
          f"{tally.uncompiled} more didn't compile")
    for survivor in tally.survivors:
        print(f"  survived: {survivor}")
    return 0 if well and tally.noticed >= REQUIRED * tally.judged() else 1


if __name__ == "__main__":
    sys.exit(main())
