// Around what the keyboard has reached.
import QtQuick
import Slicewise.Ui

Rectangle {
    id: ring

    property bool shown: false

    visible: shown
    color: "transparent"
    radius: 6
    border.width: 2
    border.color: Theme.focusColor
}
