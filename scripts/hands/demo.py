"""The main job, by hand: a track from each deck's folder, one in each ear.

Usage: demo.py PROGRAM FOLDER, in the session that scripts/session starts. FOLDER holds the
demo library and receives window.png and the recordings left.wav, right.wav and both.wav.
"""

import pathlib
import sys
import time

from deck import Deck
from program import Program, folders, store
from screen import screenshot
from sound import Recording, level


def record(path):
    """Three seconds of what is heard, once the output has nothing older on its way."""
    time.sleep(0.7)
    recording = Recording(3)
    recording.save(path)
    left, right = level(recording.left), level(recording.right)
    return f"{path.name:9}  left channel {left:6.1f} dBFS  right channel {right:6.1f} dBFS"


def main(executable, folder):
    library = folder / "library"
    store(**folders(library / "Left deck", library / "Right deck"))
    with Program(executable) as program:
        left, right = Deck(program.screen, "Left"), Deck(program.screen, "Right")
        left.play("Harbour Lights")
        levels = [record(folder / "left.wav")]
        left.press("play/pause")
        right.play("Clairière")
        levels += [record(folder / "right.wav")]
        left.press("play/pause")
        levels += [record(folder / "both.wav")]
        screenshot(folder / "window.png")
    print(f"The window: {folder / 'window.png'}", "What was heard, as root mean squares:", sep="\n")
    print(*levels, sep="\n")


if __name__ == "__main__":
    main(sys.argv[1], pathlib.Path(sys.argv[2]))
