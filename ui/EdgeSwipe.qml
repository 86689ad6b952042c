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

    width: 22

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
            } else {
                const fast = Math.abs(edge.speed) > edge.flingSpeed;
                const back = fast ? edge.speed > 0 : edge.stack.progress < 0.5;
                edge.stack.letGo(back ? ScreenStack.GoBack : ScreenStack.Stay);
            }
        }
        onActiveTranslationChanged: {
            if (!active)
                return;
            const side = edge.mirrored ? -1 : 1;
            edge.speed = side * centroid.velocity.x;
            edge.stack.pullTo(side * activeTranslation.x / Math.max(1, edge.stack.width));
        }
        onCanceled: edge.stack.letGo(ScreenStack.Stay)
    }
}
