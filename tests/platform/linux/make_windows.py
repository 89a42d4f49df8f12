"""Maps test windows on $DISPLAY and keeps them until killed.

Each argument is one window: class instance, class name, title, title kind
(net for _NET_WM_NAME as UTF-8, latin1 for WM_NAME as STRING, ctext for
WM_NAME as COMPOUND_TEXT), pid.
Prints the window ids, one per line, once all are mapped.
"""
import sys
import time

from Xlib import X, display, Xatom

screen_display = display.Display()
screen = screen_display.screen()
utf8 = screen_display.intern_atom("UTF8_STRING")
net_wm_name = screen_display.intern_atom("_NET_WM_NAME")
net_wm_pid = screen_display.intern_atom("_NET_WM_PID")
compound_text = screen_display.intern_atom("COMPOUND_TEXT")

windows = []
for description in sys.argv[1:]:
    instance, class_name, title, kind, pid = description.split("|")
    window = screen.root.create_window(10, 10, 200, 100, 0, screen.root_depth, X.InputOutput,
                                       X.CopyFromParent, background_pixel=screen.white_pixel,
                                       event_mask=X.StructureNotifyMask)
    window.set_wm_class(instance, class_name)
    if kind == "net":
        window.change_property(net_wm_name, utf8, 8, title.encode("utf-8"))
    elif kind == "ctext":
        # Latin-1 is COMPOUND_TEXT's initial right half, so no escapes are needed.
        window.change_property(Xatom.WM_NAME, compound_text, 8, title.encode("latin-1"))
    else:
        window.change_property(Xatom.WM_NAME, Xatom.STRING, 8, title.encode("latin-1"))
    window.change_property(net_wm_pid, Xatom.CARDINAL, 32, [int(pid)])
    window.map()
    windows.append(window)
screen_display.sync()
for window in windows:
    print(hex(window.id), flush=True)
while True:
    screen_display.pending_events()
    time.sleep(0.2)
