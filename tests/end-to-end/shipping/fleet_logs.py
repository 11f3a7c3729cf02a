"""Writes log folders as the logger does, without the product: names, header, records, rotation,
compression. The case generator_matches_logger of fleet_test.py holds it to the logger's own files."""

import datetime
import os
import pathlib
import zlib

FILE_LIMIT = 5 * 1024 * 1024
BYTE_ORDER_MARK = b"\xff\xfe"
# What zlib's gzopen writes in a program for Windows: no name, no time, system 10.
GZIP_HEADER = b"\x1f\x8b\x08\x00\x00\x00\x00\x00\x00\x0a"
EPOCH = datetime.datetime(1970, 1, 1)


def moment(milliseconds):
    """UTC milliseconds since 1970 as a datetime."""
    return EPOCH + datetime.timedelta(milliseconds=milliseconds)


def stamp(milliseconds):
    time = moment(milliseconds)
    return time.strftime("%Y%m%d-%H%M%S-") + f"{time.microsecond // 1000:03}"


def parse_stamp(text):
    time = datetime.datetime.strptime(text[:15], "%Y%m%d-%H%M%S")
    return round((time - EPOCH).total_seconds()) * 1000 + int(text[16:19])


def gzip_bytes(content):
    compressor = zlib.compressobj(zlib.Z_DEFAULT_COMPRESSION, zlib.DEFLATED, -15, 8)
    body = compressor.compress(content) + compressor.flush()
    check = zlib.crc32(content).to_bytes(4, "little")
    return GZIP_HEADER + body + check + (len(content) & 0xFFFFFFFF).to_bytes(4, "little")


class LogWriter:
    """One run of the service. `clock` returns UTC milliseconds and is read as often as the logger
    reads its clock: for the name, once for each record, and once for the times in a header."""

    def __init__(self, folder, clock, *, pid, path, build, zone_minutes=0, prefix="quillon",
                 file_limit=FILE_LIMIT):
        self.folder = pathlib.Path(folder)
        self.clock = clock
        self.pid, self.path, self.build = pid, path, build
        self.zone = datetime.timedelta(minutes=zone_minutes)
        self.file_limit = file_limit
        self.folder.mkdir(parents=True, exist_ok=True)
        self.start = f"{prefix}-{stamp(clock())}"
        self.number = -1
        self.observer = None  # called with (file, record, time, level, component, message)
        self._open_next()

    def begin(self):
        """The header of the first file counts towards its size, like any record."""
        for line in self._header():
            self.written += self._write(*line)

    def name(self, number=None):
        return f"{self.start}.{self.number if number is None else number}.log"

    def log(self, level, component, message):
        """Returns an iterator of the steps of a rotation, or None. The caller runs it to its end
        before it logs again; between two steps the folder is as others see it."""
        self.written += self._write(self.clock(), level, component, message)
        return self._rotate() if self.written > self.file_limit else None

    def log_now(self, level, component, message):
        for _ in self.log(level, component, message) or ():
            pass

    def close(self):
        """The orderly end: "End", and the last file compressed."""
        self.log_now("T", "quillon", "End\n")
        self.file.close()
        for _ in self._compress(self.name()):
            pass

    def crash(self):
        """The file stays as it is."""
        self.file.close()

    def _open_next(self):
        self.number += 1
        self.record = 0
        self.written = 0
        self.file = open(self.folder / self.name(), "xb", buffering=0)
        self.file.write(BYTE_ORDER_MARK)

    def _header(self):
        yield (self.clock(), "T", "quillon",
               f"build: {self.build}, process: {self.pid}, '{self.path}'\n")
        now = moment(self.clock())
        yield self.clock(), "T", "quillon", now.strftime("%Y.%m.%d %H:%M:%S UTC\n")
        yield self.clock(), "T", "quillon", (now + self.zone).strftime("%Y.%m.%d %H:%M:%S LOCAL\n")

    def _write(self, time, level, component, message):
        if not message.endswith("\n"):
            message += "\n"
        data = f"[{stamp(time)}][{level}][{component}] {message}".encode("utf-16-le",
                                                                          "surrogatepass")
        self.file.write(data)
        self.record += 1
        if self.observer:
            self.observer(self.name(), self.record, time, level, component, message[:-1])
        return len(data)

    def _rotate(self):
        closed = self.file
        self._open_next()
        closed.close()
        yield
        for line in self._header():  # a further file's header doesn't count towards its size
            self._write(*line)
        yield
        yield from self._compress(self.name(self.number - 1))

    def _compress(self, name):
        plain = self.folder / name
        data = gzip_bytes(plain.read_bytes())
        with open(self.folder / (name + ".gz"), "wb", buffering=0) as target:
            target.write(data[:len(data) // 2])
            yield
            target.write(data[len(data) // 2:])
        yield
        os.remove(plain)
        yield
