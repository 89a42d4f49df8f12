import QtQuick
import QtQuick.Controls.Basic

// A flat button showing an icon, with a tooltip on hover; `round` draws it
// on a filled circle.
AbstractButton {
    id: root
    property string iconName: ""
    property color iconColor: "black"
    property color fill: "transparent"
    property int iconSize: 14
    property string tooltip: ""
    implicitWidth: 30
    implicitHeight: 30
    hoverEnabled: true
    focusPolicy: Qt.NoFocus
    ToolTip.visible: hovered && tooltip !== ""
    ToolTip.text: tooltip
    ToolTip.delay: 500
    background: Rectangle {
        radius: width / 2
        color: root.fill
        opacity: root.pressed ? 0.8 : 1
    }
    contentItem: Item {
        Icon {
            anchors.centerIn: parent
            name: root.iconName
            color: root.iconColor
            size: root.iconSize
        }
    }
}
