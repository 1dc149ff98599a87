"""Songs that were cut from one tone, played in a row: what is heard is the tone.

Usage: joins.py PROGRAM FOLDER [unittest argument]..., in the session that scripts/session
starts. The program writes what it plays into a file, by the sound library's own means: no server
between them drops or adds a frame when the machine is busy.
"""

import array
import math
import os
import struct
import subprocess
import unittest.mock

from program import folders, store
from scenes import Scene, perform
from screen import wait_until

DEVICE = 44100  # frames per second
FREQUENCY = 441
OFFSET = 0.5 / DEVICE  # no sample of the first song is zero
SECONDS = 2.03  # of each song; whole samples at both rates, whole packets at none
NEAR = 0.01  # seconds on each side of a join, where encoders err most
ENCODERS = {
    "first": "-c:a alac -sample_fmt s32p",
    "constant.mp3": "-c:a libmp3lame -b:a 192k",
    "variable.mp3": "-c:a libmp3lame -q:a 2",
    "edited": "-c:a aac -b:a 192k",
    "commented": "-c:a aac -b:a 192k",
    "lossless": "-c:a alac -sample_fmt s32p",
    "again": "-c:a alac -sample_fmt s32p",
}
SONGS = [(rate, kind) for rate in (44100, 48000) for kind in ENCODERS]
SOUND = """pcm.!default {{ type file  slave.pcm {{ type null }}  file "{}"  format raw }}"""


def tone(instant):
    return 0.4 * math.cos(2 * math.pi * FREQUENCY * (instant + OFFSET))


def box(kind, content):
    return struct.pack(">I", 8 + len(content)) + kind + content


def tell_by_comment(path, rate):
    """Puts the counts of an edited file into a comment, and takes its edit list's place."""
    samples = round(SECONDS * rate)
    padding = -(samples + 1024) % 1024
    text = f" 00000000 00000400 {padding:08X} {samples:016X}".encode()
    tag = box(b"mean", b"\0\0\0\0com.apple.iTunes") + box(b"name", b"\0\0\0\0iTunSMPB")
    tag = box(b"----", tag + box(b"data", b"\0\0\0\1\0\0\0\0" + text))
    # Behind everything: the movie is the file's last box.
    content = path.read_bytes().replace(b"edts", b"free")
    movie = content.index(b"moov") - 4
    path.write_bytes(content[:movie] + box(b"moov", content[movie + 8 :] + tag))


def ffmpeg(*words):
    command = ["ffmpeg", "-v", "error", *map(str, words)]
    return subprocess.run(command, check=True, stdout=subprocess.PIPE).stdout


class Joins(Scene):
    left, right = [], []

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        (cls.folder / "Left").mkdir()
        cls.errors = []
        for number, (rate, kind) in enumerate(SONGS):
            path = cls.folder / "Left" / f"{number:02}.{kind.partition('.')[2] or 'm4a'}"
            samples = round(SECONDS * rate)
            source = f"aevalsrc=0.4*cos(2*PI*{FREQUENCY}*(n/{rate}+{number * SECONDS + OFFSET})):s={rate}"
            source += f",atrim=end_sample={samples},pan=stereo|c0=c0|c1=c0"
            ffmpeg("-f", "lavfi", "-i", source, *ENCODERS[kind].split(), path)
            decoded = array.array("f", ffmpeg("-i", path, "-af", "pan=mono|c0=c0", "-f", "f32le", "-"))
            near = round(NEAR * rate)
            cls.errors.append([
                max(abs(decoded[i] - tone(number * SECONDS + i / rate)) for i in part)
                for part in (range(near), range(samples - near, samples))
            ])
            if kind == "commented":
                tell_by_comment(path, rate)

    def setUp(self):
        store(**folders(self.folder / "Left", "/nowhere"), PairdeckLeftRepeatState=1)
        self.file, settings = self.folder / "heard", self.folder / "alsa.conf"
        self.file.unlink(missing_ok=True)
        settings.write_text(SOUND.format(self.file))
        alone = {"PULSE_SERVER": "unix:/nowhere", "ALSA_CONFIG_PATH": str(settings)}
        self.enterContext(unittest.mock.patch.dict(os.environ, alone))
        self.start()

    def reaches(self, seconds):
        """Waits until so much was heard since the first sound."""
        def heard():
            frames = self.file.stat().st_size // 8 if self.file.exists() else 0
            if frames and self.onset is None:
                with self.file.open("rb") as file:
                    samples = array.array("f", file.read(frames * 8))
                self.onset = next((i // 2 for i, sample in enumerate(samples) if sample), None)
            return self.onset is not None and frames - self.onset >= seconds * DEVICE

        wait_until(heard, f"{seconds} seconds of sound", 30)

    def play(self, held):
        self.onset = None
        self.deck.double_click("00.m4a")
        for number in range(1, len(SONGS)):
            self.reaches(number * SECONDS - 0.5)
            if held:
                with self.program.held():
                    self.reaches(number * SECONDS + 0.5)
        self.reaches(len(SONGS) * SECONDS)
        samples = array.array("f", self.file.read_bytes())
        self.assertEqual(max(map(abs, samples[0::2])), 0.0, "the far channel")
        heard = samples[1::2][self.onset :]
        # What is ready when the first song starts is short, and may run dry once on a busy machine.
        self.judge(array.array("f", filter(None, heard[:DEVICE])) + heard[DEVICE:])

    def judge(self, heard):
        near, period = round(NEAR * DEVICE), DEVICE // FREQUENCY
        for number, (rate, kind) in enumerate(SONGS):
            begin = round(number * SECONDS * DEVICE)
            inside = range(begin + 10 * near, begin + 10 * near + DEVICE)
            across, along = (
                sum(heard[i] * tone((i + late) / DEVICE) for i in inside) for late in (-period / 4, 0)
            )
            shift = math.atan2(across, along) * period / (2 * math.pi)
            self.assertLess(abs(shift), 0.05, f"samples too many or few before song {number}, {kind}")
            if number:
                error = max(abs(heard[i] - tone(i / DEVICE)) for i in range(begin - near, begin + near))
                # What the encoders left there; and from rate to rate, what only one side can sound.
                bound = 1.1 * max(self.errors[number - 1][1], self.errors[number][0])
                bound += 1e-6 if rate == SONGS[number - 1][0] else 0.02
                self.assertLess(error, bound, f"before song {number}, {kind}")

    def test_the_tone_goes_on(self):
        self.play(held=False)

    def test_it_goes_on_while_the_main_thread_is_held(self):
        self.play(held=True)


if __name__ == "__main__":
    perform()
