// Darkens all below, which gets no touch through it, while it is shown.
import QtQuick

Rectangle {
    id: shade

    property bool shown: false

    signal tapped

    color: "#000000"
    visible: opacity > 0
    opacity: shown ? 0.45 : 0

    Behavior on opacity {
        NumberAnimation { duration: 180 }
    }

    MouseArea {
        anchors.fill: parent
        hoverEnabled: true
        onClicked: shade.tapped()
        onWheel: wheel => wheel.accepted = true
    }
}
