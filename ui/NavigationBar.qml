// The bar over all screens. What lies in it belongs to the screens and fades from one to the next.
import QtQuick
import Slicewise.Ui

Item {
    id: bar

    readonly property alias items: content

    implicitHeight: Math.max(Theme.touchSize, Math.round(2.6 * Theme.buttonTextSize))

    Rectangle {
        anchors.fill: parent
        color: Theme.barColor
    }
    Item {
        id: content

        anchors.fill: parent
        clip: true
    }
    Rectangle {
        anchors.bottom: parent.bottom
        width: parent.width
        height: 1
        color: Theme.barLineColor
    }
}
