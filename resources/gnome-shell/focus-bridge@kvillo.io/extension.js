/* Kvillo focus bridge for GNOME Shell 42-44 (the legacy, non-module format).
 *
 * GNOME tells no client which window has the focus, so this exports
 * /io/kvillo/FocusBridge on the Shell's own session-bus connection (clients
 * address bus name org.gnome.Shell): GetFocus() answers with the focused
 * window, and FocusChanged is sent whenever the focus or the focused window's
 * title changes. It only passes on what the Shell already knows: no timers,
 * no logging, and disable() undoes everything enable() did. */
/* exported init */
const { Gio, GLib, Shell } = imports.gi;

const OBJECT_PATH = '/io/kvillo/FocusBridge';
const INTERFACE = `<node>
  <interface name="io.kvillo.FocusBridge">
    <method name="GetFocus">
      <arg type="s" direction="out" name="appId"/>
      <arg type="s" direction="out" name="wmClass"/>
      <arg type="s" direction="out" name="title"/>
      <arg type="u" direction="out" name="pid"/>
    </method>
    <signal name="FocusChanged">
      <arg type="s" name="appId"/>
      <arg type="s" name="wmClass"/>
      <arg type="s" name="title"/>
      <arg type="u" name="pid"/>
    </signal>
  </interface>
</node>`;

class FocusBridge {
    enable() {
        this._tracker = Shell.WindowTracker.get_default();
        this._window = null;
        this._titleId = 0;
        this._dbus = Gio.DBusExportedObject.wrapJSObject(INTERFACE, this);
        this._dbus.export(Gio.DBus.session, OBJECT_PATH);
        this._focusId = global.display.connect('notify::focus-window', () => this._focusChanged());
        this._focusChanged();
    }

    // The Shell disables extensions while the screen is locked, too: the
    // empty report tells clients that nothing is known from now on, as the
    // object goes away without a word otherwise.
    disable() {
        this._dbus.emit_signal('FocusChanged', new GLib.Variant('(sssu)', ['', '', '', 0]));
        global.display.disconnect(this._focusId);
        this._focusId = 0;
        this._follow(null);
        this._dbus.unexport();
        this._dbus = null;
        this._tracker = null;
    }

    // Follows the title of `window` only: the focused one.
    _follow(window) {
        if (this._window && this._titleId)
            this._window.disconnect(this._titleId);
        this._window = window;
        this._titleId = window ? window.connect('notify::title', () => this._emit()) : 0;
    }

    _focusChanged() {
        this._follow(global.display.focus_window);
        this._emit();
    }

    _describe() {
        const window = global.display.focus_window;
        if (!window)
            return ['', '', '', 0];
        const app = this._tracker.get_window_app(window);
        let appId = app ? app.get_id() || '' : '';
        // The Shell makes up "window:<n>" apps for windows it finds no
        // .desktop file for; such an id names nothing outside the Shell.
        if (appId.startsWith('window:'))
            appId = '';
        const pid = window.get_pid();
        return [appId, window.get_wm_class() || '', window.get_title() || '', pid > 0 ? pid : 0];
    }

    GetFocus() {
        return this._describe();
    }

    _emit() {
        this._dbus.emit_signal('FocusChanged', new GLib.Variant('(sssu)', this._describe()));
    }
}

function init() {
    return new FocusBridge();
}
