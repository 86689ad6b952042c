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

    readonly property real columnGap: view.width < 400 ? Theme.spacing : Theme.margin
    readonly property real letter: metrics.advanceWidth
    // Offset, gap, "00 " and one character for each byte, and a blank more in front of each eight.
    readonly property int fitting: {
        let best = 4
        for (const bytes of [8, 16, 32]) {
            const letters = 10 + bytes * 4 - 1 + (bytes / 8 - 1)
            if (letters * view.letter + 2 * view.columnGap + 2 * Theme.spacing <= view.width)
                best = bytes
        }
        return best
    }
    // Of fixed width, so that all lines stand below one another, whatever is on them.
    readonly property real offsetWidth: 10 * view.letter
    readonly property real bytesWidth: (view.document.bytesOfLine * 3 - 1
                                        + Math.ceil(view.document.bytesOfLine / 8) - 1) * view.letter
    readonly property real charactersWidth: view.document.bytesOfLine * view.letter
    readonly property int textSize: view.width < 400 ? Math.min(Theme.smallTextSize, Theme.detailTextSize)
                                                     : Theme.detailTextSize

    onFittingChanged: {
        if (view.kept < 0)
            view.kept = view.firstByte()
        relined.start()
    }
    Component.onCompleted: view.document.bytesOfLine = view.fitting

    // Other lines than before, from the byte on that was the first to be seen.
    function keepPlace() {
        const first = view.kept
        view.kept = -1
        view.document.bytesOfLine = view.fitting
        if (first <= 0)
            return
        const line = Math.floor(first / view.document.bytesOfLine)
        const row = Math.floor(line / view.linesOfRow)
        view.positionViewAtIndex(row, ListView.Beginning)
        const last = view.originY + view.contentHeight + view.bottomMargin - view.height
        view.contentY = Math.max(view.originY - view.topMargin, Math.min(last,
            view.contentY + (line - row * view.linesOfRow) * sample.implicitHeight / view.linesOfRow))
    }
    function firstByte(): real {
        const row = view.indexAt(1, view.contentY)
        const item = view.itemAtIndex(row)
        if (item === null)
            return 0
        const line = Math.floor((view.contentY - item.y) / item.height * view.linesOfRow + 0.5)
        return (row * view.linesOfRow + line) * view.document.bytesOfLine
    }

    // When all that follows from the width has.
    Timer {
        id: relined

        interval: 0
        onTriggered: view.keepPlace()
    }

    readonly property int linesOfRow: 16
    property real kept: -1 // the byte that is to stay the first one

    clip: true
    model: view.document.pieces
    boundsBehavior: Flickable.StopAtBounds
    topMargin: Theme.spacing
    bottomMargin: Theme.spacing
    activeFocusOnTab: true
    Accessible.role: Accessible.List
    Accessible.name: view.document.name

    ScrollBar.vertical: ScrollBar {}

    keyNavigationEnabled: false
    Keys.forwardTo: [scrollKeys]

    ScrollKeys {
        id: scrollKeys

        view: view
    }

    TextMetrics {
        id: metrics

        font.family: view.fixedFontFamily
        font.pixelSize: view.textSize
        text: "0"
    }

    // As high as every row but the last one.
    Letters {
        id: sample

        visible: false
        text: "0\n".repeat(view.linesOfRow - 1) + "0"
    }

    component Letters: Text {
        textFormat: Text.PlainText
        font.family: view.fixedFontFamily
        font.pixelSize: view.textSize
        lineHeight: 1.25
    }

    delegate: FarRow {
        id: piece

        required property string pieceText
        required property string offsets
        required property string characters

        // As high as it is going to be, but for the last one.
        height: piece.pieceText.length > 0 ? bytes.implicitHeight : sample.implicitHeight

        Row {
            y: -piece.misplacedBy
            anchors.horizontalCenter: parent.horizontalCenter
            spacing: view.columnGap

            Letters {
                width: view.offsetWidth
                text: piece.offsets
                horizontalAlignment: Text.AlignRight
                color: Theme.secondaryTextColor
            }
            Letters {
                id: bytes

                width: view.bytesWidth
                text: piece.pieceText
                color: Theme.textColor
            }
            Letters {
                width: view.charactersWidth
                text: piece.characters
                color: Theme.accentColor
            }
        }
    }
}
