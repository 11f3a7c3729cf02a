#!/usr/bin/env python3
"""Makes a folder of compressed logs: make_logs.py FOLDER FILES [overlapping].

Each file holds 5 MiB of records as the host writes them. All files belong to one process, or, with
"overlapping", each to a process of its own, all of them started at the same time; then one file is
cut off and one has a damaged byte. The texts come from a fixed seed.
"""

import datetime
import gzip
import pathlib
import random
import sys

FILE_SIZE = 5 * 1024 * 1024
MESSAGES = (
    "VelmoraTarnwickService in OnStart started",
    "job {0} took {1} ms on worker {2}",
    "connection {0} from 10.{2}.{1}.{0} closed after {1} requests",
    "cache: {0} entries, {1} hits, {2} misses",
    "file C:\\ProgramData\\data\\{0}\\{1}.bin: {2} bytes",
)
LEVELS = ("T",) * 95 + ("W",) * 4 + ("E",)


def stamp(moment):
    return moment.strftime("%Y%m%d-%H%M%S") + f"-{moment.microsecond // 1000:03d}"


def main():
    folder, files = pathlib.Path(sys.argv[1]), int(sys.argv[2])
    overlapping = len(sys.argv) > 3
    runs = files if overlapping else 1
    folder.mkdir(parents=True, exist_ok=True)
    chance = random.Random(1)
    first = moment = datetime.datetime(2026, 1, 1)
    for run in range(runs):
        start = moment = first + datetime.timedelta(milliseconds=run)
        for number in range(files // runs):
            lines, size = [], 0
            header = f"build: 804, process: {1000 + run}, 'C:\\tarnwick-service.exe'"
            while size < FILE_SIZE:
                numbers = [chance.randrange(1000) for _ in range(3)]
                text = header or chance.choice(MESSAGES).format(*numbers)
                level = "T" if header else chance.choice(LEVELS)
                header = None
                line = f"[{stamp(moment)}][{level}][worker{numbers[0] % 7}] {text}\n"
                lines.append(line)
                size += 2 * len(line)
                moment += datetime.timedelta(milliseconds=chance.randrange(200))
            name = f"quillon-{stamp(start)}.{number}.log.gz"
            content = b"\xff\xfe" + "".join(lines).encode("utf-16-le")
            packed = bytearray(gzip.compress(content, 6))
            if overlapping and run == 1:
                del packed[len(packed) // 2 :]
            elif overlapping and run == 2:
                packed[len(packed) // 2] ^= 0xFF
            (folder / name).write_bytes(packed)


if __name__ == "__main__":
    main()
