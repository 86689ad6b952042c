// Sound and film, with what plays and stops them.
import QtQuick
import QtQuick.Controls.Basic
import Slicewise.Preview
import Slicewise.Ui

Item {
    id: view

    required property Document document

    function timeText(milliseconds: int): string {
        const seconds = Math.floor(milliseconds / 1000)
        return Math.floor(seconds / 60) + ":" + String(seconds % 60).padStart(2, "0")
    }

    function playOrPause() {
        if (view.document.playing)
            view.document.pause()
        else
            view.document.play()
    }

    Keys.onSpacePressed: event => {
        if (!event.isAutoRepeat)
            view.playOrPause()
    }

    PictureItem {
        id: screen

        objectName: "screen"
        anchors.top: parent.top
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.bottom: controls.top
        visible: view.document.hasVideo
        film: true
        document: view.document
        Accessible.role: Accessible.Graphic
        Accessible.name: view.document.name
    }

    Rectangle {
        anchors.centerIn: screen
        width: Math.min(180, screen.width * 0.5, screen.height * 0.6)
        height: width
        radius: width / 2
        visible: !view.document.hasVideo
        color: Theme.dark ? "#1e2128" : "#ffffff"
        border.color: Theme.separatorColor

        Text {
            anchors.centerIn: parent
            text: "\u266A"
            textFormat: Text.PlainText
            font.pixelSize: parent.width * 0.5
            color: Theme.accentColor
        }
    }

    Column {
        id: controls

        anchors.bottom: parent.bottom
        anchors.bottomMargin: Theme.margin
        anchors.horizontalCenter: parent.horizontalCenter
        width: Math.min(parent.width - 2 * Theme.margin, 560)
        spacing: Theme.spacing

        Slider {
            id: slider

            objectName: "position"
            width: parent.width
            height: Theme.touchSize
            from: 0
            to: Math.max(1, view.document.durationMs)
            // While a finger has hold of it, it is where the finger is.
            Binding on value {
                value: view.document.positionMs
                when: !slider.pressed
                restoreMode: Binding.RestoreNone
            }
            enabled: view.document.durationMs > 0
            Accessible.name: qsTr("Position")
            onMoved: view.document.seek(Math.round(slider.value))
            palette.dark: Theme.accentColor
            palette.midlight: Theme.separatorColor
        }

        Item {
            width: parent.width
            height: play.height

            Text {
                anchors.verticalCenter: parent.verticalCenter
                text: view.timeText(view.document.positionMs)
                textFormat: Text.PlainText
                font.pixelSize: Theme.detailTextSize
                color: Theme.secondaryTextColor
            }

            GlassButton {
                id: play

                objectName: "play"
                anchors.horizontalCenter: parent.horizontalCenter
                strong: true
                text: view.document.playing ? qsTr("Pause") : qsTr("Play")
                onClicked: view.playOrPause()
            }

            Text {
                anchors.right: parent.right
                anchors.verticalCenter: parent.verticalCenter
                text: view.timeText(view.document.durationMs)
                textFormat: Text.PlainText
                font.pixelSize: Theme.detailTextSize
                color: Theme.secondaryTextColor
            }
        }
    }
}
