"""Times a tray click to the popup's window being mapped.

Sends the StatusNotifierItem's Activate to `item` (a bus name) and polls the
window tree until the popup (the 320-px window titled "Kvillo", perhaps
inside a window manager's frame) is viewable; a second Activate closes it. The first round warms up; prints the median of
the next seven, in milliseconds."""
import statistics
import subprocess
import sys
import time

from Xlib import X, display

item = sys.argv[1]
screen = display.Display()
root = screen.screen().root


def activate():
    subprocess.run(["gdbus", "call", "--session", "-d", item, "-o", "/StatusNotifierItem",
                    "-m", "org.kde.StatusNotifierItem.Activate", "100", "5"],
                   check=True, stdout=subprocess.DEVNULL)


def is_popup(window):
    try:
        return window.get_geometry().width == 320 and window.get_wm_name() == "Kvillo"
    except Exception:
        return False


def popup_viewable():
    for top in root.query_tree().children:
        for window in [top] + list(top.query_tree().children):
            try:
                if window.get_attributes().map_state == X.IsViewable and is_popup(window):
                    return True
            except Exception:
                pass
    return False


def wait_for(shown, deadline=10):
    end = time.monotonic() + deadline
    while time.monotonic() < end:
        if popup_viewable() == shown:
            return time.monotonic()
        time.sleep(0.001)
    raise SystemExit("the popup never " + ("showed" if shown else "closed"))


rounds = []
for attempt in range(8):
    start = time.monotonic()
    activate()
    mapped = wait_for(True)
    if attempt > 0:
        rounds.append((mapped - start) * 1000)
    time.sleep(0.3)
    activate()
    wait_for(False)
    time.sleep(0.5)  # a click right after a close is taken as that close's
activate()
wait_for(True)  # left open for the CPU measurement
print(round(statistics.median(rounds), 1))
