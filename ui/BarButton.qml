// A word in the navigation bar that can be touched; with an arrow before it, it leads back.
//
// One that is not touchable is dimmed; one that is only disabled, with all else in the window, looks as before.
pragma ComponentBehavior: Bound

import QtQuick
import Slicewise.Ui

Pressable {
    id: button

    property string text: ""
    property color tint: Theme.barButtonColor
    property bool arrow: false
    property bool mirrored: false
    property real textWidth: label.implicitWidth
    readonly property real padding: Theme.spacing
    readonly property real arrowRoom: arrow ? chevron.width + 6 : 0

    spokenText: text
    width: Math.max(Theme.touchSize, 2 * padding + arrowRoom + (text.length > 0 ? textWidth : 0))
    height: Math.max(Theme.touchSize, label.implicitHeight)
    activeFocusOnTab: true

    Item {
        anchors.fill: parent
        opacity: button.held ? 0.35 : button.touchable ? 1 : 0.45

        // Two strokes: no letter of any font has the right weight.
        Item {
            id: chevron

            visible: button.arrow
            x: button.mirrored ? parent.width - button.padding - width : button.padding
            anchors.verticalCenter: parent.verticalCenter
            width: 11
            height: 21
            transform: Scale {
                origin.x: chevron.width / 2
                xScale: button.mirrored ? -1 : 1
            }

            Repeater {
                model: [45, -45]

                Rectangle {
                    required property int modelData

                    x: -2.4
                    y: modelData > 0 ? 14.1 - height / 2 : 6.9 - height / 2
                    width: 14.6
                    height: 2.7
                    radius: 1.2
                    antialiasing: true
                    color: button.tint
                    rotation: modelData
                }
            }
        }
        Text {
            id: label

            x: button.mirrored ? button.padding : button.padding + button.arrowRoom
            anchors.verticalCenter: parent.verticalCenter
            width: Math.max(0, Math.min(button.textWidth, button.width - 2 * button.padding - button.arrowRoom))
            visible: button.text.length > 0
            elide: Text.ElideRight
            maximumLineCount: 1
            textFormat: Text.PlainText
            text: button.text
            color: button.tint
            font.pixelSize: Theme.buttonTextSize
            Accessible.ignored: true
        }
    }
    FocusRing {
        anchors.fill: parent
        anchors.margins: 3
        shown: button.activeFocus
        border.color: button.tint
    }
}
