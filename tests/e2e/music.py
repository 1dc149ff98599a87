"""Small music files whose tracks can be told apart by ear: each is one pure tone."""

import subprocess
from dataclasses import dataclass


@dataclass(frozen=True)
class Tone:
    """`title` None leaves the file without tags; `artwork` is a picture file's path, `decibels` how much
    louder than ffmpeg's own the tone is, `tags` are further ones, each "key=value"."""

    file: str
    title: str | None
    artist: str
    frequency: int
    seconds: int = 30
    artwork: str | None = None
    decibels: int = 12
    tags: tuple[str, ...] = ()


LEFT = [
    Tone("amber.mp3", "Amber", "Ann", 400),
    Tone("deep/birch.m4a", "Birch", "Éric", 500),
    Tone("deep/er/cedar.mp3", "Cedar", "Ann", 600),
]
RIGHT = [
    Tone("elm.m4a", "Elm", "Olga", 700),
    Tone("fir.mp3", "Fir", "Olga", 900),
]
SHORT = [
    Tone("gale.mp3", "Gale", "Per", 350, 4),
    Tone("hail.mp3", "Hail", "Per", 450, 4),
]
ALBUM = "Woods"


def make(tone, folder):
    path = folder / tone.file
    path.parent.mkdir(parents=True, exist_ok=True)
    source = f"sine=frequency={tone.frequency}:duration={tone.seconds}"
    command = ["ffmpeg", "-v", "error", "-y", "-f", "lavfi", "-i", source]
    if tone.artwork:
        command += ["-i", tone.artwork, "-map", "0", "-map", "1", "-c:v", "copy"]
        command += ["-disposition:v", "attached_pic"]
    command += ["-af", f"volume={tone.decibels}dB", "-ac", "1", "-b:a", "96k"]
    if tone.title:
        command += ["-metadata", f"title={tone.title}", "-metadata", f"artist={tone.artist}"]
        command += ["-metadata", f"album={ALBUM}"]
    command += [word for tag in tone.tags for word in ("-metadata", tag)]
    subprocess.run([*command, path], check=True)
    return path


def make_all(tones, folder):
    for tone in tones:
        make(tone, folder)
    return folder
