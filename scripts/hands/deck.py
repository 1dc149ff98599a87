"""One deck as a person handles it."""

import time

from screen import hand, press, type_text, wait_until
from sound import Recording, level, pitch


class Deck:
    """`side` is "Left" or "Right"; the left deck is heard on the right channel."""

    def __init__(self, screen, side):
        self.screen = screen
        self.side = side

    def control(self, role):
        return self.screen.find(f"{self.side} deck: {role}")

    def text(self, role):
        return self.control(role).text

    def shows(self, role, text):
        """Waits until the label of that role reads so."""
        wait_until(lambda: self.text(role) == text, f"{text!r} as {self.side} {role}")

    def show(self, panel):
        """Shows the deck's "library" or its "player" by the library button."""
        button = self.control("library")
        if button.checked != (panel == "library"):
            button.click()
        self.control("tracks" if panel == "library" else "album art")

    def titles(self):
        """The titles in the deck's table, which must be on show."""
        return [cells[0] for cells in self.control("tracks").rows()]

    def double_click(self, title):
        """Double-clicks that title's row in the library."""
        self.show("library")
        self.control("tracks").row(self.titles().index(title)).double_click()

    def play(self, title):
        """Plays that title from the library and shows the player again."""
        self.double_click(title)
        self.show("player")
        self.shows("title", title)

    def overlay(self):
        """Moves the pointer over the artwork, which brings the transport buttons."""
        self.control("album art").hover()
        return self.control("play/pause")

    def press(self, button):
        """Presses "play/pause", "previous" or "next"."""
        self.overlay()
        self.control(button).click()

    def search(self, text):
        """Types the text into the search field in place of what stands there."""
        self.control("search").click()
        press("ctrl+a", "BackSpace")
        type_text(text)

    def elapsed(self):
        """The elapsed time on show, in seconds."""
        minutes, seconds = self.text("elapsed time").split(":")
        return 60 * int(minutes) + int(seconds)

    def remaining(self):
        """The remaining time on show, in seconds."""
        minutes, seconds = self.text("remaining time").removeprefix("-").split(":")
        return 60 * int(minutes) + int(seconds)


def away():
    """Moves the pointer off every control."""
    hand("mousemove", 5, 5)


def heard(seconds=0.4):
    """What is heard of both decks: by side, the level in dBFS and the tone in hertz."""
    time.sleep(0.3)
    recording = Recording(seconds)
    return {
        "Left": (level(recording.right), pitch(recording.right)),
        "Right": (level(recording.left), pitch(recording.left)),
    }
