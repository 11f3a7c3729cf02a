"""A stand-in for collect.cmd and quillon-log where a Wine process for each host would take too long.
It keeps to the same interface and can be killed at each of its steps."""

import gzip
import json
import os
import re
import signal

NAME = re.compile(r"(.+-\d{8}-\d{6}-\d{3})\.(\d+)\.log(\.gz)?$")
RECORD = re.compile(r"\[(\d{8}-\d{6}-\d{3})\]\[([^\]]*)\]\[([^\]]*)\] ")
CURSOR_BYTES = 8192  # of output, after which the cursor moves on


def split_records(text):
    """(time, level, component, message) of each record."""
    starts = [match for match in RECORD.finditer(text)
              if match.start() == 0 or text[match.start() - 1] == "\n"]
    ends = [match.start() for match in starts[1:]] + [len(text)]
    for match, end in zip(starts, ends):
        yield (*match.groups(), text[match.end():end - 1])


def read_log(folder, name):
    """The text of a log, from the plain file if there is one; None if retention has deleted it."""
    for suffix, opener in (("", open), (".gz", gzip.open), ("", open), (".gz", gzip.open)):
        try:
            with opener(os.path.join(folder, name + suffix), "rb") as file:
                return file.read().decode("utf-16", "surrogatepass")
        except FileNotFoundError:
            pass
    return None


def log_names(folder):
    """Names without ".gz", in the order of writing."""
    found = {}
    for entry in os.listdir(folder):
        match = NAME.match(entry)
        if match:
            found[match[1], int(match[2])] = entry.removesuffix(".gz")
    return [found[key] for key in sorted(found)]


def key_of(name):
    match = NAME.match(name)
    return match[1], int(match[2])


def escape_pair(match):
    data = match[0].encode("utf-16-be", "surrogatepass")
    return "".join(f"\\u{data[at]:02x}{data[at + 1]:02x}" for at in range(0, len(data), 2))


def json_line(fields):
    text = json.dumps(fields, ensure_ascii=False, separators=(",", ":"))
    return (re.sub("[\ud800-\udfff\U00010000-\U0010ffff]", escape_pair, text) + "\n").encode()


def iso_time(stamp):
    return (f"{stamp[:4]}-{stamp[4:6]}-{stamp[6:8]}T{stamp[9:11]}:{stamp[11:13]}:{stamp[13:15]}"
            f".{stamp[16:]}Z")


class Collector:
    """One run of the collection. `die_at`: the step at which it is killed."""

    def __init__(self, logs, folder, host, die_at=None):
        self.logs, self.folder, self.host = str(logs), str(folder), host
        self.steps, self.die_at = 0, die_at
        self.cursor_file = os.path.join(self.folder, "cursor")
        self.part = os.path.join(self.folder, "part")

    def step(self):
        self.steps += 1
        if self.steps == self.die_at:
            os.kill(os.getpid(), signal.SIGKILL)

    def run(self):
        os.makedirs(self.folder, exist_ok=True)
        self.hand_over()
        cursor = self.read_cursor()
        with open(self.part, "wb", buffering=0) as output:
            self.step()
            self.ship(output, cursor)
        self.step()
        self.hand_over()
        self.step()

    def hand_over(self):
        if os.path.exists(self.part):
            if os.path.getsize(self.part) == 0:
                os.remove(self.part)
            else:
                os.rename(self.part, os.path.join(self.folder, os.urandom(8).hex() + ".jsonl"))

    def read_cursor(self):
        try:
            with open(self.cursor_file) as file:
                name, record = json.load(file)
                return name, record
        except FileNotFoundError:
            return None

    def write_cursor(self, name, record):
        with open(self.cursor_file + ".new", "w") as file:
            json.dump((name, record), file)
        self.step()
        os.replace(self.cursor_file + ".new", self.cursor_file)
        self.step()

    def ship(self, output, cursor):
        last = None
        for name in log_names(self.logs):
            if cursor and key_of(name) < key_of(cursor[0]):
                continue
            text = read_log(self.logs, name)
            if text is None:
                continue
            self.report_gap(last, name, cursor)
            last = name
            self.ship_file(output, name, cursor[1] if cursor and name == cursor[0] else 0, text)

    def report_gap(self, last, name, cursor):
        """`last` is the file read before `name` in this run, or None."""
        run, number = key_of(name)
        if last:
            last_run, last_number = key_of(last)
            missing = number != (last_number + 1 if run == last_run else 0)
        else:
            missing = name != cursor[0] if cursor else number > 0
        if missing:
            with open(os.path.join(self.folder, "messages.txt"), "a") as file:
                file.write(f"gap before {name}\n")

    def ship_file(self, output, name, done, text):
        pid = re.search(r"process: (\d+)", text)
        waiting = b""
        record = 0
        for record, (stamp, level, component, message) in enumerate(split_records(text), 1):
            if record <= done:
                continue
            waiting += json_line({"time": iso_time(stamp), "level": level, "component": component,
                                  "message": message, "pid": int(pid[1]), "file": name,
                                  "record": record, "host": self.host})
            if len(waiting) >= CURSOR_BYTES:
                self.write(output, waiting)
                self.write_cursor(name, record)
                waiting = b""
        if waiting:
            self.write(output, waiting)
            self.write_cursor(name, record)

    def write(self, output, data):
        middle = len(data) // 2
        output.write(data[:middle])
        self.step()
        output.write(data[middle:])
        self.step()


def collect_in_child(*arguments, **options):
    """Forks a collection. Whether it came to its end."""
    child = os.fork()
    if child == 0:
        status = 1
        try:
            Collector(*arguments, **options).run()
            status = 0
        finally:
            os._exit(status)
    status = os.waitpid(child, 0)[1]
    if os.WIFSIGNALED(status) and os.WTERMSIG(status) == signal.SIGKILL:
        return False
    if status != 0:
        raise RuntimeError("the stand-in failed")
    return True
