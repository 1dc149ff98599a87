"""Whether a window answers its window manager, which takes one that does not for dead."""

import ctypes
import subprocess
import threading
import time

X11 = ctypes.CDLL("libX11.so.6")
X11.XOpenDisplay.restype = ctypes.c_void_p
X11.XDefaultRootWindow.restype = X11.XInternAtom.restype = ctypes.c_ulong
CLIENT_MESSAGE = 33
# To the windows that stand on the desktop, and to the desktop: answers are sent as either.
NOTICES = 1 << 19 | 1 << 17


class ClientMessage(ctypes.Structure):
    _fields_ = [("type", ctypes.c_int), ("serial", ctypes.c_ulong), ("send_event", ctypes.c_int),
                ("display", ctypes.c_void_p), ("window", ctypes.c_ulong),
                ("message_type", ctypes.c_ulong), ("format", ctypes.c_int),
                ("data", ctypes.c_long * 5), ("rest", ctypes.c_long * 24)]


class Pings:
    """While the block runs, the main window of the process is asked; `longest` is the longest time
    in seconds that an answer took."""

    def __init__(self, pid):
        found = subprocess.run(["xdotool", "search", "--onlyvisible", "--pid", str(pid)],
                               capture_output=True, text=True, check=True)
        self.window = int(found.stdout.split()[0])
        self.longest = 0.0
        self.ended = threading.Event()
        self.thread = threading.Thread(target=self.run)

    def __enter__(self):
        self.thread.start()
        return self

    def __exit__(self, *_):
        self.ended.set()
        self.thread.join()

    def run(self):
        display = ctypes.c_void_p(X11.XOpenDisplay(None))
        root = X11.XDefaultRootWindow(display)
        protocols, ping = (X11.XInternAtom(display, name, 0) for name in (b"WM_PROTOCOLS", b"_NET_WM_PING"))
        X11.XSelectInput(display, root, ctypes.c_long(NOTICES))
        event = ClientMessage()
        number = 0
        while not self.ended.is_set():
            # Numbers that are nobody else's times.
            number += 1
            asked = ClientMessage(CLIENT_MESSAGE, window=self.window, message_type=protocols, format=32)
            asked.data[:3] = ping, number, self.window
            X11.XSendEvent(display, ctypes.c_ulong(self.window), 0, ctypes.c_long(0), ctypes.byref(asked))
            X11.XFlush(display)
            begin = time.monotonic()
            answered = False
            while not answered and not self.ended.is_set():
                while not answered and X11.XPending(display):
                    X11.XNextEvent(display, ctypes.byref(event))
                    answered = event.type == CLIENT_MESSAGE and event.data[1] == number
                self.longest = max(self.longest, time.monotonic() - begin)
                time.sleep(0.002)
            time.sleep(0.02)
        X11.XCloseDisplay(display)
