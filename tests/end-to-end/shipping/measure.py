#!/usr/bin/env python3
"""Measures ClickHouse with the tables and questions of shipping/.

  measure.py [--loaded MILLIONS] [--total MILLIONS]

Records of a made fleet (1,000 hosts) are loaded as JSON by load.sh: --loaded millions of them (4).
The engine then copies them, with other days, until there are --total millions (100), and each ready
question is timed over these. Everything lies below build/fleet and is deleted at the end.
"""

import argparse
import datetime
import multiprocessing
import os
import random
import shutil
import statistics
import time

import engine
import fleet_logs
import stand_in

HOSTS = 1000
FILES = 40  # of the spool, for each process that writes them
DAY = 86_400_000
TEXTS = [
    "heartbeat {n}", "queue {m}: {n} items waiting, the oldest for {m} ms",
    "scan of C:\\Users\\user{m}\\AppData\\Local\\Temp\\file{n}.tmp finished with 0 after {m} ms",
    "OrrinComponent->Process item {n} started", "OrrinComponent->Process item {n} finished, {m} bytes",
    "connection {n} to 10.20.{m}.17:443 opened", "connection {n} closed, {m} bytes received",
    "policy {m} was read, revision {n}"]
COMPONENTS = ["quillon", "heartbeat", "worker", "scanner", "network"]
QUESTIONS = ["errors-by-host-and-hour", "first-occurrence", "crashed-hosts", "silent-hosts", "gaps"]


def write_spool(arguments):
    """One process's share: runs of hosts `begin` to `end`, spread over the days of the range."""
    spool, begin, end, records, newest, days = arguments
    draw = random.Random(begin)
    per_file = (end - begin) * records // FILES
    lines, number = [], 0
    levels = ["T"] * 470 + ["V"] * 22 + ["W"] * 6 + ["E"] * 2
    for index in range(begin, end):
        host = f"host{index:04}"
        start = newest - days * DAY + draw.randrange(3_600_000)
        run = f"quillon-{fleet_logs.stamp(start)}"
        pace = (days * DAY - 2 * 3_600_000) // records
        for at in range(records):
            text = draw.choice(TEXTS).format(n=draw.randrange(1_000_000), m=draw.randrange(250))
            level = draw.choice(levels)
            if level == "E" and draw.random() < 0.01:
                text = "ExceptionFilter (Thread 4711): exception occur\nAddress: 0"
            lines.append(stand_in.json_line({
                "time": stand_in.iso_time(fleet_logs.stamp(start + at * pace)), "level": level,
                "component": draw.choice(COMPONENTS), "message": text, "pid": 4 * index + 4,
                "file": f"{run}.{at // 20000}.log", "record": at % 20000 + 1, "host": host}))
            if len(lines) >= per_file:
                (spool / f"p{begin}-{number}.jsonl").write_bytes(b"".join(lines))
                lines, number = [], number + 1
    (spool / f"p{begin}-{number}.jsonl").write_bytes(b"".join(lines))


def copy_days(server, loaded, total, days):
    """Copies of all records, each as many days earlier as the loaded ones cover."""
    copies = round(total / loaded) - 1
    server.ask("CREATE TABLE quillon.loaded AS quillon.records ENGINE = MergeTree PARTITION BY day "
               "ORDER BY (host, file, record)")
    server.ask("INSERT INTO quillon.loaded SELECT * FROM quillon.records")
    for copy in range(1, copies + 1):
        back = copy * days
        # The names have the start of the run, so each copy is a run of its own.
        start = (f"concat('quillon-', toString(toYYYYMMDD(toDate(parseDateTimeBestEffort("
                 f"substring(run, 9, 8))) - {back})), substring")
        server.ask(
            f"INSERT INTO quillon.records SELECT day - {back}, time - {back * 86400}, millisecond, "
            f"host, {start}(run, 17)), number, {start}(file, 17)), record, pid, level, component, "
            "message, cut, size FROM quillon.loaded")
        print(f"  copy {copy} of {copies}", flush=True)
    server.ask("DROP TABLE quillon.loaded")


def question_times(server, name):
    """The first time after a start of the engine (the system's file cache stays), and the median of
    three further ones, in seconds."""
    server.stop()
    server.start()
    times = []
    for _ in range(4):
        began = time.monotonic()
        rows = len(server.question(name))
        times.append(time.monotonic() - began)
    print(f"  {name:26} first {times[0]:6.2f} s, "
          f"then {statistics.median(times[1:]):6.2f} s, {rows} rows", flush=True)


def stored_bytes(server):
    rows = server.ask("SELECT count(), sum(rows), sum(bytes) FROM system.parts WHERE active AND "
                      "database = 'quillon' AND table = 'records'")
    return [int(value) for value in rows[0]]


def main():
    parser = argparse.ArgumentParser(usage=__doc__)
    parser.add_argument("--loaded", type=float, default=4)
    parser.add_argument("--total", type=float, default=100)
    options = parser.parse_args()
    records = round(options.loaded * 1_000_000 / HOSTS)
    days = max(1, round(70 * options.loaded / options.total))
    folder = engine.ROOT / "build" / "fleet" / "measure"
    shutil.rmtree(folder, ignore_errors=True)
    (folder / "spool" / "all").mkdir(parents=True)
    cpu = [text for text in open("/proc/cpuinfo") if text.startswith("model name")]
    print(f"{len(cpu)} x {cpu[0].split(':')[1].strip()}, load {os.getloadavg()[0]:.1f}, "
          f"{datetime.datetime.utcnow():%Y-%m-%d %H:%M} UTC")
    newest = time.time_ns() // 1_000_000
    half = HOSTS // 2
    with multiprocessing.Pool(2) as pool:
        pool.map(write_spool, [(folder / "spool" / "all", begin, begin + half, records, newest, days)
                               for begin in (0, half)])
    size = sum(path.stat().st_size for path in folder.glob("spool/all/*"))
    loaded = HOSTS * records
    print(f"{loaded} records as JSON, {size / loaded:.0f} bytes each, {days} days", flush=True)

    with engine.Engine(folder / "engine", memory=8_000_000_000) as server:
        server.make_tables()
        began = time.monotonic()
        code, messages = server.load_once(folder / "spool")
        seconds = time.monotonic() - began
        assert code == 0, messages
        print(f"loaded in {seconds:.1f} s: {loaded / seconds:.0f} records/s, "
              f"{size / seconds / 1e6:.0f} MB/s of JSON, load {os.getloadavg()[0]:.1f}", flush=True)
        server.ask("OPTIMIZE TABLE quillon.records FINAL")
        parts, rows, stored = stored_bytes(server)
        print(f"stored: {stored / rows:.1f} bytes a record, merged ({size / stored:.1f} to 1)")
        began = time.monotonic()
        copy_days(server, options.loaded, options.total, days)
        parts, rows, stored = stored_bytes(server)
        print(f"{rows} records in {parts} parts, {stored / 1e9:.2f} GB, after "
              f"{time.monotonic() - began:.0f} s; load {os.getloadavg()[0]:.1f}", flush=True)
        for name in QUESTIONS:
            question_times(server, name)
        print(f"load {os.getloadavg()[0]:.1f}")
    shutil.rmtree(folder)


if __name__ == "__main__":
    main()
