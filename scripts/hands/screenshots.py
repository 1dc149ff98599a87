"""The pictures of the documentation, taken from the running program.

Usage: screenshots.py PROGRAM LIBRARY FOLDER, in the session that scripts/session starts. LIBRARY
is the demo library.
"""

import pathlib
import subprocess
import sys
import time

from deck import Deck, away
from program import Program, folders, shapes, store
from screen import hand, press, screenshot, wait_until

EXECUTABLE, LIBRARY, FOLDER = sys.argv[1], *map(pathlib.Path, sys.argv[2:])
MARGIN = 40


def take(rectangle, name):
    """A picture of that part of the screen and a little more around it."""
    time.sleep(0.6)
    left, top, width, height = rectangle
    path = FOLDER / f"{name}.png"
    screenshot(path)
    crop = f"{width + 2 * MARGIN}x{height + 2 * MARGIN}+{left - MARGIN}+{top - MARGIN}"
    shrink = ["-strip", "-define", "png:compression-level=9"]
    subprocess.run(["convert", path, "-crop", crop, "+repage", *shrink, path], check=True)


def play(songs):
    """Has each deck amid its song."""
    for deck, title in songs:
        deck.play(title)
        deck.control("seek").click(0.4)


def main():
    store(**folders(LIBRARY / "Left deck", LIBRARY / "Right deck"))
    with Program(EXECUTABLE) as program:
        screen = program.screen
        window = screen.find("Pairdeck").rectangle
        left, right = Deck(screen, "Left"), Deck(screen, "Right")
        songs = (left, "Harbour Lights"), (right, "Clairière")
        play(songs)
        wait_until(lambda: program.hurry() or len(shapes()) == len(songs), "both songs' shapes", 300)
        # A song may be over by then.
        play(songs)
        left.overlay()
        take(window, "players")
        away()
        left.show("library")
        right.show("library")
        right.search("la")
        take(window, "libraries")
        play(songs)
        press("ctrl+comma")
        screen.find("Left deck preferences").click()
        take(window, "preferences")
        press("Escape")
        press("F1")
        screen.find("Keys")
        hand("mousemove", 5, 5)
        take(window, "about")


if __name__ == "__main__":
    main()
