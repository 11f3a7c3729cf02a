#!/usr/bin/env python3
"""Logs of many hosts into ClickHouse, by the files of shipping/.

  fleet_test.py CASE

Every case prints what it did and ends with 0 if all held, 77 if it was left out. The environment
variable TARNWICK_LONG_TESTS makes the fleet 1,000 hosts instead of 60, TARNWICK_SEED repeats a run.
The programs are taken from the folder that TARNWICK_BIN names, those of the build otherwise.
"""

import json
import os
import pathlib
import random
import re
import shutil
import signal
import subprocess
import sys
import time

import engine
import fleet_logs
import real_host
import stand_in

LONG = bool(os.environ.get("TARNWICK_LONG_TESTS"))
SEED = int(os.environ.get("TARNWICK_SEED") or random.SystemRandom().randrange(1 << 30))
LEFT_OUT = 77
BUILD = 804
EXECUTABLE = r"C:\Program Files\Velmora\tarnwick-service.exe"
BASE = engine.ROOT / "build" / "fleet"


def expect(condition, text):
    if not condition:
        raise AssertionError(text)


def work_folder(case):
    folder = BASE / case
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir(parents=True)
    return folder


def need_engine():
    if not engine.installed():
        print("left out: no clickhouse-server here; Debian 12 has the package, Debian 13 has not")
        sys.exit(LEFT_OUT)


def now():
    return time.time_ns() // 1_000_000


# ---- the generator against the logger -----------------------------------------------------------


def played_clock(contents):
    """The readings of the clock that a run's files show, in the order of LogWriter."""
    yield fleet_logs.parse_stamp(real_host.start_stamp(next(iter(contents))))
    for content in contents.values():
        records = list(stand_in.split_records(content))
        header_time = records[1][3].removesuffix(" UTC").replace(".", "").replace(":", "")
        yield fleet_logs.parse_stamp(records[0][0])
        yield fleet_logs.parse_stamp(header_time.replace(" ", "-") + "-000")
        for record in records[1:]:
            yield fleet_logs.parse_stamp(record[0])


