// One sentence in place of what can't be shown, and a way on.
import QtQuick
import Slicewise.Preview
import Slicewise.Ui

Item {
    id: view

    required property Document document

    Column {
        anchors.centerIn: parent
        width: Math.min(parent.width - 2 * Theme.margin, 360)
        spacing: Theme.margin

        Rectangle {
            anchors.horizontalCenter: parent.horizontalCenter
            width: 72
            height: 90
            radius: 8
            color: Theme.tableColor
            border.color: Theme.separatorColor
            border.width: 2

            Text {
                anchors.centerIn: parent
                text: "?"
                textFormat: Text.PlainText
                font.pixelSize: 36
                font.weight: Font.DemiBold
                color: Theme.separatorColor
                visible: view.document.hasBytes
            }
        }

        Text {
            objectName: "message"
            width: parent.width
            text: view.document.message
            textFormat: Text.PlainText
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.Wrap
            font.pixelSize: Theme.rowTextSize
            color: Theme.textColor
        }

        GlassButton {
            objectName: "showBytes"
            anchors.horizontalCenter: parent.horizontalCenter
            visible: view.document.hasBytes
            text: qsTr("Show Bytes")
            onClicked: view.document.showBytes()
        }
    }
}
