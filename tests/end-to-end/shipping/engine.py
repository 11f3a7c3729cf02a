"""A ClickHouse server of the tests' own: below a folder of theirs, on loopback, stopped at the end."""

import pathlib
import re
import shutil
import signal
import socket
import subprocess
import time
import urllib.error
import urllib.request

ROOT = pathlib.Path(__file__).resolve().parents[3]
SHIPPING = ROOT / "shipping" / "clickhouse"
START_LIMIT = 60  # seconds

CONFIG = """<yandex>
  <logger><level>warning</level><log>{folder}/server.log</log>
    <errorlog>{folder}/error.log</errorlog><size>20M</size><count>2</count></logger>
  <listen_host>127.0.0.1</listen_host>
  <http_port>{port}</http_port>
  <path>{folder}/data/</path>
  <tmp_path>{folder}/tmp/</tmp_path>
  <users_config>users.xml</users_config>
  <default_profile>default</default_profile>
  <default_database>default</default_database>
  <mark_cache_size>268435456</mark_cache_size>
  <timezone>UTC</timezone>
</yandex>
"""
USERS = """<yandex>
  <profiles><default><max_memory_usage>{memory}</max_memory_usage></default></profiles>
  <users><default><password></password><networks><ip>127.0.0.1</ip></networks>
    <profile>default</profile><quota>default</quota></default></users>
  <quotas><default/></quotas>
</yandex>
"""


def installed():
    return shutil.which("clickhouse-server", path="/usr/sbin:/usr/bin:/usr/local/bin") is not None


def free_port():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


class Engine:
    def __init__(self, folder, memory=4_000_000_000):
        self.folder = pathlib.Path(folder).resolve()
        self.port = free_port()
        self.url = f"http://127.0.0.1:{self.port}"
        self.process = None
        (self.folder / "data").mkdir(parents=True, exist_ok=True)
        (self.folder / "tmp").mkdir(exist_ok=True)
        (self.folder / "config.xml").write_text(CONFIG.format(folder=self.folder, port=self.port))
        (self.folder / "users.xml").write_text(USERS.format(memory=memory))

    def __enter__(self):
        self.start()
        return self

    def __exit__(self, *_):
        self.stop()

    def start(self):
        self.process = subprocess.Popen(
            ["clickhouse-server", f"--config-file={self.folder}/config.xml"], cwd=self.folder,
            env={"PATH": "/usr/sbin:/usr/bin:/bin", "LC_ALL": "C.UTF-8"},
            stdin=subprocess.DEVNULL, stdout=open(self.folder / "output.txt", "ab"),
            stderr=subprocess.STDOUT, start_new_session=True)
        limit = time.monotonic() + START_LIMIT
        while True:
            try:
                self.ask("SELECT 1")
                return
            except OSError:
                if self.process.poll() is not None or time.monotonic() > limit:
                    raise RuntimeError(f"clickhouse-server doesn't start; see {self.folder}") from None
                time.sleep(0.1)

    def stop(self):
        if self.process:
            self.process.terminate()
            try:
                self.process.wait(60)
            except subprocess.TimeoutExpired:
                self.kill()
            self.process = None

    def kill(self):
        self.process.send_signal(signal.SIGKILL)
        self.process.wait()

    def open(self, query):
        """The answer as a stream of bytes."""
        try:
            return urllib.request.urlopen(self.url + "/", query.encode(), timeout=600)
        except urllib.error.HTTPError as error:
            raise RuntimeError(f"{query}\n{error.read().decode()}") from None

    def ask(self, query):
        """The answer as rows of texts."""
        with self.open(query) as answer:
            return [line.split("\t") for line in answer.read().decode().splitlines()]

    def make_tables(self):
        text = re.sub(r"^--.*\n", "", (SHIPPING / "schema.sql").read_text(), flags=re.MULTILINE)
        for statement in re.split(r";\s*(?:\n|$)", text):
            if statement.strip():
                self.ask(statement)

    def question(self, name):
        return self.ask((SHIPPING / "questions" / f"{name}.sql").read_text())

    def load(self, spool, *options, **arguments):
        """Starts load.sh."""
        return subprocess.Popen([str(SHIPPING / "load.sh"), "--url", self.url, *options, str(spool)],
                                stdin=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True,
                                start_new_session=True, **arguments)

    def load_once(self, spool, *options):
        """The exit code and what load.sh reported."""
        loader = self.load(spool, "--once", *options)
        _, messages = loader.communicate(timeout=600)
        return loader.returncode, messages
