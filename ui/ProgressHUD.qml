// A dark, rounded plate over what has to wait, with a spinner and a word on what is going on. Takes no touches away:
// what is below decides itself what it accepts meanwhile.
import QtQuick
import Slicewise.Ui

Rectangle {
    id: hud

    required property string text
    property bool shown: text.length > 0
    // The word stays while the plate fades.
    property string lastText
    property real maximumWidth: parent ? parent.width - 2 * Theme.spacing : 320

    onTextChanged: keepText()
    Component.onCompleted: keepText()

    function keepText() {
        if (text.length > 0)
            lastText = text;
    }

    width: Math.min(maximumWidth, Math.max(Math.round(132 * Theme.textScale),
                                           label.implicitWidth + 2 * Theme.margin + 8))
    height: spinner.size + label.height + 3 * Theme.margin - 4
    radius: Theme.cornerRadius
    color: "#d9101216"
    border.color: "#26ffffff"
    visible: opacity > 0
    opacity: shown ? 1 : 0
    scale: shown ? 1 : 1.12

    Accessible.role: Accessible.AlertMessage
    Accessible.name: lastText
    Accessible.ignored: !shown

    Behavior on opacity {
        NumberAnimation { duration: 220 }
    }
    Behavior on scale {
        NumberAnimation { duration: 220; easing.type: Easing.OutCubic }
    }

    ActivityIndicator {
        id: spinner

        anchors.horizontalCenter: parent.horizontalCenter
        y: Theme.margin + 2
        size: Math.round(37 * Theme.textScale)
        color: "#ffffff"
        running: hud.shown
        Accessible.ignored: true
    }
    Text {
        id: label

        anchors.horizontalCenter: parent.horizontalCenter
        anchors.bottom: parent.bottom
        anchors.bottomMargin: Theme.margin - 4
        width: parent.width - 2 * Theme.spacing
        horizontalAlignment: Text.AlignHCenter
        elide: Text.ElideRight
        maximumLineCount: 1
        textFormat: Text.PlainText
        text: hud.lastText
        color: "#ffffff"
        font.pixelSize: Math.round(16 * Theme.textScale)
        font.bold: true
        Accessible.ignored: true
    }
}
