"""A disk of another machine: slow, or dead."""

import os
import pathlib
import signal
import subprocess
import time

SERVER = pathlib.Path(__file__).parents[2] / "bench" / "library" / "slow_disk"


class Disk:
    """Shows `folder` as its neighbour "disk", with so many milliseconds for each operation, while
    the test runs; the test is skipped where that can't be."""

    def __init__(self, test, folder, milliseconds):
        self.path = folder.parent / "disk"
        self.path.mkdir(exist_ok=True)
        self.process = subprocess.Popen(
            ["/usr/bin/python3", SERVER, folder, self.path, str(milliseconds)],
            stderr=subprocess.DEVNULL)
        test.addCleanup(self.take_away)
        while not os.path.ismount(self.path):
            if self.process.poll() is not None:
                test.skipTest("no file system of its own: no /dev/fuse, no right, or no fusepy")
            time.sleep(0.05)

    def die(self):
        """From now on nothing is answered."""
        # Nor is anything under way: the kernel keeps even a killed process for what is.
        time.sleep(1)
        self.process.send_signal(signal.SIGSTOP)

    def take_away(self):
        # What still waits for an answer then gets an error.
        self.process.kill()
        self.process.wait()
        subprocess.run(["umount", "-l", self.path], capture_output=True, check=False)

