#!/usr/bin/env python3
"""Evaluates a soak run.

  report.py FOLDER LOGS    reads FOLDER/samples.csv and the log files, prints the verdict;
                           the exit code is 0 if every check passed
  report.py --fill LOGS    fills a log folder up to its limit with old files

docs/soak.md explains the checks.
"""

import collections
import csv
import gzip
import os
import pathlib
import re
import statistics
import sys
import time

MIB = 1024 * 1024
FILE_LIMIT = 5 * MIB
COMPRESSED_LIMIT = 16 * MIB
PLAIN_LIMIT = 16 * MIB
FILLER_SIZE = 128 * 1024
FILLERS = COMPRESSED_LIMIT // FILLER_SIZE
FILLER_NAME = "quillon-20200101-000000-000.{}.log.gz"
MEMORY_GROWTH_LIMIT = 0.01
WARM_UP_SECONDS = 30
CHATTERS = 4


def fill(logs):
    """Creates old files, unused by the run, up to the limit of retention."""
    logs.mkdir(parents=True)
    for number in range(FILLERS):
        filler = logs / FILLER_NAME.format(number)
        filler.write_bytes(bytes(FILLER_SIZE))
        an_hour_ago = time.time() - 3600 + number
        os.utime(filler, (an_hour_ago, an_hour_ago))


# ---- samples ------------------------------------------------------------------------------------


def read_samples(path):
    with path.open() as table:
        return [{name: float(value) for name, value in row.items()} for row in csv.DictReader(table)]


def lives(samples):
    """The samples of each life without its warm-up."""
    by_number = collections.defaultdict(list)
    for sample in samples:
        by_number[sample["generation"]].append(sample)
    return [[sample for sample in life
             if sample["seconds"] >= life[0]["seconds"] + WARM_UP_SECONDS]
            for life in by_number.values()]


def median(samples, name):
    return statistics.median(sample[name] for sample in samples)


def growths(samples, name):
    """Differences of medians, each with the earlier one: last third against first third of each
    life, and each life against the one before."""
    settled = lives(samples)
    pairs = []
    for life in settled:
        third = max(1, len(life) // 3)
        pairs.append((median(life[:third], name), median(life[-third:], name)))
    medians = [median(life, name) for life in settled]
    pairs += list(zip(medians, medians[1:]))
    return [(late - early, early) for early, late in pairs]


# ---- log files ----------------------------------------------------------------------------------


def log_key(path):
    match = re.fullmatch(r"(quillon-[\d-]+)\.(\d+)\.log(\.gz)?", path.name)
    return match[1], int(match[2])


def read_text(path):
    data = path.read_bytes()
    if path.suffix == ".gz":
        data = gzip.decompress(data)
    return data.decode("utf-16-le")


class Reader:
    """Follows the numbers of one life's threads through its files."""

    LINE = re.compile(r"\]\[chatter\] thread (\d+) (?:line (\d+)\.*|wrote (\d+) lines in \d+ ms)\n")

    def __init__(self):
        self.lines = collections.Counter()
        self.wrote = {}
        self.faults = []

    def read(self, text):
        for thread, line, wrote in self.LINE.findall(text):
            if wrote:
                self.wrote[thread] = int(wrote)
            elif int(line) != self.lines[thread] + 1:
                self.faults.append(f"thread {thread}: {line} after {self.lines[thread]}")
                self.lines[thread] = int(line)
            else:
                self.lines[thread] += 1


def check_logs(logs):
    """Every line that a thread has logged stands once, in order. Gives lines, files, faults."""
    runs = collections.defaultdict(list)
    for path in sorted(logs.glob("quillon-2*"), key=log_key):
        if not path.name.startswith("quillon-20200101-"):
            runs[log_key(path)[0]].append(path)
    lines, files, faults = 0, 0, []
    for run, paths in runs.items():
        numbers = [log_key(path)[1] for path in paths]
        if numbers != list(range(len(paths))):
            faults.append(f"{run}: the files {numbers}")
        reader = Reader()
        for path in paths:
            reader.read(read_text(path))
        faults += [f"{run}: {fault}" for fault in reader.faults]
        if len(reader.wrote) != CHATTERS or dict(reader.lines) != reader.wrote:
            faults.append(f"{run}: {dict(reader.lines)} lines stand, {reader.wrote} were logged")
        lines += sum(reader.lines.values())
        files += len(paths)
    return len(runs), lines, files, faults


# ---- verdict ------------------------------------------------------------------------------------


def judge(samples, logs):
    """Pairs of a line of the verdict and whether its check held."""
    number = len({sample["generation"] for sample in samples})
    compared = "each compared with the one before" if number > 1 else "with no other to compare"
    yield f"{len(samples)} samples, lives of the service: {number}, {compared}", number > 0
    for name in ("handles", "threads"):
        worst = max(growths(samples, name), key=lambda growth: abs(growth[0]))[0]
        yield f"{name}: {median(samples, name):.0f}, growth {worst:+.0f}", worst == 0
    worst = max(late / early for late, early in growths(samples, "private_bytes"))
    middle = median(samples, "private_bytes") / 1024
    yield (f"private memory: {middle:,.0f} KiB, largest growth {worst:+.2%}",
           worst < MEMORY_GROWTH_LIMIT)
    most = max(sample["compressed_bytes"] for sample in samples)
    yield (f"compressed files: at most {most / MIB:.1f} MiB",
           most <= COMPRESSED_LIMIT + FILE_LIMIT / 8)
    most = max(sample["plain_bytes"] for sample in samples)
    yield f"plain files: at most {most / MIB:.1f} MiB", most <= 2 * FILE_LIMIT + MIB
    left = sum(1 for _ in logs.glob(FILLER_NAME.format("*")))
    yield f"retention: {FILLERS - left} of {FILLERS} old files taken away", left < FILLERS
    runs, lines, files, faults = check_logs(logs)
    yield (f"log: {lines:,} numbered lines in {files} files of {runs} lives, faults: {len(faults)}",
           runs == number and not faults)
    for fault in faults[:10]:
        yield f"  {fault}", False


def main(arguments):
    if len(arguments) == 2 and arguments[0] == "--fill":
        fill(pathlib.Path(arguments[1]))
        return 0
    if len(arguments) != 2:
        sys.exit(__doc__)
    folder, logs = (pathlib.Path(argument) for argument in arguments)
    samples = read_samples(folder / "samples.csv")
    held = True
    for line, good in judge(samples, logs):
        print(f"  {'good' if good else 'BAD '}  {line}")
        held = held and good
    print(f"\n  {'nothing grew, nothing was lost' if held else 'the run has failed'}")
    return 0 if held else 1


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
