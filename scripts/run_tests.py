#!/usr/bin/env python3
"""Runs the tests of a build folder on Wine; scripts/test.sh calls it.

ctest selects the tests. The cases of a test program share a process, because starting a process
takes longer than most cases. Each job has its own Wine prefix, so concurrent tests share no
machine-wide state: log folder, service names, registry.

A failed test is never retried. A case that failed next to others runs once more alone, only to
report whether it fails alone too.
"""

import argparse
import contextlib
import dataclasses
import json
import os
import pathlib
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import threading
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
WINE = ROOT / "cmake" / "wine.sh"
KNOWN_CASES = ROOT / "tests" / "known_cases.txt"
# Cases are added to a process up to this expected duration.
SECONDS_PER_PROCESS = 12
# The expected duration of a case that has never run.
EXPECTED_SECONDS = 0.05
# Limit for the end of a process after its last case, and for the end of Wine.
END_LIMIT = 60
STARTED = re.compile(r"\[ RUN      \] (\S+)")
ENDED = re.compile(r"\[ +(OK|FAILED|SKIPPED) +\] (\S+?)(?:, where .*)?(?: \((\d+) ms\))?$")
VERDICTS = {"OK": "Passed", "FAILED": "Failed", "SKIPPED": "Skipped"}
# ctest properties that would change a verdict.
UNSUPPORTED = {"WILL_FAIL", "PASS_REGULAR_EXPRESSION", "FAIL_REGULAR_EXPRESSION", "REQUIRED_FILES",
               "FIXTURES_CLEANUP"}
QUIET = {"stdin": subprocess.DEVNULL, "stdout": subprocess.DEVNULL, "stderr": subprocess.DEVNULL}


class Test:
    """A test in ctest's list."""

    def __init__(self, number, entry):
        self.number = number
        self.name = entry["name"]
        # ctest appends the parameter to the names of parameterized cases; it adds no information.
        self.shown = self.name.split("  # GetParam()")[0]
        self.command = entry.get("command", [])
        values = {each["name"]: each["value"] for each in entry.get("properties", [])}
        self.folder = values.get("WORKING_DIRECTORY")
        self.environment = dict(each.split("=", 1) for each in values.get("ENVIRONMENT", []))
        self.limit = values.get("TIMEOUT")
        self.cost = float(values.get("COST", EXPECTED_SECONDS))
        self.disabled = bool(values.get("DISABLED", False))
        self.sets_up = set(values.get("FIXTURES_SETUP", []))
        self.requires = set(values.get("FIXTURES_REQUIRED", []))
        self.locks = set(values.get("RESOURCE_LOCK", []))
        self.skip_code = values.get("SKIP_RETURN_CODE")
        if unknown := UNSUPPORTED & values.keys():
            sys.exit(f"run_tests: {self.name} has {', '.join(unknown)}, which is not supported here")
        filters = [each for each in self.command if each.startswith("--gtest_filter=")]
        self.case = filters[0].split("=", 1)[1] if filters else None

    @property
    def program(self):
        """The test program of a case. For another test its name up to the first dot."""
        return pathlib.Path(self.command[1]).stem if self.case else self.name.split(".")[0]


@dataclasses.dataclass
class Result:
    verdict: str
    seconds: float
    output: str = ""

    @property
    def good(self):
        return self.verdict in ("Passed", "Skipped", "Disabled")


class Prefix:
    """A Wine prefix for one job: a copy of the blank one, made of hard links."""

    def __init__(self, blank, folder):
        self.folder = folder
        self.environment = dict(
            os.environ, TARNWICK_WINEPREFIX=str(folder), WINEPREFIX=str(folder), WINEDEBUG="-all")
        subprocess.run(["cp", "-al", blank, folder], check=True)
        # Wine overwrites a registry file in place if it has more than one link.
        for registry in folder.glob("*.reg"):
            copy = registry.with_suffix(".copy")
            shutil.copy2(registry, copy)
            copy.replace(registry)

    def start(self):
        settings = {**QUIET, "env": self.environment, "start_new_session": True}
        subprocess.run(["wineserver", "-p"], timeout=END_LIMIT, check=False, **settings)
        # The first program starts the Service Control Manager, which must not inherit the output
        # file of a test.
        subprocess.run([WINE, "cmd", "/c", "exit"], timeout=END_LIMIT, check=True, **settings)

    def stop(self):
        for option in ("-k", "-w"):
            with contextlib.suppress(subprocess.TimeoutExpired):
                subprocess.run(["wineserver", option], timeout=END_LIMIT, check=False,
                               env=self.environment, **QUIET)


