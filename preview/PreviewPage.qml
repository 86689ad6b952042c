// A file as a page over the whole window: "Done" at one end of the bar, what can be done with it at the other,
// what is known of it at the bottom.
import QtQuick
import Slicewise.Preview
import Slicewise.Ui

Rectangle {
    id: page

    required property Document document
    required property string fixedFontFamily

    // Its bars; what it shows is no text of ours.
    property bool mirrored: false

    signal done
    signal actionsRequested

    color: Theme.groundColor
    Accessible.role: Accessible.Pane
    Accessible.name: page.document.name

    // Nothing of what lies below is reached.
    MouseArea {
        anchors.fill: parent
        hoverEnabled: true
        onWheel: wheel => wheel.accepted = true
    }

    Rectangle {
        id: bar

        width: parent.width
        height: Math.max(Theme.touchSize + 6, doneButton.implicitHeight)
        color: Theme.tableColor
        z: 1
        LayoutMirroring.enabled: page.mirrored
        LayoutMirroring.childrenInherit: true

        GlassButton {
            id: doneButton

            objectName: "done"
            anchors.left: parent.left
            anchors.verticalCenter: parent.verticalCenter
            text: qsTr("Done")
            strong: true
            onClicked: page.done()
        }

        Text {
            readonly property real side: Math.max(doneButton.width, actionsButton.width)

            objectName: "title"
            anchors.centerIn: parent
            width: parent.width - 2 * side
            text: page.document.name
            textFormat: Text.PlainText
            horizontalAlignment: Text.AlignHCenter
            elide: Text.ElideMiddle
            font.pixelSize: Theme.rowTextSize
            font.weight: Font.DemiBold
            color: Theme.textColor
        }

        GlassButton {
            id: actionsButton

            objectName: "actions"
            anchors.right: parent.right
            anchors.verticalCenter: parent.verticalCenter
            text: "\u22EF"
            strong: true
            Accessible.name: qsTr("Actions")
            onClicked: page.actionsRequested()
        }

        Rectangle {
            anchors.bottom: parent.bottom
            width: parent.width
            height: 1
            color: Theme.separatorColor
        }
    }

    // A sentence above bytes that should have been something else.
    Rectangle {
        id: note

        anchors.top: bar.bottom
        width: parent.width
        height: visible ? sentence.implicitHeight + 2 * Theme.spacing : 0
        visible: page.document.view === Document.View.Bytes && page.document.message.length > 0
        color: Theme.pressedColor

        Text {
            id: sentence

            anchors.centerIn: parent
            width: parent.width - 2 * Theme.margin
            text: page.document.message
            textFormat: Text.PlainText
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.Wrap
            font.pixelSize: Theme.smallTextSize
            color: Theme.secondaryTextColor
        }
    }

    Loader {
        id: content

        objectName: "content"
        // Keys scroll before anybody has looked for what they might do.
        focus: true
        anchors.top: note.bottom
        anchors.bottom: facts.top
        width: parent.width

        readonly property int view: page.document.view

        function show(file: string, needsFont: bool) {
            content.setSource(file, needsFont
                ? { document: page.document, focus: true, fixedFontFamily: page.fixedFontFamily }
                : { document: page.document, focus: true })
        }
        function showView() {
            switch (content.view) {
            case Document.View.Picture:
                content.show("PictureView.qml", false)
                break
            case Document.View.Pages:
                content.show("PagesView.qml", false)
                break
            case Document.View.Text:
                content.show("TextView.qml", true)
                break
            case Document.View.Media:
                content.show("MediaView.qml", false)
                break
            case Document.View.Bytes:
                content.show("BytesView.qml", true)
                break
            case Document.View.Notice:
                content.show("NoticeView.qml", false)
                break
            default:
                content.source = ""
            }
        }

        onViewChanged: content.showView()
        Component.onCompleted: content.showView()
    }

    Text {
        id: opening

        anchors.centerIn: content
        visible: page.document.view === Document.View.Opening
        // What is there at once needs no sign.
        opacity: 0
        text: qsTr("Opening…")
        textFormat: Text.PlainText
        font.pixelSize: Theme.rowTextSize
        color: Theme.secondaryTextColor

        SequentialAnimation {
            running: opening.visible

            PauseAnimation { duration: 300 }
            NumberAnimation { target: opening; property: "opacity"; to: 1; duration: 200 }
        }
    }

    Rectangle {
        id: facts

        anchors.bottom: parent.bottom
        width: parent.width
        height: panel.height
        color: Theme.tableColor
        LayoutMirroring.enabled: page.mirrored
        LayoutMirroring.childrenInherit: true

        FactsPanel {
            id: panel

            objectName: "facts"
            width: parent.width
            document: page.document
            mostHeight: Math.round(page.height * 0.6)
        }

        Rectangle {
            width: parent.width
            height: 1
            color: Theme.separatorColor
        }
    }
}
