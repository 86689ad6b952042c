// A line of a sheet of actions.
import QtQuick
import Slicewise.Ui

KeyButton {
    id: button

    property bool destructive: false
    property bool strong: false
    property bool lineAbove: false

    implicitHeight: Math.max(Theme.touchSize + 10, button.implicitContentHeight + 2 * Theme.spacing)

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
