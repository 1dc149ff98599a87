"""The main job, by hand: a track from each deck's folder, one in each ear.

Usage: demo.py PROGRAM FOLDER, in the session that scripts/session starts. FOLDER holds the
demo library and receives window.png and the recordings left.wav, right.wav and both.wav.
"""

import pathlib
import sys
import time

from program import Program, folders, store
from screen import screenshot, wait_until
from sound import Recording, level

SECONDS = 3


def show_library(screen, deck, wanted):
    """Presses the deck's library button where the other panel shows."""
    button = screen.find(f"{deck}: library")
    if button.checked != wanted:
        button.click()
    return screen.find(f"{deck}: {'tracks' if wanted else 'album art'}")


def play(screen, deck, title):
    """Double-clicks the title's row in the deck's table, then shows the deck's player again."""
    table = show_library(screen, deck, True)
    titles = [cells[0] for cells in table.rows()]
    table.row(titles.index(title)).double_click()
    show_library(screen, deck, False)
    wait_until(lambda: screen.find(f"{deck}: title").text == title, f"{title} on the {deck}")


def press_play(screen, deck):
    """Presses play or pause, which shows while the pointer is over the artwork."""
    screen.find(f"{deck}: album art").hover()
    screen.find(f"{deck}: play/pause").click()


def record(path):
    time.sleep(0.7)
    recording = Recording(SECONDS)
    recording.save(path)
    return recording


def main(executable, folder):
    library = folder / "library"
    store(**folders(library / "Left deck", library / "Right deck"))
    recordings = {}
    with Program(executable) as program:
        screen = program.screen
        play(screen, "Left deck", "Harbour Lights")
        recordings["left.wav"] = record(folder / "left.wav")
        press_play(screen, "Left deck")
        play(screen, "Right deck", "Clairière")
        recordings["right.wav"] = record(folder / "right.wav")
        press_play(screen, "Left deck")
        recordings["both.wav"] = record(folder / "both.wav")
        screenshot(folder / "window.png")
    print(f"The window: {folder / 'window.png'}")
    for name, recording in recordings.items():
        left, right = level(recording.left), level(recording.right)
        print(f"{name:9}  left channel {left:6.1f} dBFS  right channel {right:6.1f} dBFS")


if __name__ == "__main__":
    main(sys.argv[1], pathlib.Path(sys.argv[2]))
