// A picture, as large as the window allows; two fingers, the wheel or a double tap enlarge it.
import QtQuick
import Slicewise.Preview
import Slicewise.Ui

Flickable {
    id: view

    required property Document document

    property real zoom: 1
    readonly property real mostZoom: Math.max(4, 2 / Math.max(0.001, view.fit))
    readonly property size full: Qt.size(view.document.pageSize(0).width, view.document.pageSize(0).height)
    // Never larger than it is by itself; small pictures stay small.
    readonly property real fit: view.full.width > 0
        ? Math.min(1, view.width / view.full.width, view.height / view.full.height) : 1

    function zoomTo(wanted: real, at: point) {
        const zoom = Math.max(1, Math.min(view.mostZoom, wanted))
        const factor = zoom / view.zoom
        if (factor === 1)
            return
        const x = (view.contentX + at.x) * factor - at.x
        const y = (view.contentY + at.y) * factor - at.y
        view.zoom = zoom
        view.contentX = Math.max(0, Math.min(view.contentWidth - view.width, x))
        view.contentY = Math.max(0, Math.min(view.contentHeight - view.height, y))
    }

    clip: true
    boundsBehavior: Flickable.StopAtBounds
    contentWidth: Math.max(view.width, picture.width)
    contentHeight: Math.max(view.height, picture.height)
    interactive: view.zoom > 1
    onWidthChanged: view.returnToBounds()
    onHeightChanged: view.returnToBounds()

    PictureItem {
        id: picture

        objectName: "picture"
        document: view.document
        width: view.full.width * view.fit * view.zoom
        height: view.full.height * view.fit * view.zoom
        x: Math.max(0, (view.width - width) / 2)
        y: Math.max(0, (view.height - height) / 2)
        Accessible.role: Accessible.Graphic
        Accessible.name: view.document.name

        // Something to see through a picture's holes.
        Rectangle {
            z: -1
            anchors.fill: parent
            visible: picture.ready
            color: Theme.dark ? "#16181d" : "#ffffff"
        }
    }

    Keys.onPressed: event => {
        const middle = Qt.point(view.width / 2, view.height / 2)
        const step = Theme.touchSize
        const zooms = { [Qt.Key_Plus]: 1.2, [Qt.Key_Equal]: 1.2, [Qt.Key_Minus]: 1 / 1.2, [Qt.Key_0]: 0 }
        const steps = { [Qt.Key_Left]: [-step, 0], [Qt.Key_Right]: [step, 0], [Qt.Key_Up]: [0, -step],
                        [Qt.Key_Down]: [0, step] }
        if (event.key in zooms) {
            view.zoomTo(view.zoom * zooms[event.key], middle)
        } else if (event.key in steps) {
            const [x, y] = steps[event.key]
            view.contentX = Math.max(0, Math.min(view.contentWidth - view.width, view.contentX + x))
            view.contentY = Math.max(0, Math.min(view.contentHeight - view.height, view.contentY + y))
        } else {
            return
        }
        event.accepted = true
    }

    PinchHandler {
        property real zoomBefore: 1

        target: null
        onActiveChanged: zoomBefore = view.zoom
        onActiveScaleChanged: view.zoomTo(zoomBefore * activeScale,
            Qt.point(centroid.position.x - view.contentX, centroid.position.y - view.contentY))
    }

    WheelHandler {
        acceptedDevices: PointerDevice.Mouse | PointerDevice.TouchPad
        onWheel: event => view.zoomTo(view.zoom * Math.pow(1.2, event.angleDelta.y / 120),
                                      Qt.point(event.x - view.contentX, event.y - view.contentY))
    }

    TapHandler {
        onDoubleTapped: eventPoint => view.zoomTo(view.zoom > 1 ? 1 : Math.min(view.mostZoom, 2.5),
            Qt.point(eventPoint.position.x - view.contentX, eventPoint.position.y - view.contentY))
    }
}
