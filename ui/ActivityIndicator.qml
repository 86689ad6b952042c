// Something goes on: twelve spokes, the brightest going round. Turns only while it can be seen.
pragma ComponentBehavior: Bound

import QtQuick

Item {
    id: indicator

    property color color: "#808080"
    property real size: 20
    property bool running: true
    readonly property int spokes: 12
    property int brightest: 0

    implicitWidth: size
    implicitHeight: size

    Accessible.role: Accessible.Animation
    Accessible.name: qsTr("In progress")

    Timer {
        interval: 1000 / indicator.spokes
        repeat: true
        running: indicator.running && indicator.visible
        onTriggered: indicator.brightest = (indicator.brightest + 1) % indicator.spokes
    }

    Repeater {
        model: indicator.spokes

        Rectangle {
            id: spoke

            required property int index

            x: (indicator.width - width) / 2
            y: (indicator.height - indicator.size) / 2
            width: Math.max(1.6, indicator.size * 0.085)
            height: indicator.size * 0.27
            radius: width / 2
            antialiasing: true
            color: indicator.color
            opacity: 0.22 + 0.78 * Math.pow(1 - ((indicator.brightest - index + indicator.spokes) % indicator.spokes)
                / indicator.spokes, 1.6)
            transform: Rotation {
                origin.x: Math.max(1.6, indicator.size * 0.085) / 2
                origin.y: indicator.size / 2
                angle: spoke.index * 360 / indicator.spokes
            }
        }
    }
}
