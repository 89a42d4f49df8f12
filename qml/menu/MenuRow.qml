import QtQuick
import Kvillo.Ui

// A footer row: icon and title, the whole row clickable, a faint
// background while hovered.
Rectangle {
    id: root
    property string icon
    property string title
    property var theme
    signal activated()
    implicitHeight: 30
    height: implicitHeight
    radius: 6
    color: area.containsMouse ? Qt.rgba(theme.colors.ink.r, theme.colors.ink.g, theme.colors.ink.b, 0.06)
                              : "transparent"

    Icon {
        id: glyph
        x: 6
        anchors.verticalCenter: parent.verticalCenter
        name: root.icon
        size: 16
        color: root.theme.colors.ink
    }
    Text {
        anchors.left: glyph.right
        anchors.leftMargin: 10
        anchors.verticalCenter: parent.verticalCenter
        text: root.title
        font.family: root.theme.fontFamily
        font.pixelSize: 13
        color: root.theme.colors.ink
    }
    MouseArea {
        id: area
        anchors.fill: parent
        hoverEnabled: true
        onClicked: root.activated()
    }
}
