#!/usr/bin/env python3
"""Tests of scripts/run_tests.py with a simulated test program: run_tests_test.py [CASE]

The program prints GoogleTest's output. Each of its cases does what its name says.
"""

import os
import pathlib
import stat
import sys
import tempfile
import types
import unittest

sys.dont_write_bytecode = True
sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "scripts"))

import run_tests  # noqa: E402

PROGRAM = r"""
import os, sys, time
name = sys.argv[1].split("=", 1)[1]
lines = open(name.removeprefix("Z:").replace("\\", "/")).read().splitlines()
cases = lines[1].split("=", 1)[1].split(":")
say = lambda text: print(text, flush=True)
failed = 0
say(f"[==========] Running {len(cases)} tests")
for case in cases:
    what = case.split(".")[1].split("_")[0]
    if what == "Leaves":
        os._exit(0)
    say(f"[ RUN      ] {case}")
    if what == "Crashes":
        os._exit(5)
    if what == "Hangs":
        time.sleep(60)
    if what == "FailsInCompany" and len(cases) == 1:
        what = "Passes"
    if what == "Skips":
        say(f"[  SKIPPED ] {case} (0 ms)")
    elif what.startswith("Fails"):
        failed = 1
        say("some_test.cpp:1: Failure")
        say(f"[  FAILED  ] {case}, where GetParam() = 1 (3 ms)")
    else:
        say(f"text without an end[       OK ] {case} (2 ms)")
if "Breaks" in cases[-1]:
    os._exit(3)
say("[  FAILED  ] 1 test, listed below:" if failed else "[  PASSED  ]")
sys.exit(failed)
"""


class Stub:
    """Replaces a Wine prefix."""

    def __init__(self, folder):
        self.folder = folder
        self.environment = dict(os.environ)

    def start(self):
        pass

    def stop(self):
        pass


class RunnerTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.options = types.SimpleNamespace(
            build=self.folder, timeout=1.5, verbose=False, stop_on_failure=False)
        self.output = []
        run_tests.print = lambda *texts, **_: self.output.append(" ".join(map(str, texts)))
        self.addCleanup(lambda: delattr(run_tests, "print"))

    def case(self, name, number=1):
        return run_tests.Test(number, {
            "name": f"played.Suite.{name}",
            "command": [sys.executable, self.program(), f"--gtest_filter=Suite.{name}"]})

    def program(self):
        path = self.folder / "played.py"
        path.write_text(PROGRAM)
        path.chmod(path.stat().st_mode | stat.S_IXUSR)
        return str(path)

    def run_all(self, tests, jobs=1):
        self.runner = run_tests.Runner(tests, self.options)
        self.runner.run([Stub(self.folder) for _ in range(jobs)])
        return {test.name.split(".")[-1]: result.verdict
                for test, result in self.runner.results.items()}

    def verdicts(self, *names):
        return self.run_all([self.case(name, number) for number, name in enumerate(names, 1)])

    def test_cases_of_one_program_each_have_a_verdict(self):
        self.assertEqual(self.verdicts("Passes_1", "Fails", "Skips", "Passes_2"),
                         {"Passes_1": "Passed", "Fails": "Failed", "Skips": "Skipped",
                          "Passes_2": "Passed"})

    def test_a_crash_fails_its_case_and_the_rest_runs(self):
        self.assertEqual(self.verdicts("Passes_1", "Crashes", "Passes_2"),
                         {"Passes_1": "Passed", "Crashes": "Failed", "Passes_2": "Passed"})

    def test_a_case_beyond_its_limit_fails_and_the_rest_runs(self):
        self.assertEqual(self.verdicts("Hangs", "Passes"), {"Hangs": "Timeout", "Passes": "Passed"})

    def test_a_bad_end_of_the_process_fails_the_last_case(self):
        self.assertEqual(self.verdicts("Passes", "Breaks"), {"Passes": "Passed", "Breaks": "Failed"})

    def test_a_process_that_leaves_without_a_word_fails_the_case_before(self):
        self.assertEqual(self.verdicts("Passes_1", "Leaves", "Passes_2"),
                         {"Passes_1": "Failed", "Leaves": "Failed", "Passes_2": "Passed"})

    def test_a_program_that_runs_nothing_fails(self):
        self.assertEqual(self.verdicts("Leaves"), {"Leaves": "Failed"})

    def test_a_case_that_fails_in_company_only_stays_failed(self):
        self.assertEqual(self.verdicts("Passes", "FailsInCompany"),
                         {"Passes": "Passed", "FailsInCompany": "Failed"})
        self.assertIn("run alone after that: Passed", "\n".join(self.output))

    def test_jobs_share_the_cases(self):
        names = [f"Passes_{number}" for number in range(40)]
        tests = [self.case(name, number) for number, name in enumerate(names, 1)]
        for test in tests:
            test.cost = 5
        self.assertEqual(self.run_all(tests, jobs=3), dict.fromkeys(names, "Passed"))
        self.assertGreater(len(self.runner.make_units(tests)), 3)

    def test_a_command_passes_by_its_exit_status(self):
        commands = {"good": ["true"], "bad": ["false"], "slow": ["sleep", "60"]}
        tests = [run_tests.Test(number, {"name": name, "command": command})
                 for number, (name, command) in enumerate(commands.items(), 1)]
        self.assertEqual(self.run_all(tests), {"good": "Passed", "bad": "Failed", "slow": "Timeout"})

    def test_a_command_can_skip_itself(self):
        def with_code(number, name, code):
            return run_tests.Test(number, {
                "name": name, "command": ["sh", "-c", f"exit {code}"],
                "properties": [{"name": "SKIP_RETURN_CODE", "value": 77}]})
        self.assertEqual(self.run_all([with_code(1, "skips", 77), with_code(2, "fails", 7),
                                       with_code(3, "passes", 0)]),
                         {"skips": "Skipped", "fails": "Failed", "passes": "Passed"})

    def test_a_property_that_is_not_known_is_an_error(self):
        with self.assertRaises(SystemExit):
            run_tests.Test(1, {"name": "none", "command": ["false"], "properties": [
                {"name": "WILL_FAIL", "value": True}]})

    def test_what_needs_a_failed_fixture_does_not_run(self):
        def with_fixture(number, name, command, kind):
            return run_tests.Test(number, {"name": name, "command": command, "properties": [
                {"name": kind, "value": ["package"]}]})
        self.assertEqual(self.run_all([with_fixture(1, "user", ["true"], "FIXTURES_REQUIRED"),
                                       with_fixture(2, "maker", ["false"], "FIXTURES_SETUP")]),
                         {"maker": "Failed", "user": "Not Run"})

    def test_fixtures_and_locks_are_kept_by_all_jobs(self):
        log = self.folder / "log"

        def step(number, name, **properties):
            command = f"echo {name} >>{log}; sleep 0.3; echo {name} >>{log}"
            return run_tests.Test(number, {"name": name, "command": ["sh", "-c", command],
                                           "properties": [{"name": key, "value": [value]}
                                                          for key, value in properties.items()]})
        self.run_all([step(1, "user", FIXTURES_REQUIRED="b", RESOURCE_LOCK="x"),
                      step(2, "other", FIXTURES_REQUIRED="b", RESOURCE_LOCK="x"),
                      step(3, "second", FIXTURES_REQUIRED="a", FIXTURES_SETUP="b"),
                      step(4, "first", FIXTURES_SETUP="a")], jobs=3)
        self.assertEqual(log.read_text().split()[:4], ["first", "first", "second", "second"])
        last = log.read_text().split()[4:]
        self.assertEqual((last[0], last[2], len(last)), (last[1], last[3], 4))

    def test_an_error_of_the_runner_ends_the_run(self):
        with self.assertRaises(FileNotFoundError):
            self.run_all([run_tests.Test(1, {"name": "none", "command": ["/nothing/there"]})])

    def test_a_lost_case_is_an_error_and_a_new_one_in_ci_only(self):
        self.addCleanup(setattr, run_tests, "KNOWN_CASES", run_tests.KNOWN_CASES)
        self.addCleanup(setattr, run_tests, "ROOT", run_tests.ROOT)
        run_tests.ROOT, run_tests.KNOWN_CASES = self.folder, self.folder / "known.txt"
        run_tests.KNOWN_CASES.write_text("# head\nfirst 2\nsecond 3\n")
        same, more, fewer = {"first": 2, "second": 3}, {"first": 3, "second": 3}, {"first": 9}
        self.assertEqual([run_tests.compare_with_known(counts, exact) for counts in
                          (same, more, fewer) for exact in (False, True)],
                         [False, False, False, True, True, True])
        run_tests.write_known_cases(more)
        self.assertEqual(run_tests.KNOWN_CASES.read_text(), "# head\nfirst 3\nsecond 3\n")


if __name__ == "__main__":
    unittest.main()
