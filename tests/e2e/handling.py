"""Scenes of handling: what a person holds, has lost or looks for.

Usage: handling.py PROGRAM FOLDER [unittest argument]..., in the session that scripts/session
starts. FOLDER receives a screenshot of each scene that fails.
"""

import music
from remote import playerctl
from scenes import Scene, perform
from screen import hand, wait_until


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


if __name__ == "__main__":
    perform()