class Process:
    """A running test command and its output."""

    running = set()
    ending = False  # the whole run is

    def __init__(self, prefix, test, command, verbose):
        self.prefix = prefix
        self.verbose = verbose
        self.output = tempfile.TemporaryFile()
        self.length = 0
        self.child = subprocess.Popen(
            command, cwd=test.folder, env={**prefix.environment, **test.environment},
            stdin=subprocess.DEVNULL, stdout=self.output, stderr=subprocess.STDOUT,
            start_new_session=True)
        Process.running.add(self)

    def pieces(self):
        """Yields new output, perhaps empty, until the process has ended."""
        ended = False
        while not ended:
            with contextlib.suppress(subprocess.TimeoutExpired):
                self.child.wait(0.02)
            ended = self.child.returncode is not None
            text = os.pread(self.output.fileno(), 1 << 28, self.length)
            self.length += len(text)
            text = text.decode(errors="replace").replace("\r\n", "\n")
            if self.verbose and text:
                print(text, end="", flush=True)
            yield text
        self.forget()

    def forget(self):
        Process.running.discard(self)
        self.output.close()

    @classmethod
    def kill_all(cls):
        cls.ending = True
        for process in list(cls.running):
            with contextlib.suppress(ProcessLookupError):
                os.killpg(process.child.pid, signal.SIGKILL)

    def kill(self):
        with contextlib.suppress(ProcessLookupError):
            os.killpg(self.child.pid, signal.SIGKILL)
        self.child.wait()
        self.forget()
        # Its child processes end with the server.
        self.prefix.stop()
        self.prefix.start()


def run_single(prefix, test, options):
    """Runs a test that isn't a case of a test program."""
    began = time.monotonic()
    limit = float(test.limit or options.timeout)
    process = Process(prefix, test, test.command, options.verbose)
    output = ""
    for text in process.pieces():
        output += text
        if time.monotonic() - began > limit:
            process.kill()
            return Result("Timeout", time.monotonic() - began, output)
    code = process.child.returncode
    verdict = {0: "Passed", test.skip_code: "Skipped"}.get(code, "Failed")
    if verdict == "Failed":
        output += f"\nexit status {code}"
    return Result(verdict, time.monotonic() - began, output)


