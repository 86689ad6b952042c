// A message in the middle of a window, which it keeps from being touched until somebody has closed it.
import QtQuick
import QtQuick.Controls.Basic
import Slicewise.Ui

FocusScope {
    id: card

    required property SZAViewController screen
    readonly property UIAlertView alert: screen === null ? null : screen.alertView
    readonly property bool shown: alert !== null && alert.visible
    readonly property real lineStep: 3 * Theme.detailTextSize

    function close() {
        if (shown)
            alert.dismiss();
    }

    function scrollBy(distance) {
        const furthest = Math.max(0, scroller.contentHeight - scroller.height);
        scroller.contentY = Math.max(0, Math.min(furthest, scroller.contentY + distance));
    }

    visible: shade.opacity > 0
    onShownChanged: {
        if (!shown)
            return;
        scroller.contentY = 0;
        button.forceActiveFocus(Qt.OtherFocusReason);
    }

    Keys.onPressed: event => {
        event.accepted = true;
        if (event.isAutoRepeat && event.key !== Qt.Key_Down && event.key !== Qt.Key_Up)
            return;
        switch (event.key) {
        case Qt.Key_Escape:
        case Qt.Key_Back:
            close();
            break;
        case Qt.Key_Down:
            scrollBy(lineStep);
            break;
        case Qt.Key_Up:
            scrollBy(-lineStep);
            break;
        case Qt.Key_PageDown:
            scrollBy(scroller.height - lineStep);
            break;
        case Qt.Key_PageUp:
            scrollBy(lineStep - scroller.height);
            break;
        }
    }

    Shade {
        id: shade

        anchors.fill: parent
        shown: card.shown
    }

    Rectangle {
        id: plate

        objectName: "plate"
        anchors.centerIn: parent
        width: Math.min(card.width - 2 * Theme.margin,
                        Math.round((card.width >= 560 ? 380 : 320) * Math.min(1.6, Theme.textScale)))
        height: Theme.margin + 2 + headline.height + Theme.spacing + scroller.height + Theme.margin + button.height
        radius: Theme.cornerRadius
        color: Theme.sheetColor
        border.color: Theme.dark ? "#26ffffff" : "transparent"
        opacity: card.shown ? 1 : 0
        scale: card.shown ? 1 : 1.08

        Accessible.role: Accessible.AlertMessage
        Accessible.name: headline.text + ". " + message.text
        Accessible.ignored: !card.shown

        Behavior on opacity {
            NumberAnimation { duration: 160 }
        }
        Behavior on scale {
            NumberAnimation { duration: 200; easing.type: Easing.OutCubic }
        }

        Text {
            id: headline

            x: Theme.margin
            y: Theme.margin + 2
            width: parent.width - 2 * Theme.margin
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.Wrap
            maximumLineCount: 3
            elide: Text.ElideRight
            textFormat: Text.PlainText
            text: card.alert === null ? "" : card.alert.title
            color: Theme.textColor
            font.pixelSize: Theme.rowTextSize
            font.bold: true
            Accessible.ignored: true
        }
        Flickable {
            id: scroller

            readonly property real most: card.height - headline.height - button.height - 5 * Theme.margin

            objectName: "message"
            anchors.top: headline.bottom
            anchors.topMargin: Theme.spacing
            width: parent.width
            height: Math.max(0, Math.min(contentHeight, Math.min(most, 420 * Theme.textScale)))
            contentHeight: message.height
            interactive: contentHeight > height
            boundsBehavior: Flickable.StopAtBounds
            clip: true

            Text {
                id: message

                x: Theme.margin
                width: scroller.width - 2 * Theme.margin
                horizontalAlignment: Text.AlignHCenter
                wrapMode: Text.Wrap
                textFormat: Text.PlainText
                text: card.alert === null ? "" : card.alert.message
                color: Theme.textColor
                font.pixelSize: Math.round(1.08 * Theme.detailTextSize)
                Accessible.ignored: true
            }
            ScrollBar.vertical: ScrollBar {
                id: bar

                // That there is more has to be seen without a touch.
                contentItem: Rectangle {
                    implicitWidth: 4
                    radius: width / 2
                    color: Theme.dark ? "#b0ffffff" : "#90000000"
                    opacity: bar.size < 1 ? 1 : 0
                }
                background: null
            }
        }
        Rectangle {
            anchors.bottom: button.top
            width: parent.width
            height: 1
            color: Theme.separatorColor
        }
        ActionSheetButton {
            id: button

            objectName: "close"
            anchors.bottom: parent.bottom
            width: parent.width
            focus: true
            text: card.alert === null ? "" : card.alert.cancelButtonTitle
            strong: true
            onClicked: card.close()
        }
    }
}
