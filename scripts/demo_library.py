#!/usr/bin/python3
"""Makes a small music library for each deck, and a wallpaper to put behind them.

Usage: demo_library.py FOLDER

FOLDER receives "Left deck" and "Right deck", folders of tunes composed and encoded here, and
wallpaper.jpg. The same files come out every time; a folder that is complete is left alone.
"""

import array
import cmath
import itertools
import math
import operator
import pathlib
import random
import shutil
import subprocess
import sys
import tempfile
from concurrent.futures import ProcessPoolExecutor
from dataclasses import dataclass

RATE = 44100
ATTACK = RATE // 250

# Chord progressions as semitones above the key note, one chord per bar.
PROGRESSIONS = {
    "evening": [(0, 4, 7, 11), (9, 12, 16, 19), (5, 9, 12, 16), (7, 11, 14, 17)],
    "harbour": [(0, 3, 7, 10), (8, 12, 15, 19), (3, 7, 10, 14), (10, 14, 17, 20)],
    "meadow": [(0, 4, 7, 14), (7, 11, 14, 19), (9, 12, 16, 21), (5, 9, 12, 17)],
    "rain": [(0, 3, 7, 14), (5, 8, 12, 15), (10, 14, 17, 22), (3, 7, 10, 15)],
}


@dataclass
class Album:
    """A folder of tunes; `hue` (0 to 200) tints its artwork, None for an album without."""

    folder: str
    title: str
    artist: str
    hue: int | None
    extension: str


@dataclass
class Tune:
    """One file: `title` None leaves it without tags; `key` is the key note in hertz."""

    album: Album
    file: str
    title: str | None
    progression: str
    key: float
    tempo: int


SHORE = Album("Rūta Ozols/Lights along the Shore", "Lights along the Shore", "Rūta Ozols", 130, "mp3")
ROOFS = Album("Aérea/Tejados", "Tejados", "Aérea", 5, "m4a")
LOOSE = Album("Found on a tape", "", "", None, "mp3")
NORTH = Album("The Paper Lanterns/North of Here", "North of Here", "The Paper Lanterns", 175, "m4a")
WOOD = Album("Émile Fournier/Sous-bois", "Sous-bois", "Émile Fournier", 75, "mp3")
PLAIN = Album("Quiet Hours", "Quiet Hours", "Ingrid Sæther", None, "m4a")

DECKS = {
    "Left deck": [
        Tune(SHORE, "01 Harbour Lights", "Harbour Lights", "harbour", 220.0, 104),
        Tune(SHORE, "02 The Ferry", "The Ferry", "evening", 246.94, 92),
        Tune(
            SHORE,
            "03 What the Lighthouse Keeper Told the Sea",
            "What the Lighthouse Keeper Told the Sea",
            "rain",
            196.0,
            84,
        ),
        Tune(ROOFS, "01 Canción de la azotea", "Canción de la azotea", "meadow", 261.63, 120),
        Tune(ROOFS, "02 Antenas", "Antenas", "evening", 293.66, 128),
        Tune(LOOSE, "side A", None, "rain", 233.08, 96),
        Tune(LOOSE, "side B, the long one that nobody remembers recording", None, "meadow", 207.65, 88),
    ],
    "Right deck": [
        Tune(NORTH, "01 First Snow", "First Snow", "evening", 329.63, 112),
        Tune(NORTH, "02 North of Here", "North of Here", "rain", 369.99, 100),
        Tune(WOOD, "01 Clairière", "Clairière", "meadow", 349.23, 96),
        Tune(WOOD, "02 Où dorment les hérons", "Où dorment les hérons", "harbour", 311.13, 80),
        Tune(
            WOOD,
            "03 Promenade",
            "Promenade au bord de l’étang, un matin de novembre",
            "evening",
            392.0,
            108,
        ),
        Tune(PLAIN, "Half Past Nine", "Half Past Nine", "harbour", 293.66, 90),
    ],
}


def pluck(frequency, seconds):
    """A plucked string: three harmonics as decaying phasors, the higher ones dying sooner."""
    count = int(seconds * RATE)

    def harmonic(number, gain, decay):
        turn = cmath.exp(complex(-decay, 2 * math.pi * number * frequency) / RATE)
        return itertools.accumulate(itertools.repeat(turn, count - 1), operator.mul, initial=gain)

    partials = zip(harmonic(1, 1.0, 3.2), harmonic(2, 0.4, 7.0), harmonic(3, 0.25, 12.0))
    note = [(a + b + c).imag for a, b, c in partials]
    for i in range(ATTACK):
        note[i] *= i / ATTACK
    return note


def add(channel, start, note, gain):
    """Mixes the note into the channel from sample `start`, wrapping at its end."""
    room = len(channel) - start
    for begin, part in ((start, note[:room]), (0, note[room:])):
        span = slice(begin, begin + len(part))
        channel[span] = [old + gain * new for old, new in zip(channel[span], part)]