class ProgramRun:
    """A run of a test program with some of its cases. `results` has those that were started."""

    def __init__(self, prefix, tests, options):
        self.tests = {test.case: test for test in tests}
        self.limit = max(float(test.limit or options.timeout) for test in tests)
        self.results = {}
        self.running = None
        self.since = time.monotonic()
        self.output = []
        self.options = options
        with tempfile.NamedTemporaryFile("w", dir=prefix.folder, suffix=".flags") as flags:
            flags.write("--gtest_also_run_disabled_tests\n--gtest_filter=" +
                        ":".join(self.tests) + "\n")
            flags.flush()
            first = tests[0]
            windows_path = "Z:" + flags.name.replace("/", "\\")
            self.process = Process(prefix, first,
                                   [*first.command[:2], "--gtest_flagfile=" + windows_path],
                                   options.verbose)
            self.follow()

    def elapsed(self):
        return time.monotonic() - self.since

    def end_case(self, verdict, note="", seconds=None):
        self.results[self.running] = Result(
            verdict, self.elapsed() if seconds is None else seconds, "".join(self.output) + note)
        self.running, self.since, self.output = None, time.monotonic(), []

    def line(self, line):
        started, ended = STARTED.search(line), ENDED.search(line)
        if started and started[1] in self.tests:
            self.running = self.tests[started[1]]
            self.since, self.output = time.monotonic(), []
        self.output.append(line + "\n")
        if ended and self.running and ended[2] == self.running.case:
            self.end_case(VERDICTS[ended[1]], seconds=int(ended[3] or 0) / 1000)

    def follow(self):
        pending = ""
        for text in self.process.pieces():
            *lines, pending = (pending + text).split("\n")
            for line in lines:
                self.line(line)
            if self.elapsed() > (self.limit if self.running or not self.results else END_LIMIT):
                self.process.kill()
                break
        self.output.append(pending)
        self.finish()

    def finish(self):
        """If the exit code contradicts the verdicts, a case fails."""
        code = self.process.child.returncode
        killed = code == -signal.SIGKILL
        failed = any(not result.good for result in self.results.values())
        all_ran = len(self.results) == len(self.tests)
        verdict = "Timeout" if killed else "Failed"
        note = f"\nexit status {code}\n"
        if self.running or not self.results:
            self.running = self.running or next(iter(self.tests.values()))
            self.end_case(verdict, "\nThe process ended in this case." + note)
        elif killed or not (failed or (all_ran and code == 0)):
            last = self.results[list(self.results)[-1]]
            last.verdict = verdict
            last.output += "".join(self.output) + "\nThe process ended badly after this case." + note


