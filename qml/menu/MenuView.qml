import QtQuick
import Kvillo.Ui

// The tray popup's content: header, notices, the task card or editor, the
// today section and the footer rows, in a fixed 320 px column.
Rectangle {
    id: root
    required property var menu
    required property var theme
    // Whether the editor replaces the card; kept while the popup is hidden.
    property bool editing: false
    readonly property var c: theme.colors

    // An editor left open fills in afresh when the popup shows again: the
    // task may have changed meanwhile.
    Connections {
        target: root.Window.window
        function onVisibleChanged() {
            if (root.Window.window.visible && root.editing)
                root.menu.editor.begin()
        }
    }

    width: 320
    implicitHeight: column.implicitHeight + 2 * 14
    height: implicitHeight
    color: c.menuBackground

    Column {
        id: column
        x: 14
        y: 14
        width: parent.width - 28
        spacing: 16

        Item {
            width: parent.width
            height: 20
            Mark {
                id: mark
                width: 20
                height: 20
                ink: root.c.ink
                square: root.c.logoSquare
            }
            Text {
                anchors.left: mark.right
                anchors.leftMargin: 8
                anchors.verticalCenter: parent.verticalCenter
                text: "Kvillo"
                font.family: root.theme.fontFamily
                font.pixelSize: 15
                font.weight: Font.ExtraBold
                color: root.c.ink
            }
            Text {
                objectName: "todayText"
                anchors.right: parent.right
                anchors.verticalCenter: parent.verticalCenter
                text: root.menu.todayText
                font.family: root.theme.fontFamily
                font.pixelSize: 12
                font.weight: Font.Medium
                color: root.c.inkMuted
            }
        }

        NoticeLine {
            width: parent.width
            visible: root.menu.notice !== ""
            text: root.menu.notice
            theme: root.theme
        }

        NoticeLine {
            width: parent.width
            visible: root.menu.loggingOff
            text: root.menu.loggingOffText
            linkText: root.menu.turnOnText
            theme: root.theme
            onLinkActivated: root.menu.turnOnLogging()
        }

        TaskCard {
            width: parent.width
            visible: root.menu.showTask && !root.editing
            card: root.menu.card
            theme: root.theme
            onEditRequested: {
                root.menu.editor.begin()
                root.editing = true
            }
        }

        TaskEditor {
            id: editor
            width: parent.width
            visible: root.menu.showTask && root.editing
            editor: root.menu.editor
            theme: root.theme
            onDone: root.editing = false
        }

        TodaySection {
            width: parent.width
            section: root.menu.today
            theme: root.theme
        }

        Rectangle {
            width: parent.width
            height: 1
            color: root.c.ink
            opacity: 0.1
        }

        Column {
            width: parent.width
            spacing: 0
            // The rows sit flush with the column's edges visually: their
            // hover background reaches a little beyond the text.
            Repeater {
                model: root.menu.footerRows
                MenuRow {
                    required property var modelData
                    width: parent.width
                    objectName: "row-" + modelData.action
                    icon: modelData.icon
                    title: modelData.title
                    theme: root.theme
                    onActivated: root.menu.activate(modelData.action)
                }
            }
        }
    }
}
