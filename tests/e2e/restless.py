"""A restless listener: random commands by bus, keyboard and accessibility, for a minute.

Usage: restless.py PROGRAM FOLDER [unittest argument]..., in the session that scripts/session
starts. FOLDER receives a screenshot when it fails. The environment's PAIRDECK_MINUTES makes it
longer; from the second minute on, the default sink and a folder come and go in each, and the sound
server hangs, its sink is suspended or the program itself is stopped for a minute. PAIRDECK_SEED gives other commands. What the program holds is printed each minute.
"""

import contextlib
import os
import pathlib
import random
import signal
import subprocess
import sys
import time

from gi.repository import Gio, GLib

import music
from program import folders, store
from scenes import Scene, perform
from screen import press
from sound import hanging_server

MINUTES = int(os.environ.get("PAIRDECK_MINUTES", "1"))
SEED = int(os.environ.get("PAIRDECK_SEED", "19"))
WARM_UP = 20.0  # seconds until every kind of thing has been shown once

PLAYER = "org.mpris.MediaPlayer2.Player"
NUMBERS = (0.0, 0.5, 1.0, -1.0, 1e300, float("nan"), float("inf"), float("-inf"))
TIMES = (0, 1, 5_000_000, -5_000_000, 2**63 - 1, -(2**63))
KEYS = (
    "Tab", "shift+Tab", "Left", "Right", "Up", "Down", "Home", "End", "Prior", "Next", "Escape",
    "F5", "a", "BackSpace", "BackSpace", "ctrl+a", "space", "Return", "F1", "ctrl+comma",
)
# They end the program, or ask for a folder; the end comes in its own time.
SPARED = ("Close", "Menu", "load folder", "change default folder")


class Restless(Scene):
    left = [*music.LEFT, *music.SHORT]

    def setUp(self):
        super().setUp()
        self.random = random.Random(SEED)
        self.bus = Gio.bus_get_sync(Gio.BusType.SESSION)
        self.commands = 0
        self.pid = self.program.process.pid

    def call(self, interface, method, parameters):
        side = self.random.choice(("left", "right"))
        with contextlib.suppress(GLib.Error):  # what is refused is an answer, too
            self.bus.call_sync(
                f"org.mpris.MediaPlayer2.pairdeck.{side}", "/org/mpris/MediaPlayer2", interface,
                method, parameters, None, Gio.DBusCallFlags.NO_AUTO_START, 30000, None)

    def set(self, name, value):
        parameters = GLib.Variant("(ssv)", (PLAYER, name, value))
        self.call("org.freedesktop.DBus.Properties", "Set", parameters)

    def by_bus(self):
        choose = self.random.choice
        song = choose(self.left).file
        acts = (
            *(lambda name=name: self.call(PLAYER, name, None)
              for name in ("Next", "Next", "Next", "Previous", "PlayPause", "Play", "Stop")),
            lambda: self.call(PLAYER, "Seek", GLib.Variant("(x)", (choose(TIMES),))),
            lambda: self.call(PLAYER, "SetPosition", GLib.Variant("(ox)", ("/none", choose(TIMES)))),
            lambda: self.set("Volume", GLib.Variant("d", choose(NUMBERS))),
            lambda: self.set("Rate", GLib.Variant("d", choose(NUMBERS))),
            lambda: self.set("Shuffle", GLib.Variant("b", choose((True, False)))),
            lambda: self.set("LoopStatus", GLib.Variant("s", choose(("None", "Playlist", "Track", "x" * 99999)))),
            lambda: self.call(PLAYER, "OpenUri", GLib.Variant("(s)", ((self.folder / "Left" / song).as_uri(),))),
        )
        choose(acts)()

    def by_keyboard(self):
        def focused():
            return next((control.name for control in self.screen.controls() if control.focused), "")

        key = self.random.choice(KEYS)
        before = focused()
        if key in ("space", "Return"):
            # An earlier key may still be on its way, and move on to what is to be spared.
            time.sleep(0.3)
        settled = focused() == before and not before.endswith(SPARED)
        press(key if settled else "Tab")

    def by_accessibility(self):
        controls = [control for control in self.screen.controls() if not control.name.endswith(SPARED)]
        if not controls:
            return
        accessible = self.random.choice(controls).accessible
        with contextlib.suppress(GLib.Error):  # gone meanwhile
            if value := accessible.get_value_iface():
                value.set_current_value(self.random.choice(NUMBERS))
            elif action := accessible.get_action_iface():
                action.do_action(0)

    def act_for(self, seconds):
        end = time.monotonic() + seconds
        while time.monotonic() < end:
            self.random.choice((self.by_bus, self.by_bus, self.by_keyboard, self.by_accessibility))()
            self.commands += 1
            time.sleep(self.random.uniform(0, 0.1))
            self.assertIsNone(self.program.process.poll(), f"it ended after {self.commands} commands")

    def held(self):
        """Memory in megabytes, open files and threads."""
        process = pathlib.Path(f"/proc/{self.pid}")
        status = (process / "status").read_text()
        memory = int(status.partition("VmRSS:")[2].split()[0]) / 1024
        return memory, len(list((process / "fd").iterdir())), len(list((process / "task").iterdir()))

    def report(self, minute):
        memory, files, threads = self.held()
        print(f"minute {minute}: {self.commands} commands, {memory:.1f} MB, {files} files, {threads} threads,"
              f" {self.program.processor_seconds():.0f} s of processor time", file=sys.stderr, flush=True)

    @contextlib.contextmanager
    def misfortune(self, number):
        def pactl(*words):
            return subprocess.run(["pactl", *words], check=True, capture_output=True, text=True).stdout

        gone = self.folder / "gone"
        module = pactl("load-module", "module-null-sink", "sink_name=other", "rate=44100")
        pactl("set-default-sink", "other")
        (self.folder / "Left").rename(gone)
        press("F5")
        match number % 3:
            case 0:
                with hanging_server():
                    yield
            case 1:
                pactl("suspend-sink", "other", "1")
                yield
            case 2:
                os.kill(self.pid, signal.SIGSTOP)
                time.sleep(60)
                os.kill(self.pid, signal.SIGCONT)
                yield
        gone.rename(self.folder / "Left")
        press("F5")
        # Gone under the program, which is moved to the one that is left.
        pactl("unload-module", module.strip())

    def test_nothing_grows(self):
        print(f"seed {SEED}", file=sys.stderr)
        store(**folders(self.folder / "Left", self.folder / "Right"), PairdeckLeftRepeatState=1)
        self.act_for(WARM_UP)
        before = self.held()
        self.report(0)
        self.act_for(60 - WARM_UP)
        self.report(1)
        for minute in range(2, MINUTES + 1):
            with self.misfortune(minute):
                self.act_for(40)
            self.act_for(20)
            self.report(minute)
        press("Escape")
        time.sleep(2)
        memory, files, threads = self.held()
        self.assertLess(memory, 1.15 * before[0] + 10)
        self.assertLessEqual(files, before[1] + 6)
        self.assertLessEqual(threads, before[2] + 4)
        self.end()


if __name__ == "__main__":
    perform()
