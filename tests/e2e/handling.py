"""Scenes of handling: what a person holds, has lost or looks for.

Usage: handling.py PROGRAM FOLDER [unittest argument]..., in the session that scripts/session
starts. FOLDER receives a screenshot of each scene that fails.
"""

import math
import os
import subprocess
import time

from gi.repository import Gio, GLib

import music
from deck import away, heard
from program import SETTINGS, settings, shapes
from remote import playerctl
from scenes import EXECUTABLE, SILENCE, Scene, perform
from screen import Control, hand, picture, press, wait_until


def capture(*command):
    return subprocess.run(command, check=True, text=True, stdout=subprocess.PIPE).stdout


class HeldKnobs(Scene):
    left, right = [music.SHORT[0], music.Tone("larch.mp3", "Larch", "Ida", 550)], []

    def hold(self, role, across):
        hand("mousemove", *self.deck.control(role).point(across), "mousedown", 1)
        self.addCleanup(hand, "mouseup", 1)

    def test_the_end_of_a_song_takes_the_knob(self):
        self.deck.control("repeat").click()
        self.deck.play("Gale")
        self.hold("seek", 0.9)
        self.deck.shows("title", "Larch")
        hand("mouseup", 1)
        self.hears(left=550)
        self.assertLess(self.deck.elapsed(), 20)

    def test_the_last_word_moves_a_held_knob(self):
        self.deck.play("Larch")
        self.deck.press("play/pause")
        for role, words, held, told in (("seek", "position", 0.9, 5), ("volume", "volume", 0.2, 0.75)):
            knob = self.deck.control(role)
            self.hold(role, held)
            wait_until(lambda: abs(knob.value / knob.maximum - held) < 0.05, f"{role} held at {held}")
            playerctl(self.deck, words, told)
            wait_until(lambda: abs(knob.value - told) < 0.01, f"{role} at {told}")
            hand("mouseup", 1)
            self.deck.overlay()
            self.assertAlmostEqual(knob.value, told, 2)
            self.assertAlmostEqual(float(playerctl(self.deck, words)), told, 2)


