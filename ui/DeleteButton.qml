// The second step of deleting a row: comes in over its end, and a touch deletes.
import QtQuick
import Slicewise.Ui

Pressable {
    id: button

    required property string spokenName

    implicitWidth: Math.max(82, Math.ceil(label.implicitWidth) + 2 * Theme.margin)

    spokenText: qsTr("Confirm deleting %1").arg(spokenName)

    Rectangle {
        anchors.fill: parent
        color: button.held ? Qt.darker(Theme.deleteColor, 1.25) : Theme.deleteColor
    }
    Text {
        id: label

        anchors.centerIn: parent
        textFormat: Text.PlainText
        text: qsTr("Delete")
        color: "#ffffff"
        font.pixelSize: Theme.buttonTextSize
        Accessible.ignored: true
    }
    FocusRing {
        anchors.fill: parent
        anchors.margins: 4
        border.color: "#ffffff"
        shown: button.activeFocus
    }
}
