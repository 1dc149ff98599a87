"""What a person hears: recordings of the session's sink and what can be told from them."""

import array
import contextlib
import math
import os
import pathlib
import signal
import struct
import subprocess

RATE = 48000


class Recording:
    """`left` and `right`: one channel's samples each, full scale 1.0, at RATE a second."""

    def __init__(self, seconds):
        """Records what the sink plays from now on."""
        command = ["parec", "--device=decks.monitor", "--format=float32le", "--channels=2"]
        command += [f"--rate={RATE}", "--latency-msec=20"]
        with subprocess.Popen(command, stdout=subprocess.PIPE) as process:
            self.data = process.stdout.read(int(seconds * RATE) * 8)
            process.terminate()
        samples = array.array("f", self.data)
        self.left, self.right = samples[0::2], samples[1::2]

    def save(self, path):
        """Writes a WAV file of 32-bit floating-point samples."""
        form = struct.pack("<HHIIHHH", 3, 2, RATE, RATE * 8, 8, 32, 0)
        chunks = b"WAVEfmt " + struct.pack("<I", len(form)) + form
        chunks += b"fact" + struct.pack("<II", 4, len(self.left))
        chunks += b"data" + struct.pack("<I", len(self.data)) + self.data
        with open(path, "wb") as file:
            file.write(b"RIFF" + struct.pack("<I", len(chunks)) + chunks)


def level(channel):
    """The channel's root mean square in dB of full scale; -inf where every sample is zero."""
    energy = sum(sample * sample for sample in channel)
    return 10 * math.log10(energy / len(channel)) if energy else -math.inf


def pitch(channel):
    """The frequency in hertz of a pure tone, from its rising zero crossings; 0 for silence."""
    crossings = [
        i + before / (before - after)
        for i, (before, after) in enumerate(zip(channel, channel[1:]))
        if before < 0 <= after
    ]
    if len(crossings) < 2:
        return 0.0
    return (len(crossings) - 1) * RATE / (crossings[-1] - crossings[0])


@contextlib.contextmanager
def hanging_server():
    """While the block runs, the session's sound server answers nobody."""
    mark = b"PAIRDECK_SESSION=" + os.environ["PAIRDECK_SESSION"].encode()
    servers = []
    for process in pathlib.Path("/proc").glob("[0-9]*"):
        with contextlib.suppress(OSError):
            name = (process / "comm").read_text().strip()
            if name in ("pulseaudio", "pipewire", "pipewire-pulse"):
                if mark in (process / "environ").read_bytes().split(b"\0"):
                    servers.append(int(process.name))
    assert servers, "no sound server in this session"
    for server in servers:
        os.kill(server, signal.SIGSTOP)
    try:
        yield
    finally:
        for server in servers:
            os.kill(server, signal.SIGCONT)
