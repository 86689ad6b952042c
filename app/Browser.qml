// Shows the overview alone: title, and a row for each child.
import QtQuick
import Slicewise.Ui

Item {
    id: browser

    required property SZANavigationController navigation
    required property bool pad

    readonly property SZAViewController screen: navigation.topViewController

    signal previewRequested(SZAViewController screen, var filename, string name)
    signal openInMenuRequested(SZAViewController screen, var filename, string name)
    signal optionsMenuRequested(SZAViewController screen, var filename, string name)

    Accessible.name: title.text
    Accessible.role: Accessible.Pane

    Text {
        id: title

        x: Theme.margin
        height: Theme.touchSize
        verticalAlignment: Text.AlignVCenter
        color: Theme.textColor
        font.pixelSize: Theme.rowTextSize
        text: browser.screen?.navigationItem.title || browser.screen?.scanHUD || ""
        textFormat: Text.PlainText
    }

    ListView {
        anchors.fill: parent
        anchors.topMargin: Theme.touchSize
        clip: true
        model: browser.screen?.tableView ?? null

        delegate: Text {
            required property string name
            required property string sizeText

            width: ListView.view.width
            height: Theme.touchSize
            leftPadding: Theme.margin
            verticalAlignment: Text.AlignVCenter
            color: Theme.textColor
            font.pixelSize: Theme.rowTextSize
            text: name + "  " + sizeText
            textFormat: Text.PlainText
        }
    }
}
