"""How strongly what lies behind the window shows through its panels.

Usage: stripes.py PROGRAM, in the session that scripts/session starts. Contrast is that of WCAG 2.1:
the ratio of relative luminances, 0.05 added to each.
"""

import pathlib
import subprocess
import sys
import tempfile
import time

from program import Program
from screen import picture

WIDTH = 16
PALEST = 166 / 255  # how white the palest text is: the captions


def hang_stripes():
    """Makes stripes the desktop's picture."""
    with tempfile.TemporaryDirectory() as folder:
        path = pathlib.Path(folder) / "stripes.png"
        pair = ["-size", f"{WIDTH}x1200", "xc:black", "xc:white", "+append"]
        tiled = ["-write", "mpr:pair", "+delete", "-size", "1920x1200", "tile:mpr:pair"]
        subprocess.run(["convert", *pair, *tiled, path], check=True)
        subprocess.run(["hsetroot", "-cover", path], check=True, stdout=subprocess.DEVNULL)


def luminance(pixel):
    linear = [c / 12.92 if c <= 0.03928 else ((c + 0.055) / 1.055) ** 2.4 for c in pixel]
    return 0.2126 * linear[0] + 0.7152 * linear[1] + 0.0722 * linear[2]


def contrast(one, other):
    darker, lighter = sorted((luminance(one), luminance(other)))
    return (lighter + 0.05) / (darker + 0.05)


def measure(program):
    menu = program.screen.find("Menu").rectangle
    time.sleep(1)
    shown = picture(menu[0] + menu[2] + 20, menu[1] + 4, 12 * WIDTH, menu[3] - 8)
    pixels = {tuple(c / 255 for c in shown[i : i + 3]) for i in range(0, len(shown), 3)}
    darkest, lightest = min(pixels, key=luminance), max(pixels, key=luminance)
    palest = [PALEST + (1 - PALEST) * c for c in lightest]
    print(
        f"stripes {contrast(darkest, lightest):.2f} : 1, "
        f"white text at least {contrast((1, 1, 1), lightest):.1f} : 1, "
        f"captions at least {contrast(palest, lightest):.1f} : 1"
    )


def main():
    hang_stripes()
    with Program(sys.argv[1]) as program:
        measure(program)


if __name__ == "__main__":
    main()
