// A button of a preview's bar: a word, or a sign, on nothing.
import QtQuick
import Slicewise.Ui

KeyButton {
    id: button

    property bool strong: false
    property color ink: Theme.accentColor

    implicitWidth: Math.max(Theme.touchSize, button.implicitContentWidth + 2 * Theme.margin)
    implicitHeight: Math.max(Theme.touchSize, button.implicitContentHeight + Theme.spacing)

    background: Rectangle {
        radius: Theme.cornerRadius - 4
        color: button.down ? Theme.pressedColor : "transparent"
        border.width: button.visualFocus ? 2 : 0
        border.color: Theme.focusColor
    }

    contentItem: Text {
        text: button.text
        textFormat: Text.PlainText
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignVCenter
        font.pixelSize: Theme.buttonTextSize
        font.weight: button.strong ? Font.DemiBold : Font.Normal
        color: button.ink
        opacity: button.enabled ? 1 : 0.4
        elide: Text.ElideRight
    }
}
