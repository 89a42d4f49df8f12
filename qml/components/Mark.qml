import QtQuick

// The logo mark: an L-shaped polygon in ink and a square beside its top,
// drawn in a 142.73 × 166.85 box scaled to fit and centred.
Item {
    id: root
    property color ink: "black"
    property color square: "#D9B1FA"
    readonly property real s: Math.min(width / 142.73, height / 166.85)
    readonly property real ox: (width - 142.73 * s) / 2
    readonly property real oy: (height - 166.85 * s) / 2

    Rectangle {
        x: root.ox; y: root.oy + 0.62 * root.s
        width: 47.25 * root.s; height: (166.85 - 0.62) * root.s
        color: root.ink; antialiasing: true
    }
    Rectangle {
        x: root.ox; y: root.oy + 123.63 * root.s
        width: 110.77 * root.s; height: (166.85 - 123.63) * root.s
        color: root.ink; antialiasing: true
    }
    Rectangle {
        x: root.ox + 95.47 * root.s; y: root.oy
        width: 47.26 * root.s; height: 47.26 * root.s
        color: root.square; antialiasing: true
    }
}
