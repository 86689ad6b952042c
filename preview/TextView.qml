// A text of any length: rows of some lines each, as many in memory as are on the screen.
pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import Slicewise.Preview
import Slicewise.Ui

ListView {
    id: view

    required property Document document
    required property string fixedFontFamily

    // Of the text of a row that has not been read: most of its bytes are a letter, and a letter is so wide.
    readonly property real usualHeight: 4096 * 0.72 * Theme.detailTextSize * Theme.detailTextSize
                                        / Math.max(1, view.width - 2 * Theme.margin)

    clip: true
    model: view.document.pieces
    cacheBuffer: Math.max(400, view.height)
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

    delegate: FarRow {
        id: piece

        required property string pieceText
        required property bool isRead

        // A row without height, even one without text, would make room for all the others there are.
        height: !piece.isRead ? view.usualHeight : piece.pieceText.length > 0 ? letters.implicitHeight : 1

        TextEdit {
            id: letters

            y: -piece.misplacedBy
            width: parent.width
            leftPadding: Theme.margin
            rightPadding: Theme.margin
            text: piece.pieceText
            textFormat: TextEdit.PlainText
            readOnly: true
            selectByMouse: true
            activeFocusOnPress: false
            wrapMode: TextEdit.Wrap
            font.family: view.fixedFontFamily
            font.pixelSize: Theme.detailTextSize
            color: Theme.textColor
            selectionColor: Theme.selectedColor
            selectedTextColor: Theme.textColor
        }
    }
}
