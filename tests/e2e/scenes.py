"""Scenes of the program's use, played by pointer and keyboard, judged by eye and ear.

Usage: scenes.py PROGRAM FOLDER [unittest argument]..., in the session that scripts/session
starts. FOLDER receives a screenshot of each scene that fails.
"""

import pathlib
import shutil
import subprocess
import sys
import tempfile
import time
import unittest

import music
from deck import Deck, away, heard
from program import SETTINGS, Program, folders, settings, store
from screen import hand, picture, press, screenshot, type_text, wait_until

EXECUTABLE, EVIDENCE = (pathlib.Path(argument) for argument in sys.argv[1:3])

TONE = -9.5  # dBFS of every tone, on one channel or, mixed down from two, on the other
SILENCE = float("-inf")


class Scene(unittest.TestCase):
    """A scene starts with a fresh program whose decks show their folders of tones."""

    left, right = music.LEFT, music.RIGHT

    @classmethod
    def setUpClass(cls):
        cls.folder = pathlib.Path(tempfile.mkdtemp(prefix="music-"))
        cls.addClassCleanup(shutil.rmtree, cls.folder)
        music.make_all(cls.left, cls.folder / "Left")
        music.make_all(cls.right, cls.folder / "Right")

    def setUp(self):
        store(**folders(self.folder / "Left", self.folder / "Right"))
        self.start()

    def start(self, executable=EXECUTABLE):
        away()
        self.program = self.enterContext(Program(executable))
        self.screen = self.program.screen
        self.decks = {side: Deck(self.screen, side) for side in ("Left", "Right")}
        self.deck, self.other = self.decks.values()

    def end(self):
        self.screen.find("Close").click()
        self.assertEqual(self.program.wait(), 0)

    def hears(self, left=None, right=None):
        """Waits until each deck sounds as its tone in hertz at full volume, or not at all."""

        def as_expected():
            sounds = heard()
            for side, tone in (("Left", left), ("Right", right)):
                loudness, frequency = sounds[side]
                if tone is None and loudness != SILENCE:
                    return False
                if tone and (abs(frequency - tone) > 1 or abs(loudness - TONE) > 0.5):
                    return False
            return True

        wait_until(as_expected, f"{left} Hz from the left deck, {right} Hz from the right")


class Playing(Scene):
    def test_one_song_in_each_ear(self):
        self.deck.play("Amber")
        self.deck.shows("album and artist", "Woods - Ann")
        self.hears(left=400)
        self.other.play("Fir")
        self.hears(left=400, right=900)
        wait_until(lambda: self.deck.elapsed() >= 2, "the time going on")
        self.assertTrue(self.deck.overlay().checked)
        self.deck.press("play/pause")
        self.hears(right=900)
        stopped = self.deck.elapsed()
        time.sleep(1.5)
        self.assertEqual(self.deck.elapsed(), stopped)
        self.assertEqual(stopped + self.deck.remaining(), 29)
        self.assertFalse(self.deck.overlay().checked)
        self.deck.press("play/pause")
        self.hears(left=400, right=900)
        wait_until(lambda: self.deck.elapsed() > stopped, "the time going on again")

    def test_seek(self):
        self.deck.play("Birch")
        self.deck.press("play/pause")
        self.deck.control("seek").drag(0.05, 0.5)
        wait_until(lambda: 13 <= self.deck.elapsed() <= 17, "the middle of the song")
        self.assertFalse(self.deck.overlay().checked)
        self.hears()
        self.deck.press("play/pause")
        self.hears(left=500)

    def test_volume(self):
        self.deck.control("volume").drag(0.99, 0.5)
        self.deck.play("Cedar")
        wait_until(lambda: -18 < heard()["Left"][0] < -13, "half the amplitude")
        self.deck.control("volume").drag(0.5, -0.1)
        self.hears()
        self.deck.control("volume").drag(0.01, 1.1)
        self.hears(left=600)


class Navigation(Scene):
    def test_next_and_previous_wrap(self):
        self.deck.show("library")
        titles = self.deck.titles()
        self.deck.play(titles[-1])
        self.deck.press("next")
        self.deck.shows("title", titles[0])
        self.deck.press("previous")
        self.deck.shows("title", titles[-1])
        self.deck.press("previous")
        self.deck.shows("title", titles[-2])

    def test_previous_late_in_a_song_restarts_it(self):
        self.deck.play("Birch")
        self.deck.control("seek").drag(0.05, 0.6)
        wait_until(lambda: self.deck.elapsed() > 10, "past ten seconds")
        self.deck.press("previous")
        wait_until(lambda: self.deck.elapsed() < 5, "the beginning")
        self.deck.shows("title", "Birch")

    def test_shuffle_is_remembered(self):
        self.deck.control("shuffle").click()
        wait_until(lambda: self.deck.control("shuffle").checked, "shuffle on")
        self.assertFalse(self.other.control("shuffle").checked)
        self.deck.play("Amber")
        played = set()
        for _ in range(40):
            self.deck.press("next")
            played.add(self.deck.text("title"))
            if len(played) == len(self.left):
                break
        self.assertEqual(played, {tone.title for tone in self.left})
        self.end()
        self.start()
        self.assertTrue(self.deck.control("shuffle").checked)
        self.assertIs(settings()["PairdeckLeftShuffleState"], True)


