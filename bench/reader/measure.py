#!/usr/bin/env python3
"""Measures the log reader: measure.py WINE PROGRAM BARE FOLDER OVERLAPPING ROUNDS [NAME=PROGRAM...].

Every round runs each row once, in turn, so that a change of the machine's load affects all of them.
Prints a Markdown table of medians: elapsed time, processor time, and peak memory beyond that of an
empty program.
"""

import gzip
import os
import pathlib
import statistics
import subprocess
import sys
import tempfile
import time


def run(command):
    """Elapsed and processor seconds, and the peak resident memory of its largest process in KiB."""
    # GNU time starts the command: a child of this interpreter would inherit the interpreter's peak.
    with tempfile.NamedTemporaryFile("r") as report:
        began = time.monotonic()
        code = subprocess.run(
            ["/usr/bin/time", "-q", "-f", "%U %S %M", "-o", report.name, *command],
            stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, check=False).returncode
        elapsed = time.monotonic() - began
        if code not in (0, 1):
            sys.exit(f"measure.py: {command} failed with {code}")
        user, system, peak = report.read().split()
    return elapsed, float(user) + float(system), int(peak)


def start_of_last(folder):
    """The time of the first record of the newest file, as the log reader takes it."""
    newest = max(
        pathlib.Path(folder).glob("*.log.gz"),
        key=lambda path: (path.name.rsplit(".", 3)[0], int(path.name.split(".")[-3])),
    )
    with gzip.open(newest) as file:
        stamp = file.read(42).decode("utf-16")[1:]
    day, clock = stamp[:8], stamp[9:15]
    return f"{day[:4]}-{day[4:6]}-{day[6:]}T{clock[:2]}:{clock[2:4]}:{clock[4:]}"


def windows_path(path):
    return "Z:" + path.replace("/", "\\")


def main():
    wine, program, bare, folder, overlapping, rounds = sys.argv[1:7]
    windows_folder = windows_path(folder)
    rows = {
        "empty program": [wine, bare],
        "bare zlib loop, UTF-8 by the platform": [wine, bare, windows_folder],
        "zcat, iconv, grep": [
            "sh", "-c", f"zcat {folder}/*.gz | iconv -f UTF-16LE -t UTF-8 | grep -c 'E]'"],
    }
    readers = {"": program}
    readers.update(argument.split("=", 1) for argument in sys.argv[7:])
    for name, reader in readers.items():
        for label, options in (
            ("everything", []),
            ("`-l error`", ["-l", "error"]),
            ("`-n 5`", ["-n", "5"]),
            ("`--since` the last file", ["--since", start_of_last(folder)]),
        ):
            rows[" ".join(filter(None, ("quillon-log", name, label)))] = [
                wine, reader, *options, windows_folder]
    rows["quillon-log everything, 24 processes at the same time, two damaged files"] = [
        wine, program, windows_path(overlapping)]
    results = {label: [] for label in rows}
    for _ in range(int(rounds)):
        for label, command in rows.items():
            elapsed, work, peak = run(command)
            results[label].append((elapsed, work, peak))
            # The whole takes long: each result is shown at once.
            print(f"  {label}: {elapsed:.2f} s, {work:.2f} s, {peak / 1024:.1f} MiB", file=sys.stderr)
    empty = statistics.median(peak for *_, peak in results["empty program"])
    print("| Row | Elapsed | Lowest to highest | Processor time | Peak memory beyond the empty program |")
    print("|---|---|---|---|---|")
    for label, values in results.items():
        times = sorted(elapsed for elapsed, *_ in values)
        work = statistics.median(work for _, work, _ in values)
        peak = statistics.median(peak for *_, peak in values) - empty
        print(
            f"| {label} | {statistics.median(times):.2f} s | {times[0]:.2f} to {times[-1]:.2f} s"
            f" | {work:.2f} s | {peak / 1024:.1f} MiB |"
        )
    print(f"\nLoad of the machine at the end: {os.getloadavg()[0]:.1f}; rounds: {rounds}")


if __name__ == "__main__":
    main()
