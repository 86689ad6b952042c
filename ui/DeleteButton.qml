// The second step of deleting a row: comes in over its end, and a touch deletes.
import QtQuick
import Slicewise.Ui

Item {
    id: button

    required property string spokenName
    property bool touchable: true

    signal tapped

    function press() {
        if (touchable)
            tapped();
    }

    implicitWidth: Math.max(82, Math.ceil(label.implicitWidth) + 2 * Theme.margin)

    Accessible.role: Accessible.Button
    Accessible.name: qsTr("Confirm deleting %1").arg(spokenName)
    Accessible.focusable: true
    Accessible.onPressAction: press()
    Keys.onReturnPressed: event => pressByKey(event)
    Keys.onEnterPressed: event => pressByKey(event)
    Keys.onSpacePressed: event => pressByKey(event)

    function pressByKey(event) {
        if (!event.isAutoRepeat)
            press();
    }

    Rectangle {
        anchors.fill: parent
        color: area.pressed ? Qt.darker(Theme.deleteColor, 1.25) : Theme.deleteColor
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
    MouseArea {
        id: area

        anchors.fill: parent
        enabled: button.touchable
        onClicked: button.press()
    }
}