class EndOfTrack(Scene):
    left, right = music.SHORT, music.RIGHT

    def near_the_end(self, title):
        self.deck.play(title)
        self.deck.control("seek").drag(0.02, 0.7)

    def test_repeat_cycles_and_is_remembered(self):
        away()
        pictures = []
        for state in (1, 2, 0):
            self.deck.control("repeat").click()
            wait_until(lambda: settings().get("PairdeckLeftRepeatState") == state, f"{state} on disk")
            away()
            press("Tab")
            pictures.append(self.deck.control("repeat").picture())
        self.assertEqual(len(set(pictures)), 3)
        for _ in range(2):
            self.deck.control("repeat").click()
        self.end()
        self.start()
        wait_until(lambda: self.deck.control("repeat").picture() == pictures[1], "repeat one restored")
        self.assertNotEqual(self.other.control("repeat").picture(), pictures[1])

    def test_repeat_off_rests_at_the_end(self):
        self.near_the_end("Gale")
        self.deck.shows("remaining time", "-00:00")
        self.hears()
        self.deck.shows("title", "Gale")
        self.deck.shows("elapsed time", "00:04")
        self.deck.press("play/pause")
        self.hears(left=350)

    def test_repeat_all_goes_on_with_the_next(self):
        self.deck.control("repeat").click()
        self.near_the_end("Gale")
        self.deck.shows("title", "Hail")
        self.hears(left=450)

    def test_repeat_one_starts_again(self):
        self.deck.control("repeat").click()
        self.deck.control("repeat").click()
        self.near_the_end("Gale")
        wait_until(lambda: self.deck.elapsed() < 2, "the beginning", 5)
        self.deck.shows("title", "Gale")
        self.hears(left=350)


class Panels(Scene):
    def test_search(self):
        self.deck.show("library")
        everything = self.deck.titles()
        for text, found in (("eric", ["Birch"]), ("CEDAR", ["Cedar"]), ("cedar ", []), ("?", [])):
            self.deck.search(text)
            wait_until(lambda: self.deck.titles() == found, f"{found} for {text!r}")
        self.deck.search("ann")
        wait_until(lambda: set(self.deck.titles()) == {"Amber", "Cedar"}, "both songs of Ann")
        self.deck.play(self.deck.titles()[1])
        self.deck.show("library")
        press("ctrl+a", "BackSpace")
        self.deck.search("")
        wait_until(lambda: self.deck.titles() == everything, "the whole folder")
        self.other.show("library")
        self.assertEqual(len(self.other.titles()), len(self.right))

    def test_library_button_pressed_again_and_again(self):
        button = self.deck.control("library")
        for presses in (1, 2, 3, 5):
            wanted = button.checked != bool(presses % 2)
            for _ in range(presses):
                button.click()
            shown, hidden = ("tracks", "album art") if wanted else ("album art", "tracks")
            self.deck.control(shown)
            self.screen.gone(f"Left deck: {hidden}")
            self.other.control("album art")

    def test_overlay_follows_the_pointer(self):
        name = "Left deck: play/pause"
        self.screen.gone(name)
        artwork = self.deck.control("album art")
        for _ in range(2):
            artwork.hover()
            self.screen.find(name)
            self.assertIsNone(self.screen.look_for("Right deck: play/pause"))
            away()
            self.screen.gone(name)
        inside, outside = artwork.point(0.1, 0.1), (5, 5)
        for _ in range(15):
            hand("mousemove", *inside, "mousemove", *outside)
        self.screen.gone(name)
        for _ in range(15):
            hand("mousemove", *outside, "mousemove", *inside)
        self.screen.find(name)
        self.deck.play("Amber")
        self.deck.overlay()
        hand("mousemove", *inside)
        time.sleep(0.5)
        self.screen.find(name)


