// A touch platform's sheet of actions: slides up from the bottom on a phone, and is a card in the middle of a
// wide window. Fills what it lies in; shown by open(), and gone once one of its signals has been sent.
pragma ComponentBehavior: Bound

import QtQuick
import Slicewise.Ui

FocusScope {
    id: sheet

    property string title: ""
    property string message: ""
    // Each {text, destructive}; destructive may be left out.
    property var actions: []
    // Where it comes out of the right button of a bar of that height, as far as the window is wide.
    property bool fromBar: false
    property real barHeight: 0
    property bool mirrored: false
    property string cancelText: qsTr("Cancel")
    readonly property bool opened: sheet.shown

    signal chosen(index: int)
    signal cancelled

    property bool shown: false
    readonly property bool hasHead: sheet.title.length > 0 || sheet.message.length > 0
    readonly property bool wide: sheet.width >= 560
    readonly property bool popover: sheet.wide && sheet.fromBar
    readonly property real cardWidth: sheet.popover ? 320 : sheet.wide ? 380
                                                             : Math.min(sheet.width - 2 * Theme.spacing, 480)

    function open() {
        sheet.shown = true
        cancelButton.forceActiveFocus(Qt.OtherFocusReason)
    }

    function finish(index: int) {
        if (!sheet.shown)
            return
        sheet.shown = false
        if (index < 0)
            sheet.cancelled()
        else
            sheet.chosen(index)
    }

    visible: shade.opacity > 0
    focus: sheet.shown
    Keys.onEscapePressed: sheet.finish(-1)
    Keys.onBackPressed: sheet.finish(-1)

    Shade {
        id: shade

        anchors.fill: parent
        shown: sheet.shown
        // A touch beside the sheet is a refusal.
        onTapped: sheet.finish(-1)
    }

    Column {
        id: column

        objectName: "card"
        x: !sheet.popover ? Math.round((sheet.width - width) / 2)
            : sheet.mirrored ? Theme.spacing : sheet.width - width - Theme.spacing
        width: sheet.cardWidth
        spacing: Theme.spacing
        opacity: sheet.wide ? (sheet.shown ? 1 : 0) : 1
        scale: sheet.wide && !sheet.shown ? 0.94 : 1
        transformOrigin: !sheet.popover ? Item.Center : sheet.mirrored ? Item.TopLeft : Item.TopRight
        y: sheet.popover ? sheet.barHeight + Theme.spacing
                      : sheet.wide ? Math.round((sheet.height - height) / 2)
                      : sheet.shown ? sheet.height - height - Theme.spacing : sheet.height

        Behavior on y {
            enabled: !sheet.wide
            NumberAnimation { duration: 260; easing.type: Easing.OutCubic }
        }
        Behavior on opacity { NumberAnimation { duration: 160 } }
        Behavior on scale { NumberAnimation { duration: 160; easing.type: Easing.OutCubic } }

        Accessible.role: Accessible.Dialog
        Accessible.name: sheet.title

        Rectangle {
            width: parent.width
            height: Math.min(list.contentHeight, sheet.height - cancelButton.height - Theme.spacing * 3)
            radius: Theme.cornerRadius
            color: Theme.sheetColor
            clip: true

            Flickable {
                id: list

                anchors.fill: parent
                contentHeight: lines.height
                interactive: contentHeight > height
                boundsBehavior: Flickable.StopAtBounds

                Column {
                    id: lines

                    width: list.width

                    Column {
                        width: parent.width
                        topPadding: Theme.margin - 2
                        bottomPadding: Theme.margin - 2
                        spacing: 4
                        visible: sheet.hasHead

                        Text {
                            x: Theme.margin
                            width: parent.width - 2 * Theme.margin
                            text: sheet.title
                            visible: text.length > 0
                            textFormat: Text.PlainText
                            horizontalAlignment: Text.AlignHCenter
                            wrapMode: Text.Wrap
                            maximumLineCount: 3
                            elide: Text.ElideRight
                            font.pixelSize: Theme.detailTextSize
                            font.weight: Font.DemiBold
                            color: Theme.secondaryTextColor
                        }

                        Text {
                            x: Theme.margin
                            width: parent.width - 2 * Theme.margin
                            text: sheet.message
                            visible: text.length > 0
                            textFormat: Text.PlainText
                            horizontalAlignment: Text.AlignHCenter
                            wrapMode: Text.Wrap
                            maximumLineCount: 6
                            elide: Text.ElideRight
                            font.pixelSize: Theme.detailTextSize
                            color: Theme.secondaryTextColor
                        }
                    }

                    Repeater {
                        model: sheet.actions.length

                        delegate: ActionSheetButton {
                            id: action

                            required property int index
                            // The list may be another one before this line is gone.
                            readonly property var entry: action.index < sheet.actions.length
                                ? sheet.actions[action.index] : { text: "" }

                            objectName: "action" + action.index
                            width: lines.width
                            text: action.entry.text
                            destructive: action.entry.destructive === true
                            lineAbove: action.index > 0 || sheet.hasHead
                            onClicked: sheet.finish(action.index)
                        }
                    }
                }
            }
        }

        Rectangle {
            width: parent.width
            height: cancelButton.height
            radius: Theme.cornerRadius
            color: Theme.sheetColor
            clip: true

            ActionSheetButton {
                id: cancelButton

                objectName: "cancel"
                width: parent.width
                text: sheet.cancelText
                strong: true
                onClicked: sheet.finish(-1)
            }
        }
    }
}
