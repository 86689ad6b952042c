// The strip at the edge where a finger may take hold of a page and pull it aside. Taps and scrolls go through it.
import QtQuick
import Slicewise.Ui

Item {
    id: edge

    required property ScreenStack stack
    property bool allowed: false
    property bool mirrored: false
    // In points each second, the way that the page goes: as of the last move.
    property real speed: 0
    readonly property real flingSpeed: 400

    // The state of a finger's point then, which has no name in QML.
    readonly property int released: 8

    width: 22

    function lift() {
        const fast = Math.abs(speed) > flingSpeed;
        const back = fast ? speed > 0 : stack.progress < 0.5;
        stack.letGo(back ? ScreenStack.GoBack : ScreenStack.Stay);
    }

    DragHandler {
        id: finger

        target: null
        yAxis.enabled: false
        // What begins stays with the finger, whatever is allowed meanwhile.
        enabled: edge.allowed || edge.stack.swiping
        onActiveChanged: {
            if (active) {
                edge.speed = 0;
                edge.stack.pull();
            }
        }
        // A finger that is lifted gives up its grab, and so does one that is taken away; after that both are cancelled,
        // when there is nothing left to stop for the first.
        onGrabChanged: (transition, point) => {
            if (transition === PointerDevice.UngrabExclusive && point.state === edge.released)
                edge.lift();
        }
        onCanceled: edge.stack.letGo(ScreenStack.Stay)
        onActiveTranslationChanged: {
            if (!active)
                return;
            const side = edge.mirrored ? -1 : 1;
            edge.speed = side * centroid.velocity.x;
            edge.stack.pullTo(side * activeTranslation.x / Math.max(1, edge.stack.width));
        }
    }
}
