import QtQuick

// The running task's time. Archivo's figures are all one width, so the
// text does not jitter as it counts.
Text {
    property var card
    property var theme
    text: card.clock
    font.family: theme.fontFamily
    font.pixelSize: 30
    font.weight: Font.Bold
    color: theme.colors.onCard
    opacity: card.paused ? 0.5 : 1
}
