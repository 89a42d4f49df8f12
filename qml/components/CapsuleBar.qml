import QtQuick

// A capsule track with a filled capsule of `fillWidth` pixels from its left.
Rectangle {
    property real fillWidth: 0
    property color fillColor: "black"
    height: 6
    radius: height / 2
    Rectangle {
        width: Math.min(parent.fillWidth, parent.width)
        height: parent.height
        radius: parent.radius
        color: parent.fillColor
    }
}