class Runner:
    """Runs all tests on some jobs and prints each verdict."""

    def __init__(self, tests, options):
        self.options = options
        self.total = len(tests)
        self.lock = threading.Lock()
        self.results = {}
        self.notes = {}
        self.stopped = False
        self.error = None
        self.seconds = {}
        with contextlib.suppress(OSError, ValueError):
            self.seconds = json.loads(self.seconds_file.read_text())
        self.held = set()  # resource locks
        self.setups = [test for test in tests if test.sets_up]
        self.units = [[test] for test in self.setups]
        self.units += self.make_units([test for test in tests if not test.sets_up])

    @property
    def seconds_file(self):
        return self.options.build / "Testing" / "seconds.json"

    # ---- what runs together ----

    def expected(self, test):
        return self.seconds.get(test.name, test.cost)

    def make_units(self, tests):
        programs = {}
        units = []
        for test in tests:
            if test.case and not test.disabled:
                programs.setdefault(test.program, []).append(test)
            else:
                units.append([test])
        for cases in programs.values():
            unit, expected = [], 0
            for test in cases:
                if unit and expected + self.expected(test) > SECONDS_PER_PROCESS:
                    units.append(unit)
                    unit, expected = [], 0
                unit.append(test)
                expected += self.expected(test)
            units.append(unit)
        # The long ones first, so that all jobs end at about the same time.
        return sorted(units, key=lambda unit: -sum(map(self.expected, unit)))

    # ---- reports ----

    def report(self, test, result):
        if Process.ending:
            return
        with self.lock:
            self.results[test] = result
            width = len(str(self.total))
            verdict = result.verdict if result.verdict == "Passed" else "***" + result.verdict
            print(f"{len(self.results):>{width}}/{self.total} Test {'#' + str(test.number):>5}: "
                  f"{test.shown + ' ':.<90} {verdict:>12} {result.seconds:7.2f} sec", flush=True)
            if not result.good and not self.options.verbose:
                print(result.output.rstrip() + "\n", flush=True)
            if not result.good and self.options.stop_on_failure:
                self.stopped = True

    def note(self, test, text):
        with self.lock:
            self.notes[test] = text
            print(f"    {test.shown}: {text}", flush=True)

    # ---- running ----

    def run_unit(self, prefix, unit):
        missing = [name for name in unit[0].requires
                   if any(name in test.sets_up and not result.good
                          for test, result in self.results.items())]
        if unit[0].disabled or missing:
            verdict = "Disabled" if unit[0].disabled else "Not Run"
            for test in unit:
                self.report(test, Result(verdict, 0, "it needs: " + ", ".join(missing)))
        elif unit[0].case:
            self.run_program(prefix, unit)
        else:
            self.report(unit[0], run_single(prefix, unit[0], self.options))

    def run_program(self, prefix, unit):
        rest, failed = unit, []
        while rest and not self.stopped and not Process.ending:
            results = ProgramRun(prefix, rest, self.options).results
            for test, result in results.items():
                self.report(test, result)
                if not result.good:
                    failed.append((test, len(results)))
            rest = [test for test in rest if test not in results]
        for test, company in failed:
            if company > 1 and not self.stopped and not Process.ending:
                alone = ProgramRun(prefix, [test], self.options).results[test]
                self.note(test, f"run alone after that: {alone.verdict}")

    def may_begin(self, unit):
        """Whether its fixtures are set up, or have failed, and its locks are free."""
        waiting = any(setup.sets_up & unit[0].requires and setup not in self.results
                      for setup in self.setups)
        return not waiting and not unit[0].locks & self.held

    def take_unit(self):
        """The next unit that may start; None at the end."""
        while not self.stopped and not Process.ending:
            with self.lock:
                if not self.units:
                    return None
                unit = next(filter(self.may_begin, self.units), None)
                if unit:
                    self.units.remove(unit)
                    self.held |= unit[0].locks
                    return unit
            time.sleep(0.1)
        return None

    def work(self, prefix):
        try:
            while unit := self.take_unit():
                self.run_unit(prefix, unit)
                with self.lock:
                    self.held -= unit[0].locks
        except Exception as error:  # the main thread ends the run with it
            self.error = error
            self.stopped = True

    def run(self, prefixes):
        threads = [threading.Thread(target=self.work, args=(prefix,), daemon=True)
                   for prefix in prefixes]
        for thread in threads:
            thread.start()
        for thread in threads:
            while thread.is_alive():  # a signal is handled between two waits
                thread.join(0.5)
        if self.error:
            raise self.error

    # ---- the end ----

    def remember_seconds(self):
        self.seconds.update((test.name, round(result.seconds, 3))
                            for test, result in self.results.items() if result.good)
        self.seconds_file.parent.mkdir(exist_ok=True)
        self.seconds_file.write_text(json.dumps(self.seconds, indent=0))

    def failed(self):
        return sorted((test for test, result in self.results.items() if not result.good),
                      key=lambda test: test.number)

    def summarize(self, seconds):
        failed, ran = self.failed(), len(self.results)
        by_verdict = {verdict: [test for test, result in self.results.items()
                                if result.verdict == verdict] for verdict in ("Skipped", "Disabled")}
        print(f"\n{100 * (ran - len(failed)) // max(ran, 1)}% tests passed, {len(failed)} tests failed "
              f"out of {self.total}" + (f", {self.total - ran} not begun" if ran < self.total else ""))
        print(f"\nTotal Test time (real) = {seconds:.2f} sec")
        for verdict, tests in by_verdict.items():
            if tests:
                print(f"\nThe following tests did not run ({verdict}):")
                for test in sorted(tests, key=lambda test: test.number):
                    print(f"\t{test.number:>4} - {test.shown}")
        if failed:
            print("\nThe following tests FAILED:")
            for test in failed:
                note = f"; {self.notes[test]}" if test in self.notes else ""
                print(f"\t{test.number:>4} - {test.shown} ({self.results[test].verdict}{note})")
        # As ctest has it: --rerun-failed reads this file.
        last = self.options.build / "Testing" / "Temporary" / "LastTestsFailed.log"
        last.parent.mkdir(parents=True, exist_ok=True)
        last.write_text("".join(f"{test.number}:{test.name}\n" for test in failed))


def select(prefix, options):
    """The tests that ctest selects. It queries new test programs for their cases."""
    command = ["ctest", "--test-dir", options.build, "--show-only=json-v1", *options.selection]
    answer = subprocess.run(command, env=prefix.environment, stdin=subprocess.DEVNULL,
                            stdout=subprocess.PIPE, text=True, check=False)
    if answer.returncode != 0:
        sys.exit("run_tests: ctest failed")
    entries = json.loads(answer.stdout)["tests"]
    return [Test(number, entry) for number, entry in enumerate(entries, 1)]


