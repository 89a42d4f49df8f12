import QtQuick
import QtQuick.Controls.Basic
import Kvillo.Ui

// The running task: label, headline with the edit button, subtitle, timer
// and its buttons, on the dark card.
Rectangle {
    id: root
    property var card
    property var theme
    signal editRequested()
    readonly property var c: theme.colors

    implicitHeight: content.implicitHeight + 32
    height: implicitHeight
    radius: 12
    color: c.card
    border.width: 1
    border.color: c.cardStroke

    Column {
        id: content
        x: 16
        y: 16
        width: parent.width - 32
        spacing: 8

        Text {
            text: root.card.label
            font.family: root.theme.fontFamily
            font.pixelSize: 11
            color: root.c.lavenderSoft
        }

        AbstractButton {
            id: headline
            objectName: "editButton"
            width: parent.width
            implicitHeight: headlineText.implicitHeight
            hoverEnabled: true
            focusPolicy: Qt.NoFocus
            ToolTip.visible: hovered
            ToolTip.text: root.card.editTooltip
            ToolTip.delay: 500
            onClicked: root.editRequested()
            contentItem: Item {
                Text {
                    id: headlineText
                    width: Math.min(implicitWidth, headline.width - 24)
                    text: root.card.headline
                    elide: Text.ElideRight
                    font.family: root.theme.fontFamily
                    font.pixelSize: 18
                    font.weight: Font.Bold
                    color: root.c.onCard
                    opacity: root.card.headlineIsQuestion ? 0.6 : 1
                }
                Icon {
                    anchors.left: headlineText.right
                    anchors.leftMargin: 8
                    anchors.verticalCenter: headlineText.verticalCenter
                    name: "pencil"
                    size: 14
                    color: root.c.onCard
                    opacity: headline.hovered ? 1 : 0.6
                }
            }
        }

        Text {
            width: parent.width
            visible: text !== ""
            text: root.card.subtitle
            wrapMode: Text.Wrap
            maximumLineCount: 2
            elide: Text.ElideRight
            font.family: root.theme.fontFamily
            font.pixelSize: 12
            color: root.c.onCard
            opacity: 0.7
        }

        Item {
            width: parent.width
            height: Math.max(timer.implicitHeight, 34)
            TaskTimer {
                id: timer
                objectName: "taskTimer"
                anchors.verticalCenter: parent.verticalCenter
                card: root.card
                theme: root.theme
            }
            Row {
                anchors.right: parent.right
                anchors.verticalCenter: parent.verticalCenter
                spacing: 6
                IconButton {
                    objectName: "stopButton"
                    visible: root.card.showStop
                    iconName: "stop"
                    iconColor: root.c.onCard
                    fill: hovered ? Qt.rgba(1, 1, 1, 0.12) : "transparent"
                    width: 34
                    height: 34
                    iconSize: 20
                    tooltip: root.card.stopTooltip
                    onClicked: root.card.endTask()
                }
                IconButton {
                    objectName: "pauseButton"
                    visible: root.card.showPause
                    iconName: root.card.paused ? "play" : "pause"
                    iconColor: root.c.onPause
                    fill: root.c.pauseFill
                    width: 34
                    height: 34
                    iconSize: 16
                    tooltip: root.card.pauseTooltip
                    onClicked: root.card.togglePause()
                }
            }
        }
    }
}