class Windows(Scene):
    def choose(self, path):
        """Types the path into the folder panel and confirms."""
        title = "Choose a Playlist folder"
        self.screen.find(title)
        type_text(str(path))
        press("Return")
        self.screen.gone(title)

    def test_folder_loaded_for_now(self):
        self.deck.show("library")
        self.deck.control("load folder").click()
        self.choose(self.folder / "Right")
        wait_until(lambda: "Elm" in self.deck.titles(), "the songs of the other folder")
        self.deck.control("load folder").click()
        self.screen.find("Choose a Playlist folder")
        press("Escape")
        self.screen.gone("Choose a Playlist folder")
        self.assertCountEqual(self.deck.titles(), ["Elm", "Fir"])
        self.assertEqual(settings()["PairdeckLeftDefaultDirectory"], str(self.folder / "Left"))

    def test_preferences(self):
        self.screen.find("Menu").click()
        press("Down", "Return")
        self.screen.find("Two decks, two ears")
        for side, other, folder in (("Left", "Right", "Right/"), ("Right", "Left", "Left/deep")):
            self.screen.find(f"{side} deck preferences").click()
            self.screen.gone(f"{other} deck: default folder")
            self.screen.gone("Two decks, two ears")
            label = self.screen.find(f"{side} deck: default folder")
            self.assertEqual(label.text, f"Current Default Directory:\n{side}")
            self.screen.find(f"{side} deck: change default folder").click()
            path = self.folder / folder
            self.choose(path)
            wait_until(lambda: label.text.endswith(f"\n{path.name}"), f"{path.name} as default")
            key = f"Pairdeck{side}DefaultDirectory"
            wait_until(lambda: settings()[key] == str(path), f"{path} on disk")
        press("F1")
        version = self.screen.find("Version")
        self.assertRegex(version.text, r"^Version: \d+\.\d+\.\d+\nBuild: \d+$")
        self.screen.find("Close about").click()
        self.screen.gone("Version")
        self.screen.find("Global preferences").click()
        press("alt+F4")
        self.screen.gone("Global preferences")
        press("ctrl+comma")
        self.screen.find("Two decks, two ears")
        press("alt+F4")
        self.deck.show("library")
        self.assertCountEqual(self.deck.titles(), [tone.title for tone in self.left])
        press("ctrl+q")
        self.assertEqual(self.program.wait(), 0)
        self.start()
        self.deck.show("library")
        self.assertCountEqual(self.deck.titles(), ["Elm", "Fir"])

    def test_keyboard_alone(self):
        def focus():
            return next((control.name for control in self.screen.controls() if control.focused), None)

        def tab():
            """Goes on by one control; gives the one that was in focus."""
            before = wait_until(focus, "a control in focus")
            press("Tab")
            # Where the answer came late, the next press would skip a control.
            wait_until(lambda: focus() not in (None, before), "the focus to move on")
            return before

        def tab_to(name):
            for _ in range(40):
                if wait_until(focus, "a control in focus") == name:
                    return
                tab()
            self.fail(f"Tab does not reach {name!r}")

        tab_to("Menu")
        order = [tab() for _ in range(22)]
        transport = ["previous", "play/pause", "next", "seek", "shuffle", "repeat", "mute", "volume"]
        transport += ["menu", "library"]
        decks = [f"{side} deck: {role}" for side in ("Left", "Right") for role in transport]
        self.assertEqual(order, ["Menu", "Close", *decks])
        # A song that starts again and again plays for as long as the way to its button takes.
        tab_to("Left deck: repeat")
        press("space", "space")
        tab_to("Left deck: library")
        press("space")
        self.deck.control("tracks")
        tab_to("Left deck: tracks")
        press("Down", "Return")
        tab_to("Left deck: library")
        press("space")
        wait_until(lambda: self.deck.elapsed() >= 1, "a song playing")
        tab_to("Left deck: play/pause")
        press("space")
        self.hears()
        tab_to("Left deck: seek")
        press("Home")
        wait_until(lambda: self.deck.elapsed() == 0, "the beginning")
        press("Right", "Right")
        wait_until(lambda: self.deck.elapsed() == 10, "ten seconds further")


class Looks(Scene):
    BARE = b"\0\xff\0"  # a desktop of a colour that nothing in the window has

    def start(self):
        subprocess.run(["hsetroot", "-solid", "#00ff00"], check=True)
        self.addCleanup(subprocess.run, ["hsetroot", "-solid", "#000000"])
        super().start()

    def bare(self, deck):
        """How many pixels of the desktop shine undimmed through the deck."""
        named = [c for c in self.screen.controls() if c.name.startswith(f"{deck.side} deck: ")]
        boxes = [control.rectangle for control in named]
        left, top = (min(box[i] for box in boxes) for i in (0, 1))
        right, bottom = (max(box[i] + box[i + 2] for box in boxes) for i in (0, 1))
        shown = picture(left, top, right - left, bottom - top)
        return sum(shown[i : i + 3] == self.BARE for i in range(0, len(shown), 3))

    def test_no_holes_in_the_decks(self):
        self.assertIn(self.BARE, picture(0, 0, 1, 1))
        self.deck.play("Amber")
        self.other.play("Fir")
        for _ in range(3):
            for deck in self.decks.values():
                deck.show("library")
                deck.show("player")
                deck.press("play/pause")
            away()
            time.sleep(1)
            for deck in self.decks.values():
                self.assertEqual(self.bare(deck), 0, f"pixels of the desktop in the {deck.side} deck")


