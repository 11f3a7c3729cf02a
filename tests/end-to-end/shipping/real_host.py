"""The real service host as a console run under Wine, with a data folder of its own."""

import os
import pathlib
import re
import shutil
import signal
import subprocess
import time

import engine
import stand_in

WINE = str(engine.ROOT / "cmake" / "wine.sh")
LIMIT = 120  # seconds


def programs():
    return pathlib.Path(os.environ.get("TARNWICK_BIN") or engine.ROOT / "build" / "mingw" / "bin")


def windows_path(path):
    return "Z:" + str(pathlib.Path(path).resolve()).replace("/", "\\")


def start_stamp(name):
    return re.search(r"-(\d{8}-\d{6}-\d{3})\.\d+\.log$", name)[1]


def processes(program, argument):
    """Linux's numbers of the Wine processes of a program that have this text in their arguments."""
    found = []
    for entry in pathlib.Path("/proc").iterdir():
        try:
            words = (entry / "cmdline").read_bytes().split(b"\0") if entry.name.isdigit() else [b""]
        except OSError:
            continue
        if words[0].endswith(program.encode()) and argument.encode() in b" ".join(words):
            found.append(int(entry.name))
    return found


def kill_process(pid):
    try:
        os.kill(pid, signal.SIGKILL)
    except ProcessLookupError:
        pass


def start_collection(logs, folder):
    """collect.cmd for a host whose folder in the spool has the host's name."""
    # A relative path: cmd drops the quotes of a first word that has them.
    return subprocess.Popen(
        [WINE, "cmd", "/c", "shipping\\collect.cmd", windows_path(folder), windows_path(logs),
         "--host", folder.name], cwd=engine.ROOT,
        env={**os.environ, "QUILLON_LOG": windows_path(programs() / "quillon-log.exe")},
        stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
        start_new_session=True)


class RealHost:
    def __init__(self, folder, script):
        self.folder = pathlib.Path(folder)
        self.name = self.folder.name
        self.data = self.folder / "data"
        self.logs = self.data / "Velmora" / "Quillon" / "Logs"
        self.data.mkdir(parents=True)
        for name in ("tarnwick-service.exe", "orrin-ctrl.dll"):
            shutil.copy(programs() / name, self.folder)
        (self.folder / "orrin-ctrl.script").write_text("\n".join(script) + "\n")
        self.process = None

    def start(self):
        # Wine sets this variable for the first program of a chain; the second inherits it changed.
        # The path in front of the name is what `processes` finds it by.
        (self.folder / "run-host.cmd").write_text(
            f'@set "ALLUSERSPROFILE={windows_path(self.data)}"\n'
            f'@"{windows_path(self.folder)}\\tarnwick-service.exe" -run\n')
        self.process = subprocess.Popen([WINE, "cmd", "/c", "run-host.cmd"], cwd=self.folder,
                                        stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                                        stderr=subprocess.DEVNULL, start_new_session=True)

    def pids(self):
        return processes("tarnwick-service.exe", windows_path(self.folder) + "\\")

    def keep_running(self):
        """Starts the host if it doesn't run."""
        if self.process is None or self.process.poll() is not None:
            self.start()

    def truth(self):
        """What a reader should print: (file, number) to the fields of the record."""
        truth = {}
        for name in stand_in.log_names(self.logs):
            text = stand_in.read_log(self.logs, name)
            header = re.search(r"process: (\d+)", text)
            if not header:
                continue  # the file was just made
            pid = int(header[1])
            for number, (stamp, *fields) in enumerate(stand_in.split_records(text), 1):
                truth[name, number] = (stand_in.iso_time(stamp), *fields, pid)
        return truth

    def wait_for(self, condition):
        limit = time.monotonic() + LIMIT
        while not condition():
            if time.monotonic() > limit:
                raise AssertionError("the service host takes too long")
            time.sleep(0.2)

    def wait_for_lines(self, component, count):
        self.wait_for(self.logs.exists)
        self.wait_for(lambda: sum(fields[2] == component for fields in self.truth().values()) >= count)

    def end(self):
        """Ctrl+C, and the wait for the end of the process."""
        self.signal(signal.SIGINT)

    def kill(self):
        self.signal(signal.SIGKILL)

    def signal(self, number):
        for pid in self.pids():
            os.kill(pid, number)
        if self.process:
            self.process.wait(LIMIT)
        self.process = None
