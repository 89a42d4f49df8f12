#!/usr/bin/python3
"""A test window with a chosen application id and title.

    test_window.py APP_ID TITLE [COMMAND_FIFO]

Each line written to the FIFO becomes the title; "quit" closes the window.
GTK uses the program name as the Wayland app id (and the WM_CLASS instance
on X11), so it is set to APP_ID before GTK starts.
"""
import os
import sys

import gi

gi.require_version("Gtk", "3.0")
from gi.repository import Gio, GLib, Gtk  # noqa: E402

app_id, title = sys.argv[1], sys.argv[2]
fifo = sys.argv[3] if len(sys.argv) > 3 else None
GLib.set_prgname(app_id)


def activate(app):
    window = Gtk.ApplicationWindow(application=app, title=title)
    window.set_default_size(320, 200)
    window.show_all()
    if not fifo:
        return
    if not os.path.exists(fifo):
        os.mkfifo(fifo)
    fd = os.open(fifo, os.O_RDWR | os.O_NONBLOCK)
    pending = b""

    def readable(_source, _condition):
        nonlocal pending
        pending += os.read(fd, 4096)
        while b"\n" in pending:
            line, pending = pending.split(b"\n", 1)
            text = line.decode()
            if text == "quit":
                app.quit()
            else:
                window.set_title(text)
        return True

    GLib.io_add_watch(fd, GLib.IO_IN, readable)


# NON_UNIQUE: several windows of one id may run at once.
app = Gtk.Application(application_id=app_id, flags=Gio.ApplicationFlags.NON_UNIQUE)
app.connect("activate", activate)
app.run([sys.argv[0]])
