import QtQuick

// Today's time per project or per application, each with its bar.
Column {
    id: root
    property var section
    property var theme
    spacing: 10

    Text {
        text: root.section.title
        font.family: root.theme.fontFamily
        font.pixelSize: 11
        font.weight: Font.Medium
        color: root.theme.colors.inkMuted
    }

    Text {
        visible: root.section.rows.length === 0
        text: root.section.emptyText
        font.family: root.theme.fontFamily
        font.pixelSize: 13
        color: root.theme.colors.inkMuted
    }

    Repeater {
        model: root.section.rows
        TodayRow {
            required property var modelData
            width: root.width
            name: modelData.name
            duration: modelData.duration
            barWidth: modelData.barWidth
            barColor: modelData.color
            theme: root.theme
        }
    }
}
