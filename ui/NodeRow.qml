// A row of the table: a name, its size beneath, and at the right a disc in the colour of its slice.
//
// In edit mode the row stays where it is, with its line and its disc. Only the words of one that may be deleted make
// room, for the minus before them and then for the "Delete" behind: they get shorter, and are never covered.
import QtQuick
import Slicewise.Ui

Item {
    id: row

    required property int index
    required property string name
    required property string sizeText
    required property color nodeColor
    required property bool selectable
    required property bool editable
    property bool opened: false    ///< its "Delete" shows
    property bool current: false   ///< what the keyboard works on
    property bool stays: true      ///< false: it waits to be another row
    property bool selected: false
    property bool showsFocus: false ///< the keyboard has brought us here
    property bool touchable: true
    property bool mirrored: false
    /// A press that may yet turn into a scroll does not light up at once.
    property bool held: false
    readonly property bool lit: selected || held
    // What has no name is not to look like a mistake of ours.
    readonly property string shownName: name.length > 0 ? name : qsTr("No name")

    // How far the minus and the "Delete" have come in.
    property real editProgress: editable ? 1 : 0
    property real openProgress: opened ? 1 : 0
    readonly property real gutter: Math.round(editProgress * (minus.discSize + 14))
    readonly property real textEnd: Math.max(disc.width + Theme.margin, openProgress * deleteButton.width)

    signal tapped(int row)
    signal minusTapped(int row)
    signal deleteTapped(int row)

    height: Math.max(Theme.touchSize, Math.round(1.25 * (Theme.rowTextSize + Theme.detailTextSize)) + 16)

    Accessible.role: Accessible.ListItem
    // At once: a name may look like a place for the size.
    Accessible.name: qsTr("%1, %2").replace(/%[12]/g, place => place === "%1" ? shownName : sizeText)
    Accessible.selectable: selectable
    Accessible.selected: selected
    Accessible.focusable: true
    // An assistive program presses also what is disabled.
    Accessible.onPressAction: if (touchable && enabled) row.tapped(row.index)

    onOpenedChanged: if (!opened && deleteButton.activeFocus) forceActiveFocus(Qt.OtherFocusReason)

    Behavior on editProgress {
        enabled: row.stays
        NumberAnimation { duration: 250; easing.type: Easing.OutCubic }
    }
    Behavior on openProgress {
        enabled: row.stays
        NumberAnimation { duration: 220; easing.type: Easing.OutCubic }
    }

    Rectangle {
        anchors.fill: parent
        color: row.selected ? Theme.selectedColor : Theme.pressedColor
        visible: opacity > 0
        opacity: row.lit ? 1 : 0

        Behavior on opacity {
            enabled: !row.lit
            NumberAnimation { duration: 260; easing.type: Easing.OutQuad }
        }
    }
    Column {
        x: row.mirrored ? row.textEnd + Theme.margin : Theme.margin + row.gutter
        anchors.verticalCenter: parent.verticalCenter
        width: Math.max(0, row.width - row.gutter - row.textEnd - 2 * Theme.margin)
        spacing: 1

        Text {
            width: parent.width
            horizontalAlignment: row.mirrored ? Text.AlignRight : Text.AlignLeft
            elide: Text.ElideMiddle
            maximumLineCount: 1
            textFormat: Text.PlainText
            text: row.shownName
            color: row.name.length > 0 ? Theme.textColor : Theme.secondaryTextColor
            font.pixelSize: Theme.rowTextSize
            font.italic: row.name.length === 0
            Accessible.ignored: true
        }
        Text {
            width: parent.width
            horizontalAlignment: row.mirrored ? Text.AlignRight : Text.AlignLeft
            elide: Text.ElideRight
            maximumLineCount: 1
            textFormat: Text.PlainText
            text: row.sizeText
            // Grey would not stand out enough from a lit row.
            color: row.lit ? Theme.secondaryTextColor : "#808080"
            font.pixelSize: Theme.detailTextSize
            Accessible.ignored: true
        }
    }
    NodeSwatch {
        id: disc

        x: row.mirrored ? Theme.margin : row.width - width - Theme.margin
        y: Math.round((row.height - height) / 2)
        width: 12
        height: 12
        nodeColor: row.nodeColor
        opacity: 1 - row.openProgress
    }
    Rectangle {
        x: row.mirrored ? 0 : Theme.margin
        anchors.bottom: parent.bottom
        width: parent.width - Theme.margin
        height: 1
        color: Theme.separatorColor
    }
    FocusRing {
        anchors.fill: parent
        anchors.margins: 2
        shown: row.showsFocus
    }
    MouseArea {
        id: area

        anchors.fill: parent
        enabled: row.touchable
        onClicked: row.tapped(row.index)
        onPressedChanged: {
            if (pressed)
                light.restart();
            else
                light.stop();
            row.held = false;
        }
    }
    DeleteMinus {
        id: minus

        objectName: "minus"
        x: row.mirrored ? row.width - width : 0
        width: Theme.margin + discSize + 12
        height: row.height
        visible: row.editProgress > 0
        enabled: row.editable
        activeFocusOnTab: (row.editable && row.current && row.stays) || activeFocus
        spokenName: row.shownName
        opened: row.opened
        progress: row.editProgress
        touchable: row.touchable
        mirrored: row.mirrored
        onTapped: row.minusTapped(row.index)
        // The list gives the keyboard to whoever of its own had it last: that would be us for ever.
        Keys.onBacktabPressed: row.forceActiveFocus(Qt.BacktabFocusReason)
    }
    DeleteButton {
        id: deleteButton

        objectName: "deleteButton"
        x: row.mirrored ? -width * (1 - row.openProgress) : row.width - width * row.openProgress
        width: implicitWidth
        height: row.height - 1
        visible: row.openProgress > 0
        enabled: row.opened
        activeFocusOnTab: (row.opened && row.current && row.stays) || activeFocus
        spokenName: row.shownName
        touchable: row.touchable
        onTapped: row.deleteTapped(row.index)
    }
    Timer {
        id: light

        interval: 70
        onTriggered: row.held = row.selectable
    }
}
