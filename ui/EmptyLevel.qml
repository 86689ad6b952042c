// What stands in place of the rows where there are none.
import QtQuick
import Slicewise.Ui

Column {
    id: level

    spacing: Theme.spacing / 2

    Accessible.role: Accessible.StaticText
    Accessible.name: headline.text + ". " + explanation.text

    Text {
        id: headline

        width: level.width
        horizontalAlignment: Text.AlignHCenter
        wrapMode: Text.Wrap
        textFormat: Text.PlainText
        text: qsTr("Nothing in here")
        color: Theme.textColor
        font.pixelSize: Theme.rowTextSize
        font.bold: true
        Accessible.ignored: true
    }
    Text {
        id: explanation

        width: level.width
        horizontalAlignment: Text.AlignHCenter
        wrapMode: Text.Wrap
        textFormat: Text.PlainText
        text: qsTr("It takes up no storage.")
        color: Theme.secondaryTextColor
        font.pixelSize: Theme.detailTextSize
        Accessible.ignored: true
    }
}
