// The disc before a row that may be deleted: a first touch opens the row's "Delete", another closes it again.
import QtQuick
import Slicewise.Ui

Pressable {
    id: minus

    required property string spokenName
    property bool opened: false
    property real progress: 0 ///< of its way in: 0 beside the row, 1 in its place
    property bool mirrored: false
    readonly property real discSize: 22

    spokenText: qsTr("Delete %1").arg(spokenName)
    Accessible.checkable: true
    Accessible.checked: opened
    Accessible.ignored: progress === 0

    Rectangle {
        id: disc

        readonly property real place: Theme.margin - (1 - minus.progress) * (Theme.margin + width)

        x: minus.mirrored ? minus.width - place - width : place
        y: Math.round((minus.height - height) / 2)
        width: minus.discSize
        height: minus.discSize
        radius: width / 2
        antialiasing: true
        color: minus.held ? Qt.darker(Theme.deleteColor, 1.25) : Theme.deleteColor
        opacity: minus.progress

        Rectangle {
            anchors.centerIn: parent
            width: 12
            height: 2.4
            radius: height / 2
            antialiasing: true
            color: "#ffffff"
            rotation: minus.opened ? (minus.mirrored ? 90 : -90) : 0

            Behavior on rotation {
                NumberAnimation { duration: 220; easing.type: Easing.OutCubic }
            }
        }
    }
    FocusRing {
        x: disc.x - 5
        y: disc.y - 5
        width: disc.width + 10
        height: disc.height + 10
        radius: width / 2
        shown: minus.activeFocus
    }
}