class Frame(Scene):
    def frame(self):
        return self.screen.find("Pairdeck").rectangle

    def drag(self, start, by):
        """Drags that point of the screen, step by step, as the window manager wants to see it."""
        (x, y), (across, down) = start, by
        hand("mousemove", x, y, "mousedown", 1)
        for i in range(1, 11):
            hand("mousemove", x + across * i // 10, y + down * i // 10)
        hand("mouseup", 1)

    def test_elastic_and_remembered(self):
        self.assertGreater(min(self.frame()[:2]), 0)
        self.deck.show("library")
        table = self.deck.control("tracks").rectangle
        left, top, width, height = self.frame()
        self.drag((left + width - 4, top + height - 4), (-600, 160))
        wait_until(lambda: self.frame()[2:] == (940, height + 160), "least width, more height")
        wait_until(
            lambda: self.deck.control("tracks").rectangle[2:] == (table[2] - 120, table[3] + 160),
            "a narrower and taller table",
        )
        left, top, width, height = self.frame()
        self.drag((left + width // 2, top + height // 2), (-90, -60))
        wait_until(lambda: self.frame()[0] < left - 50, "the window moved by the gap of the decks")
        wait_until(lambda: self.screen.find("Pairdeck").resting(), "the window at rest")
        frame = self.frame()
        self.assertEqual(frame[2:], (width, height))
        self.end()
        self.start()
        self.assertEqual(self.frame(), frame)

    def test_minimise(self):
        shown = ["xdotool", "search", "--onlyvisible", "--name", "^Pairdeck$"]
        wait_until(lambda: subprocess.run(shown, capture_output=True).stdout, "the window")
        press("ctrl+m")
        wait_until(lambda: not subprocess.run(shown, capture_output=True).stdout, "no window")

    def test_closing_the_player_ends_the_program(self):
        self.deck.play("Amber")
        press("ctrl+comma")
        self.screen.find("Two decks, two ears")
        press("Escape")
        press("F1")
        self.screen.find("Version")
        hand("search", "--onlyvisible", "--name", "^Pairdeck$", "windowactivate", "--sync")
        press("alt+F4")
        self.assertEqual(self.program.wait(), 0)


class BadInput(Scene):
    def test_double_click_beside_the_rows(self):
        self.deck.play("Amber")
        self.deck.show("library")
        self.deck.control("tracks").row(0).click()
        self.deck.search("nothing has this name")
        wait_until(lambda: not self.deck.titles(), "an empty table")
        self.deck.control("tracks").double_click()
        self.deck.show("player")
        self.deck.shows("title", "Amber")
        self.deck.press("next")
        self.deck.shows("title", "Amber")
        self.hears(left=400)

    def test_folder_that_is_gone_and_settings_that_are_damaged(self):
        self.end()
        store(**folders(self.folder / "gone", self.folder / "Right"))
        self.start()
        self.deck.show("library")
        self.assertEqual(self.deck.titles(), [])
        self.deck.show("player")
        self.deck.press("next")
        self.deck.shows("title", "No Music Playing")
        self.other.play("Elm")
        self.hears(right=700)
        self.end()
        SETTINGS.write_text('{"PairdeckLeftRepeatState": 1, "Pai', "utf-8")
        self.start()
        self.deck.control("repeat").click()
        wait_until(lambda: settings() == {"PairdeckLeftRepeatState": 1}, "new settings on disk")


class Evidence(unittest.TextTestResult):
    """Keeps a screenshot of every scene that fails, and says what was on the screen."""

    def addError(self, test, err):
        self.keep(test)
        super().addError(test, err)

    def addFailure(self, test, err):
        self.keep(test)
        super().addFailure(test, err)

    def keep(self, test):
        EVIDENCE.mkdir(parents=True, exist_ok=True)
        screenshot(EVIDENCE / f"{test.id().partition('.')[2]}.png")
        if screen := getattr(test, "screen", None):
            self.stream.writeln(f"\n{screen.outline()}")


def perform():
    """Plays every scene of the module that was started."""
    runner = unittest.TextTestRunner(verbosity=2, resultclass=Evidence)
    unittest.main(argv=[sys.argv[0], *sys.argv[3:]], testRunner=runner)


if __name__ == "__main__":
    perform()
