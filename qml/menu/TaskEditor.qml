import QtQuick
import QtQuick.Controls.Basic

// Replaces the card while the task is edited: project picker, task field
// (Return starts it), "Avbryt" and "Start".
Rectangle {
    id: root
    property var editor
    property var theme
    signal done()
    readonly property var c: theme.colors

    implicitHeight: content.implicitHeight + 28
    height: implicitHeight
    radius: 12
    color: c.card
    border.width: 1
    border.color: c.cardStroke

    function save() {
        root.editor.save()
        root.done()
    }

    // The field takes the keyboard as soon as the editor shows.
    onVisibleChanged: if (visible) field.forceActiveFocus()

    Column {
        id: content
        x: 14
        y: 14
        width: parent.width - 28
        spacing: 10

        Text {
            text: root.editor.title
            font.family: root.theme.fontFamily
            font.pixelSize: 13
            font.weight: Font.DemiBold
            color: root.c.onCard
        }

        ComboBox {
            id: picker
            objectName: "projectPicker"
            width: parent.width
            visible: root.editor.showProjects
            model: root.editor.projectChoices
            currentIndex: root.editor.projectIndex
            onActivated: index => root.editor.projectIndex = index
            Accessible.name: root.editor.projectLabel
            font.family: root.theme.fontFamily
            font.pixelSize: 13
        }

        TextField {
            id: field
            objectName: "taskField"
            width: parent.width
            text: root.editor.task
            onTextEdited: root.editor.task = text
            onAccepted: root.save()
            // Escape leaves the editor first; a second one closes the popup.
            Keys.onEscapePressed: event => {
                event.accepted = true
                root.done()
            }
            placeholderText: root.editor.placeholder
            placeholderTextColor: root.c.inkMuted
            color: root.c.ink
            font.family: root.theme.fontFamily
            font.pixelSize: 13
            background: Rectangle {
                radius: 6
                color: root.c.field
                border.width: field.activeFocus ? 2 : 1
                border.color: field.activeFocus ? root.c.lavender : root.c.track
            }
        }

        Item {
            width: parent.width
            height: cancel.implicitHeight
            Button {
                id: cancel
                objectName: "cancelButton"
                text: root.editor.cancelText
                focusPolicy: Qt.NoFocus
                font.family: root.theme.fontFamily
                font.pixelSize: 13
                onClicked: root.done()
                contentItem: Text {
                    text: cancel.text
                    font: cancel.font
                    color: root.c.onCard
                    horizontalAlignment: Text.AlignHCenter
                    verticalAlignment: Text.AlignVCenter
                }
                background: Rectangle {
                    implicitWidth: 72
                    implicitHeight: 30
                    radius: 6
                    color: cancel.hovered ? Qt.rgba(1, 1, 1, 0.08) : "transparent"
                    border.width: 1
                    border.color: Qt.rgba(1, 1, 1, 0.35)
                }
            }
            Button {
                id: start
                objectName: "startButton"
                anchors.right: parent.right
                text: root.editor.startText
                focusPolicy: Qt.NoFocus
                font.family: root.theme.fontFamily
                font.pixelSize: 13
                font.weight: Font.DemiBold
                onClicked: root.save()
                contentItem: Text {
                    text: start.text
                    font: start.font
                    color: root.c.card
                    horizontalAlignment: Text.AlignHCenter
                    verticalAlignment: Text.AlignVCenter
                }
                background: Rectangle {
                    implicitWidth: 72
                    implicitHeight: 30
                    radius: 6
                    color: root.c.lavender
                    opacity: start.pressed ? 0.8 : 1
                }
            }
        }
    }
}
