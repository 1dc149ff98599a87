"""The program as a person has it: its settings, its start and its end."""

import contextlib
import ctypes
import json
import os
import pathlib
import sqlite3
import subprocess
import time

from screen import Screen

SETTINGS = pathlib.Path(os.environ["XDG_CONFIG_HOME"]) / "com.ovrelin.Pairdeck" / "defaults.json"
STORE = pathlib.Path(os.environ["XDG_CACHE_HOME"]) / "com.ovrelin.Pairdeck" / "store"


def settings():
    """What is on disk; a person who looks while it is damaged sees nothing."""
    return json.loads(SETTINGS.read_text("utf-8")) if SETTINGS.exists() else {}


def store(**values):
    """Writes the settings, as an earlier run of the program would have left them."""
    SETTINGS.parent.mkdir(parents=True, exist_ok=True)
    SETTINGS.write_text(json.dumps(values), "utf-8")


def folders(left, right):
    """The settings that name both decks' default folders."""
    return {
        "PairdeckLeftDefaultDirectory": str(left),
        "PairdeckRightDefaultDirectory": str(right),
    }


def shapes():
    """The songs' shapes that the program remembers, the newest first."""
    if not STORE.exists():
        return []
    with contextlib.closing(sqlite3.connect(f"file:{STORE}?mode=ro", uri=True)) as store:
        if not store.execute("SELECT name FROM sqlite_schema WHERE name='shapes'").fetchall():
            return []
        return [value for (value,) in store.execute("SELECT value FROM shapes ORDER BY age DESC")]


class Program:
    """One run of the program; as a context it does not outlive its block."""

    # The superuser, too, may then open only what its modes allow.
    BOUND = ["setpriv", "--bounding-set=-dac_override,-dac_read_search"] if os.geteuid() == 0 else []

    def __init__(self, executable):
        self.process = subprocess.Popen([*self.BOUND, executable])
        self.screen = Screen(self.process.pid)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        if self.process.poll() is None:
            self.process.kill()
            self.process.wait()

    def wait(self, seconds=10.0):
        """The exit status, once the program has ended by itself."""
        return self.process.wait(seconds)

    def hurry(self):
        """Lifts every thread to the usual priority, where one may: what runs at the least takes long
        on a busy machine."""
        for task in pathlib.Path(f"/proc/{self.process.pid}/task").iterdir():
            with contextlib.suppress(OSError):
                os.setpriority(os.PRIO_PROCESS, int(task.name), 0)

    @contextlib.contextmanager
    def held(self):
        """While the block runs, the program's main thread stands still and the others go on."""
        trace = ctypes.CDLL(None, use_errno=True).ptrace
        trace.argtypes = [ctypes.c_long] * 4
        seize, interrupt, detach = 0x4206, 0x4207, 17
        for request in (seize, interrupt):
            if trace(request, self.process.pid, 0, 0) != 0:
                raise OSError(ctypes.get_errno(), "ptrace")
        os.waitpid(self.process.pid, 0x40000000)  # any kind of thread
        try:
            yield
        finally:
            trace(detach, self.process.pid, 0, 0)

    def peak_memory(self):
        """The most memory that the program has held at once, in bytes."""
        status = pathlib.Path(f"/proc/{self.process.pid}/status").read_text()
        return 1024 * int(status.partition("VmHWM:")[2].split()[0])

    def processor_seconds(self):
        """The processor time that the program has taken so far."""
        fields = pathlib.Path(f"/proc/{self.process.pid}/stat").read_text().rpartition(")")[2].split()
        return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")

    def processor_share(self, seconds):
        """The share of one core that the program takes over the next seconds."""
        before = self.processor_seconds()
        time.sleep(seconds)
        return (self.processor_seconds() - before) / seconds
