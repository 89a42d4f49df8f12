import QtQuick
import Kvillo.Ui

// A name and its duration above a capsule bar.
Column {
    id: root
    property string name
    property string duration
    property real barWidth
    property color barColor
    property var theme
    spacing: 4

    Item {
        width: parent.width
        height: Math.max(nameText.implicitHeight, durationText.implicitHeight)
        Text {
            id: nameText
            anchors.left: parent.left
            anchors.right: durationText.left
            anchors.rightMargin: 8
            text: root.name
            elide: Text.ElideRight
            maximumLineCount: 1
            font.family: root.theme.fontFamily
            font.pixelSize: 13
            font.weight: Font.Medium
            color: root.theme.colors.ink
        }
        Text {
            id: durationText
            anchors.right: parent.right
            anchors.baseline: nameText.baseline
            text: root.duration
            font.family: root.theme.fontFamily
            font.pixelSize: 12
            color: root.theme.colors.inkMuted
        }
    }
    CapsuleBar {
        width: parent.width
        color: root.theme.colors.track
        fillWidth: root.barWidth
        fillColor: root.barColor
    }
}
