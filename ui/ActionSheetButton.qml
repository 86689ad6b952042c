// A line of a sheet of actions.
import QtQuick
import QtQuick.Templates as T
import Slicewise.Ui

T.AbstractButton {
    id: button

    property bool destructive: false
    property bool strong: false
    property bool lineAbove: false

    implicitHeight: Math.max(Theme.touchSize + 10, button.implicitContentHeight + 2 * Theme.spacing)
    focusPolicy: Qt.StrongFocus
    Accessible.role: Accessible.Button
    Accessible.name: button.text
    Keys.onReturnPressed: event => pressByKey(event)
    Keys.onEnterPressed: event => pressByKey(event)

    // A key that is still held from what has led here is no answer.
    function pressByKey(event) {
        if (!event.isAutoRepeat)
            clicked();
    }

    background: Rectangle {
        color: button.down ? Theme.pressedColor : "transparent"
        radius: Theme.cornerRadius

        Rectangle {
            width: parent.width
            height: 1
            visible: button.lineAbove
            color: Theme.separatorColor
        }

        FocusRing {
            anchors.fill: parent
            anchors.margins: 3
            shown: button.visualFocus
            radius: Theme.cornerRadius - 3
        }
    }

    contentItem: Text {
        text: button.text
        textFormat: Text.PlainText
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignVCenter
        wrapMode: Text.Wrap
        font.pixelSize: Theme.buttonTextSize
        font.weight: button.strong ? Font.DemiBold : Font.Normal
        color: button.destructive ? Theme.destructiveColor : Theme.accentColor
    }
}