def case_generator_matches_logger():
    """The generator, given the records of a real run, writes the run's files byte by byte."""
    folder = work_folder("generator")
    host = real_host.RealHost(folder / "real", [
        "healthy", "chatty threads=2 rate=0 length=1600 lines=2000",
        "on load log trace odd two lines\\nand \\x00FC \\xD83D\\xDE00 \\xD83D",
        "on load log error \"\" \"\""])
    host.start()
    host.wait_for_lines("chatter", 4000)
    host.end()
    packed = {path.name: path.read_bytes() for path in sorted(host.logs.iterdir())}
    expect(len(packed) == 3 and all(name.endswith(".log.gz") for name in packed), str(list(packed)))
    real = {name.removesuffix(".gz"): stand_in.read_log(host.logs, name.removesuffix(".gz"))
            for name in sorted(packed, key=stand_in.key_of)}

    header = re.match(r".*build: (\d+), process: (\d+), '(.*)'\n", next(iter(real.values())))
    first = list(stand_in.split_records(next(iter(real.values()))))
    local = fleet_logs.parse_stamp(re.sub("[.:]", "", first[2][3][:19]).replace(" ", "-") + "-000")
    utc = fleet_logs.parse_stamp(re.sub("[.:]", "", first[1][3][:19]).replace(" ", "-") + "-000")
    clock = played_clock(real)
    copy = fleet_logs.LogWriter(folder / "copy", lambda: next(clock), pid=header[2], path=header[3],
                                build=header[1], zone_minutes=(local - utc) // 60000)
    copy.begin()
    for content in real.values():
        for _, level, component, message in list(stand_in.split_records(content))[3:]:
            if (component, message) != ("quillon", "End"):
                copy.log_now(level, component, message)
    copy.close()
    made = {path.name: path.read_bytes() for path in sorted((folder / "copy").iterdir())}
    expect(list(made) == list(packed), f"{list(made)} instead of {list(packed)}")
    for name in made:
        plain = stand_in.gzip.decompress(made[name])
        expect(plain == stand_in.gzip.decompress(packed[name]), f"{name} has other content")
        expect(made[name] == packed[name], f"{name} is packed otherwise")
    print(f"{len(made)} files are the same, {sum(map(len, made.values()))} bytes")


# ---- questions ----------------------------------------------------------------------------------


def line(host, run, number, record, time, level, message, component="quillon"):
    return stand_in.json_line({
        "time": stand_in.iso_time(fleet_logs.stamp(time)), "level": level, "component": component,
        "message": message, "pid": 7, "file": f"{run}.{number}.log", "record": record, "host": host})


def put(spool, host, name, *lines):
    (spool / host).mkdir(parents=True, exist_ok=True)
    (spool / host / name).write_bytes(b"".join(lines))


def case_questions():
    """Each ready question gives what it should over a fleet of three hosts, with all records twice."""
    need_engine()
    folder = work_folder("questions")
    spool = folder / "spool"
    minute = 60_000
    start = now() // (60 * minute) * 60 * minute - 6 * 60 * minute
    old, new = (f"quillon-{fleet_logs.stamp(start + at)}" for at in (0, 60 * minute))
    crash = "ExceptionFilter (Thread 12): exception occur\nAddress: 12"
    lines = {
        # Crashed, started again, stopped in order.
        "anna": [line("anna", old, 0, 1, start, "T", "build: 804, process: 7, 'x'"),
                 line("anna", old, 0, 2, start + 1, "E", crash),
                 line("anna", new, 0, 1, start + 60 * minute, "T", "started"),
                 line("anna", new, 0, 2, start + 61 * minute, "T", "End")],
        # Cut off, started again, silent. Lost: file 1, and record 2 of file 2.
        "berta": [line("berta", old, 0, 1, start, "E", "first"),
                  line("berta", old, 0, 2, start + minute, "E", "second"),
                  line("berta", old, 2, 1, start + 60 * minute, "E", "third"),
                  line("berta", old, 2, 3, start + 60 * minute, "W", "fourth"),
                  line("berta", new, 0, 1, start + 120 * minute, "T", "started")],
        # Runs.
        "carl": [line("carl", new, 0, 1, now() - minute, "T", "started")],
    }
    with engine.Engine(folder / "engine") as server:
        server.make_tables()
        for name in ("once", "again"):
            for host, texts in lines.items():
                put(spool, host, name + ".jsonl", *texts)
            expect(server.load_once(spool) == (0, ""), "not loaded")
        expect(not list(spool.glob("*/*.jsonl")), "loaded files are left")

        rows = server.question("errors-by-host-and-hour")
        expect([(row[0], row[2]) for row in rows] == [("berta", "2"), ("anna", "1"), ("berta", "1")],
               str(rows))
        rows = server.question("first-occurrence")
        expect(len(rows) == 1 and rows[0][0] == "anna" and rows[0][2] == f"{old}.0.log", str(rows))
        rows = server.question("crashed-hosts")
        expect([(row[0], row[1], row[5]) for row in rows] ==
               [("berta", old, "cut off"), ("anna", old, "crashed")], str(rows))
        rows = server.question("silent-hosts")
        expect([(row[0], row[2]) for row in rows] == [("anna", "stopped"), ("berta", "silent")],
               str(rows))
        rows = server.question("gaps")
        expect(rows == [["berta", old, "1", "1"]], str(rows))

        total = sum(map(len, lines.values()))
        server.ask("OPTIMIZE TABLE quillon.records FINAL")
        expect(server.ask("SELECT count() FROM quillon.records") == [[str(total)]], "not merged")
    print("five questions answered")


def case_retention():
    """drop-old-days.sh drops the days beyond the limit and no other."""
    need_engine()
    folder = work_folder("retention")
    spool = folder / "spool"
    day = 86_400_000
    ages = [0, 1, 9, 10, 11, 70]
    for age in ages:
        moment = now() - age * day
        put(spool, "anna", f"{age}.jsonl",
            line("anna", f"quillon-{fleet_logs.stamp(moment)}", 0, 1, moment, "T", f"age {age}"))
    script = str(engine.SHIPPING / "drop-old-days.sh")
    with engine.Engine(folder / "engine") as server:
        server.make_tables()
        expect(server.load_once(spool) == (0, ""), "not loaded")
        for _ in range(2):
            subprocess.run([script, "--url", server.url, "10"], check=True, timeout=60)
            rows = server.ask("SELECT message FROM quillon.records ORDER BY time DESC")
            expect(rows == [[f"age {age}"] for age in ages if age <= 10], str(rows))
    expect(subprocess.run([script, "0"], capture_output=True).returncode == 2, "0 days accepted")
    print("two days dropped, four kept")


# ---- the loader ---------------------------------------------------------------------------------


def case_bad_input():
    """What can't be parsed costs nothing else; what is odd but valid arrives."""
    need_engine()
    folder = work_folder("bad-input")
    spool = folder / "spool"
    run = f"quillon-{fleet_logs.stamp(now())}"
    odd = ["nul \0 and escape \x1b[0m", "half a pair \ud83d", "\udc00 the other half",
           "a pair \U0001f600", "quote \" and \\ud800", "tab\tfeed\nreturn\r", "ü€", "x" * 16383]
    put(spool, "anna", "odd.jsonl", *(line("anna", run, 0, at, now(), "T", text)
                                      for at, text in enumerate(odd, 1)))
    whole = line("berta", run, 0, 1, now(), "T", "whole")
    put(spool, "berta", "torn.jsonl", whole, whole[:-1])
    put(spool, "berta", "nothing-whole.jsonl", whole[:20])
    put(spool, "carl", "bad.jsonl", b'{"record":"many"}\n')
    put(spool, "carl", "future.jsonl", whole.replace(b"berta", b"carl").replace(
        b'{"time"', b'{"later":{"a":[1,"}"]},"time"'))
    put(spool, "carl", "timeless.jsonl", stand_in.json_line(
        {"message": "no time", "file": f"{run}.3.log", "record": 1, "host": "carl"}))
    put(spool, "dora", "ignored.part", whole)
    with engine.Engine(folder / "engine") as server:
        server.make_tables()
        code, messages = server.load_once(spool)
        expect(code == 1 and "refused: " in messages and "bad.jsonl" in messages, messages)
        expect([path.name for path in spool.glob("refused/*")] == ["carl-bad.jsonl"], "refused")
        expect(not list(spool.glob("[a-d]*/*.jsonl")), "files are left")
        expect(server.load_once(spool) == (0, ""), "refused again")
        with server.open("SELECT message FROM quillon.records WHERE host = 'anna' ORDER BY record "
                         "FORMAT JSONEachRow") as answer:
            rows = [json.loads(row)["message"] for row in answer]
        expect(rows == [re.sub("[\ud800-\udfff]", "\ufffd", text) for text in odd], str(rows))
        rows = server.ask("SELECT host, message, toString(time) = toString(now()), day = today() "
                          "FROM quillon.records WHERE host != 'anna' ORDER BY host, number")
        expect([row[:2] for row in rows] ==
               [["berta", "whole"], ["carl", "whole"], ["carl", "no time"]], str(rows))
        expect(all(row[3] == "1" for row in rows), f"another day: {rows}")

        # Nothing is deleted while the engine is away or lacks its tables.
        put(spool, "anna", "later.jsonl", line("anna", run, 1, 1, now(), "T", "later"))
        server.ask("DROP TABLE quillon.arrivals")
        code, messages = server.load_once(spool)
        expect(code == 1 and "not taken" in messages, messages)
        server.stop()
        code, messages = server.load_once(spool)
        expect(code == 1 and (spool / "anna" / "later.jsonl").exists(), messages)
        server.start()
        server.make_tables()
        expect(server.load_once(spool) == (0, ""), "not loaded in the end")
    print(f"{len(odd)} odd messages stored, one file refused")


# ---- the fleet ----------------------------------------------------------------------------------

TEXTS = ["heartbeat {n}", "item {n} scanned in {m} ms",
         "queue holds {n} items\nthe oldest is {m} ms old",
         "Grüße an {n} \U0001f600", "connection {n} closed, {m} bytes", "retry {n} after error {m}"]


class PlayedHost:
    """A host whose folder is written by the generator: it logs, rotates, crashes, starts again and
    deletes its oldest files."""

    def __init__(self, number, base, draw):
        self.name = f"host{number:04}"
        self.logs = base / "logs" / self.name
        self.draw = draw
        self.time = now() - draw.randrange(3 * 3_600_000)
        self.truth = {}
        self.deleted = set()
        self.deletes = number % 10 == 0
        self.rotation = None
        self.start()

    def tick(self):
        self.time += self.draw.randrange(20)
        return self.time

    def start(self):
        self.time += 1000
        self.writer = fleet_logs.LogWriter(
            self.logs, self.tick, pid=self.draw.randrange(4, 60000, 4), path=EXECUTABLE, build=BUILD,
            zone_minutes=60, file_limit=self.draw.choice([8192, 16384, 32768]))
        self.writer.observer = self.observe
        self.writer.begin()

    def observe(self, file, record, time, level, component, message):
        self.truth[file, record] = (stand_in.iso_time(fleet_logs.stamp(time)), level, component,
                                    message, int(self.writer.pid))

    def live(self, records):
        """Goes on for some records; may stop in the middle of a rotation."""
        for _ in range(records):
            if self.rotation:
                for _ in self.rotation:
                    if self.draw.random() < 0.4:
                        return
                self.rotation = None
            text = self.draw.choice(TEXTS).format(n=self.draw.randrange(1 << 30), m=len(self.truth))
            self.rotation = self.writer.log(self.draw.choice("TTTTTTVWE"),
                                            self.draw.choice(["worker", "heartbeat", "quillon"]), text)

    def end_run(self):
        for _ in self.rotation or ():
            pass
        self.rotation = None
        if self.draw.random() < 0.5:
            self.writer.close()
        else:
            self.writer.crash()
        self.start()

    def delete_oldest(self):
        """Retention: all but the newest compressed log."""
        names = [name for name in stand_in.log_names(self.logs)
                 if not (self.logs / name).exists()][:-1]
        for name in names:
            os.remove(self.logs / (name + ".gz"))
            self.deleted.add(name)


def stored_records(server):
    """What the engine has, by host."""
    stored = {}
    with server.open("SELECT host, file, record, time, millisecond, level, component, message, pid "
                     "FROM quillon.records FINAL FORMAT JSONEachRow") as answer:
        for row in answer:
            host, file, record, moment, milliseconds, *rest = json.loads(row).values()
            name = (file, int(record))
            expect(name not in stored.setdefault(host, {}), f"{host} {name} twice")
            stored[host][name] = (f"{moment.replace(' ', 'T')}.{milliseconds:03}Z", *rest)
    return stored


class Loading:
    """load.sh over a spool, started anew each time that it is killed."""

    def __init__(self, server, spool, draw):
        self.server, self.spool, self.draw = server, spool, draw
        self.kills = 0
        self.loader = None

    def go_on(self):
        if self.loader is None or self.loader.poll() is not None:
            batch = self.draw.choice([20000, 2000000])
            self.loader = self.server.load(self.spool, "--batch", str(batch))
            self.until = time.monotonic() + self.draw.uniform(0.05, 3)
        elif time.monotonic() > self.until:
            self.kill()

    def kill(self):
        """With its curl at times, without it at others."""
        if self.loader:
            if self.draw.random() < 0.5:
                os.killpg(self.loader.pid, signal.SIGKILL)
            else:
                os.kill(self.loader.pid, signal.SIGKILL)
            self.loader.wait()
            try:
                os.killpg(self.loader.pid, signal.SIGKILL) if self.draw.random() < 0.5 else None
            except ProcessLookupError:
                pass
            self.loader.stderr.close()
            self.loader = None
            self.kills += 1


def play(hosts, rounds, spool, loading, draw):
    """Rounds of life and collection. How many collections there were, and how many were killed."""
    collections = kills = 0
    for turn in range(rounds):
        draw.shuffle(hosts)
        for host in hosts:
            host.live(draw.randrange(250))
            if draw.random() < 0.15:
                host.end_run()
            if host.deletes:
                if turn % 3 == 2:
                    host.delete_oldest()
                elif turn > 0:
                    continue  # isn't collected in this round
            # What is deleted before there is a cursor can't be told as a gap.
            spared = host.deletes and turn == 0
            die_at = draw.randrange(1, 25) if draw.random() < 0.7 and not spared else None
            collections += 1
            kills += not stand_in.collect_in_child(host.logs, spool / host.name, host.name, die_at)
            loading.go_on()
        if turn == rounds // 2:
            loading.server.kill()
            loading.server.start()
    return collections, kills


def check_host(host, stored, spool):
    """Everything is in the engine as it was logged, but for what was deleted before it was read. How
    many records were lost that way."""
    truth = {name: (*fields[:3], re.sub("[\ud800-\udfff]", "\ufffd", fields[3]), fields[4])
             for name, fields in host.truth.items()}
    expect(not set(stored) - set(truth), f"{host.name}: unknown records")
    for name, fields in stored.items():
        expect(fields == truth[name], f"{host.name} {name}: {fields} instead of {truth[name]}")
    missing = set(truth) - set(stored)
    expect({file for file, _ in missing} <= host.deleted,
           f"{host.name}: lost, though not deleted: {sorted(missing)[:3]}")
    told = (spool / host.name / "messages.txt").exists()
    expect(told or not missing, f"{host.name}: {len(missing)} records lost, and nothing told")
    expect(not told or host.deleted, f"{host.name}: a gap was told, but nothing was deleted")
    return len(missing)


def case_fleet():
    """Hosts that log, rotate, crash and delete; collections, loaders and the engine killed at random:
    each record is in the engine once, but for the gaps that were told."""
    need_engine()
    print(f"TARNWICK_SEED={SEED}")
    draw = random.Random(SEED)
    folder = work_folder("fleet")
    spool = folder / "spool"
    spool.mkdir()
    count, rounds = (1000, 6) if LONG else (60, 8)
    hosts = [PlayedHost(number, folder, draw) for number in range(count)]
    began = time.monotonic()
    with engine.Engine(folder / "engine") as server:
        server.make_tables()
        loading = Loading(server, spool, draw)
        collections, kills = play(hosts, rounds, spool, loading, draw)
        for host in hosts:
            expect(stand_in.collect_in_child(host.logs, spool / host.name, host.name), "killed")
        loading.kill()
        code, messages = server.load_once(spool)
        expect(code == 0, messages)

        arrived = int(server.ask("SELECT count() FROM quillon.records")[0][0])
        stored = stored_records(server)
        lost = sum(check_host(host, stored.get(host.name, {}), spool) for host in hosts)
        kept = sum(map(len, stored.values()))
        expect(lost > 0, "no host lost anything: gaps weren't tried")
        expect(kills > collections // 4 and loading.kills > 0, "too few kills")
        gaps = {row[0] for row in server.question("gaps")}
        expect(gaps <= {host.name for host in hosts if len(host.truth) > len(stored[host.name])},
               "the question finds gaps where nothing is missing")
        server.ask("OPTIMIZE TABLE quillon.records FINAL")
        merged = int(server.ask("SELECT count() FROM quillon.records")[0][0])
        expect(merged == kept, f"{merged} rows for {kept} records")
    print(f"the question for gaps names {len(gaps)} hosts")
    print(f"{count} hosts, {kept + lost} records logged, {kept} in the engine once, {lost} deleted "
          f"before they were read and told as gaps; {collections} collections, {kills} of them "
          f"killed; load.sh killed {loading.kills} times, the engine once; {arrived - kept} rows "
          f"were duplicates at the end; {time.monotonic() - began:.0f} s")


# ---- the real programs --------------------------------------------------------------------------


def kill_some(collection, folder, draw):
    """Kills the batch file, the reader that it has started, or both."""
    which = draw.choice(["batch", "reader", "both"])
    readers = real_host.processes("quillon-log.exe", str(folder.name))
    if which != "reader":
        os.kill(collection.pid, signal.SIGKILL)
    for pid in readers if which != "batch" else []:
        real_host.kill_process(pid)


def collect_real(host, folder, draw=None, seconds=real_host.LIMIT):
    """Runs collect.cmd with the real quillon-log. With `draw` some of it is killed after so many
    seconds. Its exit code, or None if something was killed."""
    collection = real_host.start_collection(host.logs, folder)
    try:
        return collection.wait(seconds)
    except subprocess.TimeoutExpired:
        expect(draw, "collect.cmd takes too long")
        kill_some(collection, folder, draw)
        collection.wait(real_host.LIMIT)
        return None


def collect_the_rest(host, folder):
    """As the next runs do: while a reader that outlived its batch file still works, they wait."""
    limit = time.monotonic() + real_host.LIMIT
    while True:
        code = collect_real(host, folder)
        if code == 0:
            return
        expect(code == 10 and time.monotonic() < limit, f"collect.cmd ends with {code}: " +
               (folder / "messages.txt").read_text())


def case_real_programs():
    """The real service host, collect.cmd and the real quillon-log: the hosts write and change files,
    crash and start again, while collections are killed at random."""
    need_engine()
    print(f"TARNWICK_SEED={SEED}")
    draw = random.Random(SEED)
    folder = work_folder("real")
    count, seconds = (10, 240) if LONG else (2, 25)
    script = ["healthy", "chatty threads=2 rate=100 length=1600"]
    hosts = [real_host.RealHost(folder / f"real{number}",
                                script + ["on activate after 9000 crash read"] * (number % 2))
             for number in range(count)]
    spool = folder / "spool"
    spool.mkdir()
    codes = []
    usual = 1.0  # seconds that the last whole collection took: kills come before and after them
    with engine.Engine(folder / "engine") as server:
        server.make_tables()
        loading = Loading(server, spool, draw)
        end = time.monotonic() + seconds
        while time.monotonic() < end:
            for host in hosts:
                host.keep_running()
                began = time.monotonic()
                codes.append(collect_real(host, spool / host.name, draw, draw.uniform(0, 2 * usual)))
                if codes[-1] is not None:
                    usual = time.monotonic() - began
                loading.go_on()
        for host in hosts:
            host.end() if draw.random() < 0.5 else host.kill()
            collect_the_rest(host, spool / host.name)
        loading.kill()
        code, messages = server.load_once(spool)
        expect(code == 0, messages)

        arrived = int(server.ask("SELECT count() FROM quillon.records")[0][0])
        stored = stored_records(server)
        files = 0
        for host in hosts:
            truth = host.truth()
            files += len({file for file, _ in truth})
            missing, unknown = set(truth) - set(stored[host.name]), set(stored[host.name]) - set(truth)
            expect(not missing and not unknown, f"{host.name}: {len(missing)} missing "
                   f"{sorted(missing)[:3]}, {len(unknown)} unknown {sorted(unknown)[:3]}")
            for name, fields in truth.items():
                expect(stored[host.name][name] == fields, f"{host.name} {name}: "
                       f"{stored[host.name][name]} instead of {fields}")
    kept = sum(map(len, stored.values()))
    expect(files > 2 * count, "no host changed its file")
    expect(codes.count(None) > len(codes) // 10, f"too few kills: {codes}")
    print(f"{count} real hosts, {files} log files, {kept} records once in the engine; {len(codes)} "
          f"collections, {codes.count(None)} killed, {codes.count(10)} met one that still ran; "
          f"load.sh killed {loading.kills} times; {arrived - kept} rows were duplicates at the end")


def main():
    cases = {name.removeprefix("case_"): function for name, function in globals().items()
             if name.startswith("case_")}
    if len(sys.argv) != 2 or sys.argv[1] not in cases:
        print(__doc__ + "\nCases: " + " ".join(cases))
        sys.exit(2)
    try:
        cases[sys.argv[1]]()
    except AssertionError as error:
        print(f"FAILED: {error}")
        sys.exit(1)


if __name__ == "__main__":
    main()