# ---- known numbers of cases ----------------------------------------------------------------------


def count_cases(tests):
    counts = {}
    for test in tests:
        counts[test.program] = counts.get(test.program, 0) + 1
    return counts


def known_cases():
    lines = [line.split() for line in KNOWN_CASES.read_text().splitlines()
             if line and not line.startswith("#")]
    return {name: int(count) for name, count in lines}


def write_known_cases(counts):
    head = [line for line in KNOWN_CASES.read_text().splitlines() if line.startswith("#")]
    rows = [f"{name} {count}" for name, count in sorted(counts.items())]
    KNOWN_CASES.write_text("\n".join(head + rows) + "\n")


def compare_with_known(counts, exact):
    """Prints each difference. A loss is an error, and with `exact` a gain too."""
    wrong = False
    known = known_cases()
    for name in sorted({*known, *counts}):
        now, before = counts.get(name, 0), known.get(name, 0)
        if now != before:
            print(f"{name}: {now} tests, {before} in {KNOWN_CASES.relative_to(ROOT)}")
            wrong = wrong or now < before or exact
    if wrong:
        print("If this is intended, run scripts/test.sh --count, commit the new numbers with the "
              "change, and state why tests were removed.")
    return wrong


# ---- the run -------------------------------------------------------------------------------------


def arguments():
    parser = argparse.ArgumentParser()
    parser.add_argument("--build", type=pathlib.Path, required=True)
    parser.add_argument("--blank-prefix", type=pathlib.Path, required=True)
    parser.add_argument("--jobs", type=int, default=2)
    parser.add_argument("--timeout", type=float, default=300)
    parser.add_argument("--rounds", type=int, default=1)
    parser.add_argument("--verbose", action="store_true")
    parser.add_argument("--stop-on-failure", action="store_true")
    parser.add_argument("--list", action="store_true")
    parser.add_argument("--count", choices=("no", "write", "compare", "exact"), default="no")
    parser.add_argument("selection", nargs="*")
    return parser.parse_args()


def run(prefixes, tests, options):
    for prefix in prefixes:
        prefix.start()
    for number in range(1, options.rounds + 1):
        if options.rounds > 1:
            print(f"\nRound {number} of {options.rounds}\n")
        began = time.monotonic()
        runner = Runner(tests, options)
        runner.run(prefixes)
        runner.remember_seconds()
        runner.summarize(time.monotonic() - began)
        if runner.failed() or len(runner.results) < len(tests):
            return 8
    return 0


def main(options, prefixes):
    tests = select(prefixes[0], options)
    if not tests:
        print("No tests were found!!!")
        return 8
    if options.list:
        for test in tests:
            print(f"  Test {'#' + str(test.number):>5}: {test.shown}")
        print(f"\nTotal Tests: {len(tests)}")
        return 0
    if options.count == "write":
        write_known_cases(count_cases(tests))
        return 0
    status = run(prefixes, tests, options)
    if options.count != "no" and compare_with_known(count_cases(tests), options.count == "exact"):
        return status or 8
    return status


def with_prefixes(options):
    """Creates the prefixes, runs the tests, removes all processes and folders."""
    for number in (signal.SIGTERM, signal.SIGINT, signal.SIGHUP):
        signal.signal(number, lambda signal_number, _: sys.exit(128 + signal_number))
    folder = pathlib.Path(tempfile.mkdtemp(prefix=f"wine-{os.getpid()}-", dir=ROOT / "build"))
    prefixes = []
    try:
        for number in range(options.jobs):
            prefixes.append(Prefix(options.blank_prefix, folder / str(number + 1)))
        return main(options, prefixes)
    finally:
        Process.kill_all()
        for prefix in prefixes:
            prefix.stop()
        shutil.rmtree(folder, ignore_errors=True)


if __name__ == "__main__":
    sys.exit(with_prefixes(arguments()))
