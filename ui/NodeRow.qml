// A row of the table: a name, its size beneath, and at the right a disc in the colour of its slice.
import QtQuick
import Slicewise.Ui

Item {
    id: row

    required property int index
    required property string name
    required property string sizeText
    required property color nodeColor
    required property bool selectable
    property bool selected: false
    property bool showsFocus: false ///< the keyboard has brought us here
    property bool touchable: true
    property bool mirrored: false
    /// A press that may yet turn into a scroll does not light up at once.
    property bool held: false
    readonly property bool lit: selected || held
    // What has no name is not to look like a mistake of ours.
    readonly property string shownName: name.length > 0 ? name : qsTr("No name")

    signal tapped(int row)

    height: Math.max(Theme.touchSize, Math.round(1.25 * (Theme.rowTextSize + Theme.detailTextSize)) + 16)

    Accessible.role: Accessible.ListItem
    Accessible.name: qsTr("%1, %2").arg(shownName).arg(sizeText)
    Accessible.selectable: selectable
    Accessible.selected: selected
    Accessible.focusable: true
    Accessible.onPressAction: if (touchable) row.tapped(row.index)

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
        x: row.mirrored ? disc.x + disc.width + Theme.margin : Theme.margin
        anchors.verticalCenter: parent.verticalCenter
        width: Math.max(0, row.width - disc.width - 3 * Theme.margin)
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
    Timer {
        id: light

        interval: 70
        onTriggered: row.held = row.selectable
    }
}
