// The pages of a document, one below the other.
pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import Slicewise.Preview
import Slicewise.Ui

ListView {
    id: view

    required property Document document

    readonly property real pageWidth: Math.min(view.width - 2 * Theme.margin, 900)

    clip: true
    spacing: Theme.margin
    topMargin: Theme.margin
    bottomMargin: Theme.margin
    boundsBehavior: Flickable.StopAtBounds
    model: view.document.pageCount
    cacheBuffer: Math.max(0, view.height / 2)
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

    delegate: Item {
        id: page

        required property int index
        readonly property size full: Qt.size(view.document.pageSize(page.index).width,
                                               view.document.pageSize(page.index).height)

        width: ListView.view.width
        height: view.pageWidth * page.full.height / Math.max(1, page.full.width)

        Rectangle {
            anchors.fill: picture
            anchors.margins: -1
            color: "#ffffff"
            border.color: Theme.separatorColor
        }

        PictureItem {
            id: picture

            objectName: "page" + page.index
            anchors.horizontalCenter: parent.horizontalCenter
            width: view.pageWidth
            height: parent.height
            document: view.document
            page: page.index
            Accessible.role: Accessible.Graphic
            Accessible.name: qsTr("Page %1 of %2").arg(page.index + 1).arg(view.document.pageCount)
        }

        Text {
            anchors.centerIn: picture
            visible: picture.failed
            text: qsTr("This page can't be drawn.")
            textFormat: Text.PlainText
            font.pixelSize: Theme.detailTextSize
            color: "#5c616b"
        }
    }

    Rectangle {
        parent: view
        anchors.bottom: parent.bottom
        anchors.horizontalCenter: parent.horizontalCenter
        anchors.bottomMargin: Theme.margin
        width: number.implicitWidth + 2 * Theme.margin
        height: number.implicitHeight + Theme.spacing
        radius: height / 2
        color: "#b0000000"
        visible: view.document.pageCount > 1

        Text {
            id: number

            readonly property int current: view.indexAt(view.width / 2, view.contentY + view.height / 2)

            anchors.centerIn: parent
            text: qsTr("%1 of %2").arg(Math.max(0, current) + 1).arg(view.document.pageCount)
            textFormat: Text.PlainText
            font.pixelSize: Theme.smallTextSize
            color: "#ffffff"
        }
    }
}