def compose(tune):
    """Sixteen-bit stereo samples: four bars of arpeggio over a bass, played three times."""
    step = int(RATE * 60 / tune.tempo / 2)
    chords = PROGRESSIONS[tune.progression]
    left = [0.0] * (8 * step * len(chords))
    right = list(left)
    pattern = (0, 1, 2, 3, 2, 1, 3, 2)
    notes = {}
    for bar, chord in enumerate(chords):
        for beat, voice in enumerate(pattern):
            semitone = chord[voice] + (12 if (bar + beat) % 8 == 5 else 0)
            note = notes.setdefault(semitone, pluck(tune.key * 2 ** (semitone / 12), 0.7))
            start = (8 * bar + beat) * step
            add(left, start, note, 0.18 + 0.1 * (voice % 2))
            add(right, start, note, 0.28 - 0.1 * (voice % 2))
        bass = pluck(tune.key * 2 ** (chord[0] / 12 - 1), 1.2)
        for beat in (0, 4):
            add(left, (8 * bar + beat) * step, bass, 0.3)
            add(right, (8 * bar + beat) * step, bass, 0.3)
    peak = max(map(abs, left + right))
    phrase = array.array("h", (0,)) * (2 * len(left))
    phrase[0::2] = array.array("h", (int(28000 * s / peak) for s in left))
    phrase[1::2] = array.array("h", (int(28000 * s / peak) for s in right))
    return phrase * 3


def run(*command, data=None):
    subprocess.run([str(word) for word in command], input=data, check=True, stdout=subprocess.DEVNULL)


def paint_artwork(album, path):
    run(
        *("convert", "-seed", 1000 + album.hue, "-size", "700x700", "plasma:fractal", "-blur", "0x14"),
        *("-colorspace", "Gray", "-normalize", "-sigmoidal-contrast", "6x50%", "-colorspace", "sRGB"),
        *("+level-colors", f"hsl({int(album.hue * 1.8)},55%,16%),hsl({int(album.hue * 1.8) + 45},80%,74%)"),
        *("-gravity", "center", "-fill", "#ffffff30", "-draw", "circle 350,350 350,150"),
        *("-fill", "#00000030", "-draw", "circle 350,350 350,300", path),
    )


def encode(tune, folder, covers):
    album = tune.album
    cover = None if album.hue is None else covers / f"{album.hue}.jpg"
    path = folder / album.folder / f"{tune.file}.{album.extension}"
    path.parent.mkdir(parents=True, exist_ok=True)
    command = ["ffmpeg", "-v", "error", "-f", "s16le", "-ar", RATE, "-ac", 2, "-i", "-"]
    if tune.title and cover:
        command += ["-i", cover, "-map", 0, "-map", 1, "-c:v", "copy", "-disposition:v", "attached_pic"]
    if album.extension == "mp3":
        command += ["-c:a", "libmp3lame", "-b:a", "192k", "-id3v2_version", 3]
    else:
        command += ["-c:a", "aac", "-b:a", "160k"]
    if tune.title:
        for key, value in (("title", tune.title), ("artist", album.artist), ("album", album.title)):
            command += ["-metadata", f"{key}={value}"]
    run(*command, "-fflags", "+bitexact", "-flags", "+bitexact", path, data=compose(tune).tobytes())


def ridge(chance, base, roughness, width):
    """A mountain ridge as a polygon's points, by halving a line and lifting its middles."""
    heights = [base + chance.uniform(-roughness, roughness) for _ in range(2)]
    while len(heights) < 257:
        middles = [(a + b) / 2 + chance.uniform(-roughness, roughness) for a, b in zip(heights, heights[1:])]
        heights = [height for pair in zip(heights, middles) for height in pair] + heights[-1:]
        roughness *= 0.52
    points = [f"{width * i // 256},{height:.0f}" for i, height in enumerate(heights)]
    return " ".join([*points, f"{width},1440", "0,1440"])


def paint_wallpaper(path):
    chance = random.Random(7)
    command = ["convert", "-size", "2560x900", "gradient:#24386b-#f6a46c"]
    command += ["-background", "#f6a46c", "-extent", "2560x1440"]
    command += ["(", "-size", "1400x1400", "radial-gradient:#ffe9b4-#ffe9b400", ")"]
    command += ["-geometry", "+900+180", "-compose", "screen", "-composite", "-compose", "over"]
    for base, roughness, colour in (
        (820, 190, "#8d7f9d"),
        (930, 160, "#5d6589"),
        (1060, 130, "#384a6b"),
        (1210, 90, "#1c2d45"),
    ):
        command += ["-fill", colour, "-draw", f"polygon {ridge(chance, base, roughness, 2560)}"]
    run(*command, "-quality", 92, path)


def main():
    target = pathlib.Path(sys.argv[1])
    if target.exists():
        return
    target.parent.mkdir(parents=True, exist_ok=True)
    unfinished = pathlib.Path(tempfile.mkdtemp(prefix=".library-", dir=target.parent))
    try:
        covers = unfinished / "covers"
        covers.mkdir()
        tunes = [(deck, tune) for deck, tunes in DECKS.items() for tune in tunes]
        for album in {tune.album.folder: tune.album for _, tune in tunes}.values():
            if album.hue is not None:
                paint_artwork(album, covers / f"{album.hue}.jpg")
        paint_wallpaper(unfinished / "wallpaper.jpg")
        with ProcessPoolExecutor() as pool:
            list(pool.map(encode, *zip(*((tune, unfinished / deck, covers) for deck, tune in tunes))))
        shutil.rmtree(covers)
        unfinished.chmod(0o755)
        unfinished.rename(target)
    finally:
        shutil.rmtree(unfinished, ignore_errors=True)


if __name__ == "__main__":
    main()
