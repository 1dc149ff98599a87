"""The program as the desktop session knows it: steered by playerctl, given files, told to end.

Usage: remote.py PROGRAM FOLDER [unittest argument]..., in the session that scripts/session
starts. FOLDER receives a screenshot of each scene that fails.
"""

import os
import signal
import subprocess
import time

from gi.repository import Gio

import music
from program import settings
from scenes import EXECUTABLE, Scene, perform
from screen import hand, wait_until


def playerctl(deck, *words):
    command = ["playerctl", "--player", f"pairdeck.{deck.side.lower()}", *map(str, words)]
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout.strip()


def start_again(*arguments):
    """A second start of the program; its exit status."""
    return subprocess.run([EXECUTABLE, *arguments], timeout=10, check=False).returncode


def listed():
    return sorted(subprocess.run(["playerctl", "-l"], check=True, capture_output=True,
                                 text=True).stdout.split())


class Steering(Scene):
    def setUp(self):
        super().setUp()
        # The window is there before they are on the bus.
        wait_until(lambda: listed() == ["pairdeck.left", "pairdeck.right"], "a player for each deck")

    def reads(self, deck, words, text):
        wait_until(lambda: playerctl(deck, *words.split()) == text, f"{text!r} as {deck.side} {words}")

    def test_each_deck_by_itself(self):
        for deck, tone in ((self.deck, self.left[0]), (self.other, self.right[1])):
            folder = self.folder / deck.side
            playerctl(deck, "open", (folder / tone.file).as_uri())
            self.reads(deck, "metadata title", tone.title)
            self.reads(deck, "metadata artist", tone.artist)
            self.assertEqual(playerctl(deck, "metadata", "album"), music.ALBUM)
            length = int(playerctl(deck, "metadata", "mpris:length"))
            self.assertAlmostEqual(length / 1e6, 30.0, delta=0.1)
        self.hears(left=400, right=900)
        playerctl(self.deck, "pause")
        self.reads(self.deck, "status", "Paused")
        self.assertFalse(self.deck.overlay().checked)
        self.hears(right=900)
        playerctl(self.deck, "play-pause")
        playerctl(self.other, "stop")
        self.reads(self.other, "status", "Stopped")
        self.hears(left=400)
        playerctl(self.deck, "next")
        self.deck.shows("title", playerctl(self.deck, "metadata", "title"))
        self.assertNotEqual(self.deck.text("title"), self.left[0].title)

    def test_settings_and_position(self):
        playerctl(self.deck, "loop", "Track")
        playerctl(self.other, "shuffle", "On")
        wait_until(lambda: settings().get("PairdeckLeftRepeatState") == 2, "repeat one on disk")
        wait_until(lambda: settings().get("PairdeckRightShuffleState") is True, "shuffle on disk")
        self.assertTrue(self.other.control("shuffle").checked)
        self.assertFalse(self.deck.control("shuffle").checked)
        self.deck.play("Amber")
        playerctl(self.deck, "position", 20)
        wait_until(lambda: self.deck.elapsed() >= 20, "twenty seconds")
        self.deck.control("seek").drag(0.6, 0.1)
        wait_until(lambda: 2 < float(playerctl(self.deck, "position")) < 8, "the slider's position")
        playerctl(self.deck, "volume", 0.5)
        wait_until(lambda: abs(self.deck.control("volume").value - 0.5) < 0.01, "the slider at half")
        self.deck.control("volume").drag(0.5, -0.1)
        self.reads(self.deck, "volume", "0.000000")

    def test_followers_see_the_end_of_a_track(self):
        command = ["playerctl", "--player", "pairdeck.left", "--follow", "status"]
        with subprocess.Popen(command, stdout=subprocess.PIPE, text=True) as follower:
            self.addCleanup(follower.terminate)
            self.deck.play("Amber")
            playerctl(self.deck, "position", 29)
            told = [follower.stdout.readline().strip() for _ in range(3)]
            follower.terminate()
        self.assertEqual(told, ["Stopped", "Playing", "Paused"])

    def test_raise_and_quit(self):
        self.assertEqual(start_again(), 0)
        self.assertIsNone(self.program.process.poll())
        for method in ("Raise", "Quit"):
            Gio.bus_get_sync(Gio.BusType.SESSION).call_sync(
                "org.mpris.MediaPlayer2.pairdeck.right", "/org/mpris/MediaPlayer2",
                "org.mpris.MediaPlayer2", method, None, None, Gio.DBusCallFlags.NONE, 5000, None)
        self.assertEqual(self.program.wait(), 0)


