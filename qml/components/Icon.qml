import QtQuick

// One of the bundled single-colour icons, painted in `color`.
Image {
    property string name
    property color color: "black"
    property int size: 16
    width: size
    height: size
    sourceSize: Qt.size(size * 2, size * 2)
    smooth: true
    source: name === "" ? "" : "image://kvillo-icon/" + name + "/" + color.toString().substring(1, 7)
}
