import QtQuick

// A muted note under the header, with an optional link at its end; a long
// one wraps, as it is often the only place the user learns what is wrong.
Item {
    id: root
    property string text
    property string linkText: ""
    property var theme
    signal linkActivated()
    implicitHeight: Math.max(label.implicitHeight, link.implicitHeight)
    height: implicitHeight

    Text {
        id: label
        anchors.left: parent.left
        anchors.right: link.visible ? link.left : parent.right
        anchors.rightMargin: link.visible ? 8 : 0
        text: root.text
        wrapMode: Text.Wrap
        font.family: root.theme.fontFamily
        font.pixelSize: 12
        color: root.theme.colors.inkMuted
    }
    Text {
        id: link
        anchors.right: parent.right
        visible: root.linkText !== ""
        text: root.linkText
        font.family: root.theme.fontFamily
        font.pixelSize: 12
        font.weight: Font.DemiBold
        font.underline: linkArea.containsMouse
        color: root.theme.colors.lavender
        MouseArea {
            id: linkArea
            anchors.fill: parent
            hoverEnabled: true
            cursorShape: Qt.PointingHandCursor
            onClicked: root.linkActivated()
        }
    }
}