class Files(Scene):
    def test_a_second_start_hands_its_files_over(self):
        os.chdir(self.folder)
        self.addCleanup(os.chdir, "/")
        self.assertEqual(start_again("Right", (self.folder / "Right/fir.mp3").as_uri()), 0)
        self.other.shows("title", "Fir")
        self.deck.show("library")
        self.assertCountEqual(self.deck.titles(), [tone.title for tone in self.right])
        self.hears(right=900)

    def test_a_row_is_dragged_to_the_other_deck(self):
        self.deck.show("library")
        row = self.deck.control("tracks").row(self.deck.titles().index("Cedar"))
        hand("mousemove", *row.point(), "mousedown", 1)
        for across in (0.1, 0.3, 0.5, 0.5):
            hand("mousemove", *self.other.control("album art").point(across))
            time.sleep(0.1)
        hand("mouseup", 1)
        self.other.shows("title", "Cedar")
        self.hears(right=600)


class Options(Scene):
    def test_questions_are_answered_and_mistakes_named(self):
        def answer(*words):
            return subprocess.run([EXECUTABLE, *words], capture_output=True, text=True, timeout=10, check=False)

        self.assertRegex(answer("--version").stdout, r"^Pairdeck \d+\.\d+\.\d+\n$")
        told = answer("--help", "Right")
        self.assertEqual((told.returncode, told.stderr), (0, ""))
        self.assertIn("--version", told.stdout)
        mistake = answer("--loud", str(self.folder / "Right"))
        self.assertEqual((mistake.returncode, mistake.stdout), (2, ""))
        self.assertIn("--loud", mistake.stderr)
        # None of them reached the program that runs.
        self.deck.show("library")
        self.assertCountEqual(self.deck.titles(), [tone.title for tone in self.left])


class Endings(Scene):
    def test_signals_end_it_with_everything_saved(self):
        # Ignored in what a script starts in the background, and the program heeds that.
        signal.signal(signal.SIGINT, signal.default_int_handler)
        self.end()
        self.start()
        for number, state in ((signal.SIGTERM, True), (signal.SIGINT, False)):
            self.deck.control("shuffle").click()
            wait_until(lambda: self.deck.control("shuffle").checked == state, f"shuffle {state}")
            self.program.process.send_signal(number)
            self.assertEqual(self.program.wait(), 0)
            self.assertIs(settings()["PairdeckLeftShuffleState"], state)
            self.start()

    def test_the_window_comes_back_where_it_was(self):
        window = self.screen.find("Close").rectangle
        hand("mousemove", window[0] - 100, window[1], "mousedown", 1)
        for step in (-20, -60, -120):
            hand("mousemove_relative", "--", step, step // 2)
            time.sleep(0.1)
        hand("mouseup", 1)
        wait_until(lambda: self.screen.find("Close").rectangle[0] < window[0] - 100, "the window moved")
        moved = self.screen.find("Close").rectangle
        self.end()
        self.start()
        self.assertEqual(self.screen.find("Close").rectangle, moved)

    def test_without_a_bus(self):
        self.end()
        environment = {key: value for key, value in os.environ.items() if "DBUS" not in key}
        environment["XDG_RUNTIME_DIR"] = str(self.folder)
        command = [EXECUTABLE, self.folder / "Left/amber.mp3"]
        with subprocess.Popen(command, env=environment) as process:
            self.addCleanup(process.kill)
            self.hears(left=400)
            process.terminate()
            self.assertEqual(process.wait(10), 0)


if __name__ == "__main__":
    perform()
