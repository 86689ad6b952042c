// Any bytes: where they are, what they are, what they read as. As many on a line as fit.
pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import Slicewise.Preview
import Slicewise.Ui

ListView {
    id: view

    required property Document document
    required property string fixedFontFamily

    readonly property real columnGap: Theme.margin
    readonly property real letter: metrics.advanceWidth
    // Offset, gap, "00 " and one character for each byte, and a blank more in front of each eight.
    readonly property int fitting: {
        let best = 4
        for (const bytes of [8, 16, 32]) {
            const letters = 8 + bytes * 4 - 1 + (bytes / 8 - 1)
            if (letters * view.letter + 2 * view.columnGap + 2 * Theme.margin <= view.width)
                best = bytes
        }
        return best
    }
    readonly property int textSize: view.width < 400 ? Math.min(Theme.smallTextSize, Theme.detailTextSize)
                                                     : Theme.detailTextSize

    onFittingChanged: view.document.bytesOfLine = view.fitting
    Component.onCompleted: view.document.bytesOfLine = view.fitting

    clip: true
    model: view.document.pieces
    boundsBehavior: Flickable.StopAtBounds
    topMargin: Theme.spacing
    bottomMargin: Theme.spacing
    activeFocusOnTab: true
    Accessible.role: Accessible.List
    Accessible.name: view.document.name

    ScrollBar.vertical: ScrollBar {}

    TextMetrics {
        id: metrics

        font.family: view.fixedFontFamily
        font.pixelSize: view.textSize
        text: "0"
    }

    component Letters: Text {
        textFormat: Text.PlainText
        font.family: view.fixedFontFamily
        font.pixelSize: view.textSize
        lineHeight: 1.25
    }

    delegate: Item {
        id: piece

        required property string pieceText
        required property string offsets
        required property string characters

        width: ListView.view.width
        // As high as it is going to be, but for the last one.
        height: piece.pieceText.length > 0 ? bytes.implicitHeight : 16 * view.textSize * 1.45

        Row {
            anchors.horizontalCenter: parent.horizontalCenter
            spacing: view.columnGap

            Letters {
                text: piece.offsets
                color: Theme.secondaryTextColor
            }
            Letters {
                id: bytes

                text: piece.pieceText
                color: Theme.textColor
            }
            Letters {
                text: piece.characters
                color: Theme.accentColor
            }
        }
    }
}
