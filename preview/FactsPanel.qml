// What there is to be known of a file: closed one line, open all of it.
import QtQuick
import Slicewise.Preview
import Slicewise.Ui

Item {
    id: panel

    required property Document document
    property bool open: false

    readonly property string summary: panel.document.kindText + " · " + panel.document.sizeText
        + (panel.document.detailText.length > 0 ? " · " + panel.document.detailText : "")

    // The most that it may take; what is more is scrolled.
    property real mostHeight: Infinity

    implicitHeight: Math.min(panel.mostHeight, column.implicitHeight + Theme.spacing)
    height: implicitHeight
    clip: true

    Behavior on height { NumberAnimation { duration: 180; easing.type: Easing.OutCubic } }

    component Fact: Column {
        id: fact

        required property string label
        required property string text

        visible: fact.text.length > 0
        spacing: 1

        Text {
            width: fact.width
            text: fact.label
            textFormat: Text.PlainText
            horizontalAlignment: Text.AlignLeft
            font.pixelSize: Theme.smallTextSize
            color: Theme.secondaryTextColor
        }
        Text {
            width: fact.width
            text: fact.text
            textFormat: Text.PlainText
            horizontalAlignment: Text.AlignLeft
            wrapMode: Text.WrapAnywhere
            font.pixelSize: Theme.detailTextSize
            color: Theme.textColor
        }
    }

    Flickable {
        anchors.fill: parent
        contentHeight: column.height + Theme.spacing
        interactive: contentHeight > height + 1
        boundsBehavior: Flickable.StopAtBounds

        Column {
            id: column

            x: Theme.margin
            width: panel.width - 2 * Theme.margin
            spacing: Theme.spacing

            KeyButton {
                id: toggle

                objectName: "details"
                width: parent.width
                height: Math.max(Theme.touchSize, line.implicitHeight + Theme.spacing)
                Accessible.name: panel.summary
                onClicked: panel.open = !panel.open

                Text {
                    id: line

                    objectName: "summary"
                    anchors.left: parent.left
                    anchors.verticalCenter: parent.verticalCenter
                    horizontalAlignment: Text.AlignLeft
                    width: parent.width - sign.width - Theme.spacing
                    text: panel.summary
                    textFormat: Text.PlainText
                    elide: Text.ElideRight
                    font.pixelSize: Theme.detailTextSize
                    color: Theme.secondaryTextColor
                }

                Text {
                    id: sign

                    objectName: "more"
                    anchors.right: parent.right
                    anchors.verticalCenter: parent.verticalCenter
                    text: panel.open ? qsTr("Less") : qsTr("Details")
                    textFormat: Text.PlainText
                    font.pixelSize: Theme.detailTextSize
                    color: Theme.accentColor
                }

                FocusRing {
                    anchors.fill: parent
                    anchors.leftMargin: -Theme.spacing
                    anchors.rightMargin: -Theme.spacing
                    shown: toggle.visualFocus
                }
            }

            Grid {
                width: parent.width
                visible: panel.open
                columns: panel.width >= 560 ? 2 : 1
                columnSpacing: Theme.margin
                rowSpacing: Theme.spacing

                readonly property real cell: (width - (columns - 1) * columnSpacing) / columns

                Fact { width: parent.cell; label: qsTr("Name"); text: panel.document.name }
                Fact { width: parent.cell; label: qsTr("Kind"); text: panel.document.kindText }
                Fact {
                    width: parent.cell
                    label: qsTr("Size")
                    text: qsTr("%1 (%2)").arg(panel.document.sizeText).arg(panel.document.exactSizeText)
                }
                Fact { width: parent.cell; label: qsTr("Changed"); text: panel.document.modifiedText }
                Fact { width: parent.cell; label: qsTr("Made"); text: panel.document.createdText }
                Fact { width: parent.cell; label: qsTr("Where"); text: panel.document.pathText }
            }

            Item { width: 1; height: 1; visible: panel.open }
        }
    }
}
