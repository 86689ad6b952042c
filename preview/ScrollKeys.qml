// The keys that scroll a list whose rows are too high to be gone through one by one.
import QtQuick
import Slicewise.Ui

Item {
    id: keys

    required property ListView view

    function scrollBy(points: real) {
        const view = keys.view
        const first = view.originY - view.topMargin
        const last = Math.max(first, view.originY + view.contentHeight + view.bottomMargin - view.height)
        view.cancelFlick()
        view.contentY = Math.max(first, Math.min(last, view.contentY + points))
    }

    Keys.onPressed: event => {
        const step = 3 * Theme.detailTextSize
        const page = Math.max(step, keys.view.height - 2 * step)
        switch (event.key) {
        case Qt.Key_Down:
            keys.scrollBy(step)
            break
        case Qt.Key_Up:
            keys.scrollBy(-step)
            break
        case Qt.Key_PageDown:
        case Qt.Key_Space:
            keys.scrollBy(page)
            break
        case Qt.Key_PageUp:
            keys.scrollBy(-page)
            break
        case Qt.Key_Home:
            keys.view.positionViewAtBeginning()
            keys.view.contentY = keys.view.originY - keys.view.topMargin
            break
        case Qt.Key_End:
            keys.view.positionViewAtEnd()
            break
        default:
            return
        }
        event.accepted = true
    }
}
