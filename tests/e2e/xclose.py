"""Closes windows as a window manager does: by asking their program. See "Inter-Client Communication
Conventions Manual", section 4.2.8.1."""

import ctypes
import time

from waiting import PATIENCE

SUBSTRUCTURE_NOTIFY_MASK = 1 << 19
MAP_NOTIFY = 19
CLIENT_MESSAGE = 33


# By default an error ends the whole program, without its clearing up; a window that has gone by
# itself is none here.
@ctypes.CFUNCTYPE(ctypes.c_int, ctypes.c_void_p, ctypes.c_void_p)
def _ignore_error(_display, _error):
    return 0


class _Event(ctypes.Structure):
    """What XMapEvent and XClientMessageEvent have in common, and the latter's data."""
    _fields_ = [("type", ctypes.c_int), ("serial", ctypes.c_ulong), ("send_event", ctypes.c_int),
                ("display", ctypes.c_void_p), ("window", ctypes.c_ulong),
                ("message_or_mapped_window", ctypes.c_ulong), ("format", ctypes.c_int),
                ("data", ctypes.c_long * 5), ("padding", ctypes.c_long * 12)]


class Closer:
    """A connection of its own to the display of that name."""

    def __init__(self, display):
        self.x11 = ctypes.CDLL("libX11.so.6")
        self.x11.XSetErrorHandler(_ignore_error)
        self.x11.XOpenDisplay.restype = ctypes.c_void_p
        self.x11.XDefaultRootWindow.restype = ctypes.c_ulong
        self.x11.XInternAtom.restype = ctypes.c_ulong
        self.display = ctypes.c_void_p(self.x11.XOpenDisplay(display.encode()))
        self.root = ctypes.c_ulong(self.x11.XDefaultRootWindow(self.display))
        self.x11.XSelectInput(self.display, self.root, SUBSTRUCTURE_NOTIFY_MASK)
        self.x11.XSync(self.display, False)

    def close(self, window):
        """Asks the window to close."""
        event = _Event(type=CLIENT_MESSAGE, window=int(window), format=32)
        event.message_or_mapped_window = self._atom(b"WM_PROTOCOLS")
        event.data[0] = self._atom(b"WM_DELETE_WINDOW")
        self.x11.XSendEvent(self.display, ctypes.c_ulong(int(window)), False, 0,
                            ctypes.byref(event))
        self.x11.XSync(self.display, False)

    def close_next_at_once(self):
        """Waits for the next window that comes up and asks it to close right then."""
        end = time.monotonic() + PATIENCE
        event = _Event()
        while event.type != MAP_NOTIFY:
            if self.x11.XPending(self.display):
                self.x11.XNextEvent(self.display, ctypes.byref(event))
            elif time.monotonic() > end:
                raise AssertionError("no window came up")
        self.close(event.message_or_mapped_window)

    def _atom(self, name):
        return self.x11.XInternAtom(self.display, name, False)
