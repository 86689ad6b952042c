// A line of a sheet of actions.
import QtQuick
import Slicewise.Ui
import QtQuick.Templates as T

T.AbstractButton {
    id: button

    property bool destructive: false
    property bool strong: false
    property bool lineAbove: false

    implicitHeight: Math.max(Theme.touchSize + 10, button.implicitContentHeight + 2 * Theme.spacing)
    focusPolicy: Qt.StrongFocus
    Accessible.role: Accessible.Button
    Accessible.name: button.text
    Keys.onReturnPressed: button.clicked()
    Keys.onEnterPressed: button.clicked()

    background: Rectangle {
        color: button.down ? Theme.pressedColor : "transparent"
        radius: Theme.cornerRadius

        Rectangle {
            width: parent.width
            height: 1
            visible: button.lineAbove
            color: Theme.separatorColor
        }

        Rectangle {
            anchors.fill: parent
            anchors.margins: 3
            visible: button.visualFocus
            color: "transparent"
            radius: Theme.cornerRadius - 3
            border.width: 2
            border.color: Theme.focusColor
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