class Looks(Scene):
    right = []
    QUARTERS = (0.9, 0.225, 0, 0.056)  # amplitudes of a tone, eight seconds each

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        gains = "+".join(f"{gain}*between(t\\,{8 * i}\\,{8 * i + 8})" for i, gain in enumerate(cls.QUARTERS))
        tone = ["-f", "lavfi", "-i", f"aevalsrc=({gains})*sin(2*PI*400*t):d=32"]
        path = cls.folder / "Left" / "quarters.m4a"
        subprocess.run(["ffmpeg", "-v", "error", *tone, "-c:a", "alac", path], check=True)
        time.sleep(2.5)  # until the file proves itself by its times

    def kept(self):
        """The columns of the shape that was kept last: peak and loudness in dB."""
        self.program.hurry()
        known = shapes()
        if not known:
            return None
        value = known[0]
        levels = [(level - 255) * 0.375 for level in value[:1024]]
        return list(zip(levels[::2], levels[1::2]))

    def height(self, across):
        """How many rows of the seek bar's pixels stand out there."""
        left, top, width, height = self.deck.control("seek").rectangle
        pixels = picture(left + int(across * width), top, 3, height)
        rows = [pixels[i : i + 9] for i in range(0, len(pixels), 9)]
        brightness = [max(row) for row in rows]
        return sum(level > min(brightness) + 12 for level in brightness)

    def meter(self):
        """The pixels beside the deck's caption, as far as its menu."""
        left, top, width, height = self.screen.find("LEFT DECK  ·  RIGHT EAR").rectangle
        return picture(left + width, top + height // 2 - 4, self.deck.control("menu").rectangle[0] - left - width, 8)

    def test_the_shape_and_the_level_of_a_song(self):
        nothing = self.meter()
        before = self.kept()
        self.deck.play("quarters.m4a")
        wait_until(lambda: self.meter() != nothing, "a meter that moves")
        self.deck.press("play/pause")
        away()
        wait_until(lambda: self.meter() == nothing, "no meter")
        wait_until(lambda: self.kept() != before, "the shape in the store", 300)
        columns = self.kept()
        for quarter, gain in enumerate(self.QUARTERS):
            level = 20 * math.log10(gain) if gain else -95.625
            for peak, loudness in columns[128 * quarter + 2 : 128 * quarter + 126]:
                self.assertAlmostEqual(peak, level, delta=0.5)
                self.assertAlmostEqual(loudness, level - 3.01 if gain else level, delta=0.5)
        first, second, third, fourth = (self.height(across) for across in (0.15, 0.4, 0.63, 0.88))
        self.assertGreater(first, second + 4)
        self.assertGreater(second, fourth + 2)
        self.assertLessEqual(third, fourth)


class PlayingSong(Scene):
    left, right = [music.Tone("song 00.mp3", None, "", 400)], []
    COUNT = 60

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        folder = cls.folder / "Left"
        for number in range(1, cls.COUNT):
            os.link(folder / "song 00.mp3", folder / f"song {number:02}.mp3")

    def setUp(self):
        super().setUp()
        self.deck.show("library")
        self.table = self.deck.control("tracks")

    def sees(self, number):
        """Whether the table shows that row."""
        cell = Control(self.table.accessible.get_table_iface().get_accessible_at(number, 0))
        _, top, _, height = self.table.rectangle
        return top < cell.point()[1] < top + height

    def test_is_revealed(self):
        last = self.COUNT - 1
        self.table.row(last).double_click()
        self.deck.show("player")
        self.deck.shows("title", f"song {last}.mp3")
        playerctl(self.deck, "next")
        self.deck.shows("title", "song 00.mp3")
        self.deck.show("library")
        wait_until(lambda: self.sees(0), "the playing song")
        hand("mousemove", *self.table.point(), "click", "--repeat", 60, 5)
        wait_until(lambda: self.sees(last), "the last row")
        self.deck.show("player")
        self.deck.show("library")
        self.assertTrue(self.sees(last))
        press("ctrl+j")
        wait_until(lambda: self.sees(0), "the playing song")
        for key, row in (("End", last), ("Home", 0)):
            press(key)
            wait_until(lambda: self.sees(row), f"row {row} by {key}")

    def test_both_columns_stay_in_sight(self):
        def header(column):
            cell = self.table.accessible.get_table_iface().get_column_header(column)
            return Control(cell).rectangle

        left, top, _, height = header(1)
        for across in (120, -60):
            hand("mousemove", left, top + height // 2, "mousedown", 1)
            for step in range(1, 9):
                hand("mousemove", left + across * step // 8, top + height // 2)
            hand("mouseup", 1)
        # Beyond the edge.
        hand("mousemove", header(1)[0], top + height // 2, "mousedown", 1)
        hand("mousemove", left + 200, top + 5, "mousemove", left + 900, top + 5, "mouseup", 1)
        before = header(1)
        self.assertGreater(before[0], left)
        self.end()
        self.start()
        self.deck.show("library")
        self.table = self.deck.control("tracks")
        self.assertEqual(header(1), before)
        table = self.table.rectangle
        self.assertLessEqual(before[0] + 60, table[0] + table[2])


class RowMenu(Scene):
    def test_plays_on_the_other_deck_and_shows_the_file(self):
        asked = []
        bus = Gio.bus_get_sync(Gio.BusType.SESSION)
        interface = Gio.DBusNodeInfo.new_for_xml(
            "<node><interface name='org.freedesktop.FileManager1'><method name='ShowItems'>"
            "<arg type='as' direction='in'/><arg type='s' direction='in'/></method></interface></node>")

        def answer(_bus, _sender, _path, _interface, _method, parameters, invocation):
            asked.extend(parameters.unpack()[0])
            invocation.return_value(None)

        place = "/org/freedesktop/FileManager1"
        registration = bus.register_object(place, interface.interfaces[0], answer, None, None)
        self.addCleanup(bus.unregister_object, registration)
        owner = Gio.bus_own_name_on_connection(bus, place[1:].replace("/", "."), 0, None, None)
        self.addCleanup(Gio.bus_unown_name, owner)
        GLib.MainContext.default().iteration(False)
        self.deck.show("library")
        row = self.deck.titles().index("Amber")
        for down, entry in ((2, "Play on Right Deck"), (3, "Show in File Manager")):
            hand("mousemove", *self.deck.control("tracks").row(row).point(), "click", 3)
            self.screen.find(entry)
            press(*["Down"] * down, "Return")
            self.screen.gone(entry)
        self.hears(right=400)
        self.deck.show("player")
        self.deck.shows("title", "No Music Playing")

        def asks():
            GLib.MainContext.default().iteration(False)
            return asked

        wait_until(asks, "a request to the file manager")
        self.assertEqual(asked, [(self.folder / "Left" / "amber.mp3").as_uri()])


class NothingYet(Scene):
    left, right = [], []

    def test_says_what_to_do(self):
        self.end()
        SETTINGS.unlink()
        self.start()
        self.deck.shows("album and artist", "Import a folder, then play a song")
        self.deck.shows("hint", "No songs are loaded yet.")
        self.deck.show("library")
        explanation = self.deck.control("why there are no songs")
        wait_until(lambda: explanation.text.startswith("No folder is open."), "an explanation")
        self.deck.show("player")
        self.deck.control("open folder").click()
        self.screen.find("Choose a Playlist folder")
        press("Escape")
        self.screen.gone("Choose a Playlist folder")
        music.make_all(music.SHORT, self.folder / "Left")
        subprocess.run([EXECUTABLE, self.folder / "Left"], timeout=10, check=True)
        self.screen.gone("Left deck: open folder")
        self.deck.shows("hint", "Double-click a song in the library below.")
        self.deck.show("library")
        self.deck.shows("number of songs", "2 songs")
        self.deck.search("hail")
        self.deck.shows("number of songs", "1 of 2 songs")
        self.deck.search("nobody")
        self.deck.shows("why there are no songs", "Nothing found for “nobody”.")
        self.deck.control("clear search").click(0.1, 0.1)
        self.deck.shows("number of songs", "2 songs")
        self.deck.play("Hail")
        self.screen.gone("Left deck: hint")


class Focus(Scene):
    def focused(self):
        return next((control.name for control in self.screen.controls() if control.focused), None)

    def tab_to(self, name):
        for _ in range(40):
            before = wait_until(self.focused, "a control in focus")
            if before == name:
                return
            press("Tab")
            wait_until(lambda: self.focused() not in (None, before), "the focus to move on")

    def test_stays_where_the_keyboard_put_it(self):
        name = "Left deck: play/pause"
        self.tab_to(name)
        for key, title in (("F1", "Keys"), ("ctrl+comma", "Global preferences")):
            press(key)
            self.screen.find(title)
            press("Escape")
            self.screen.gone(title)
            wait_until(lambda: self.focused() == name, f"the focus back from {title}")
        self.deck.control("album art").hover()
        away()
        time.sleep(0.6)
        self.assertEqual(self.focused(), name)
        press("Tab", "Tab")
        wait_until(lambda: self.focused() == "Left deck: seek", "the focus on the seek bar")
        self.screen.gone(name)

    def test_overlay_goes_where_a_drag_ends_outside(self):
        self.deck.play("Amber")
        hand("mousemove", *self.deck.control("seek").point(0.2), "mousedown", 1)
        for down in (0.9, 0.5, 0.1):
            hand("mousemove", *self.deck.control("album art").point(0.5, down))
        hand("mousemove", 5, 5, "mouseup", 1)
        self.screen.gone("Left deck: play/pause")


class EvenLoudness(Scene):
    LOUD, QUIET, EVEN = -9.5, -21.5, -15.5  # dBFS
    left = [music.Tone("loud.mp3", "Loud", "Ann", 400, tags=("REPLAYGAIN_TRACK_GAIN=-6.00 dB",))]
    right = [music.Tone("quiet.mp3", "Quiet", "Ann", 600, decibels=0,
                        tags=("REPLAYGAIN_TRACK_GAIN=+6.00 dB", "REPLAYGAIN_TRACK_PEAK=0.13"))]

    def levels(self, left, right):
        def heard_so():
            sounds = heard()
            pairs = (sounds["Left"][0], left), (sounds["Right"][0], right)
            return all(level == wanted or abs(level - wanted) < 0.25 for level, wanted in pairs)

        wait_until(heard_so, f"{left} dB from the left deck, {right} dB from the right")

    def test_songs_twelve_decibels_apart_come_out_even(self):
        self.deck.play("Loud")
        self.other.play("Quiet")
        self.levels(self.LOUD, self.QUIET)
        press("ctrl+comma")
        self.screen.find("Even loudness by tags").click()
        self.levels(self.EVEN, self.EVEN)
        press("Escape")
        playerctl(self.other, "pause")
        self.levels(self.EVEN, SILENCE)
        self.assertIs(settings()["PairdeckLoudnessByTags"], True)
        self.end()
        self.start()
        self.other.play("Quiet")
        self.levels(SILENCE, self.EVEN)


class PanelDensity(Scene):
    def shows(self, expected, blurred):
        """Waits for that colour beside the menu's button; `blurred` where what is behind shows."""
        left, top, width, height = self.screen.find("Menu").rectangle
        spot = left + width + 20, top + height // 2, 1, 1
        wait_until(lambda: tuple(picture(*spot)) == expected, f"{expected} in the title bar")
        window = capture("xdotool", "search", "--onlyvisible", "--name", "^Pairdeck$").split()[0]
        hint = capture("xprop", "-id", window, "_KDE_NET_WM_BLUR_BEHIND_REGION")
        self.assertEqual("(CARDINAL)" in hint, blurred, hint)

    def test_from_clear_to_solid_and_kept(self):
        press("ctrl+comma")
        slider = self.screen.find("Panel density")
        self.assertAlmostEqual(slider.value, 0.9)
        bare = tuple(picture(5, 5, 1, 1))
        for across, colour in ((1.0, (18, 20, 26)), (0.0, bare)):
            slider.click(across)
            self.shows(colour, blurred=across == 0.0)
        press("Escape", "ctrl+q")
        self.assertEqual(self.program.wait(), 0)
        self.assertEqual(settings()["PairdeckPanelDensity"], 0)
        self.start()
        self.shows(bare, blurred=True)


if __name__ == "__main__":
    perform()
