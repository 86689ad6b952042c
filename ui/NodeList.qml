// The table of a screen. Only what can be seen of it is made.
pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import Slicewise.Ui

ListView {
    id: list

    required property SZAViewController screen
    property bool mirrored: false
    /// The current row shows only to somebody who uses the keyboard.
    property bool keyboardUsed: false
    readonly property bool touchable: screen !== null && screen.tableView.userInteractionEnabled
    readonly property int openRow: screen === null ? -1 : screen.tableView.openRow
    // The keyboard is at a button of the current row.
    readonly property bool inRow: Window.activeFocusItem instanceof DeleteMinus
                                  || Window.activeFocusItem instanceof DeleteButton
    readonly property real rowHeight: Math.max(1, probe.height)

    clip: true
    reuseItems: true
    currentIndex: -1
    highlightFollowsCurrentItem: false
    keyNavigationEnabled: false
    interactive: touchable
    boundsBehavior: Flickable.DragAndOvershootBounds
    flickDeceleration: 1800
    maximumFlickVelocity: 6000
    activeFocusOnTab: true
    model: screen === null ? null : screen.tableView

    Accessible.role: Accessible.List
    Accessible.name: screen === null ? "" : screen.navigationItem.title

    delegate: NodeRow {
        width: list.width
        mirrored: list.mirrored
        touchable: list.touchable
        selected: list.screen !== null && list.screen.tableView.selectedRow === index
        opened: list.openRow === index
        current: ListView.isCurrentItem
        showsFocus: ListView.isCurrentItem && list.activeFocus && !list.inRow && list.keyboardUsed
        onTapped: row => {
            list.keyboardUsed = false;
            list.settle();
            list.currentIndex = row;
            list.screen.tableView.tapRow(row);
        }
        onMinusTapped: row => {
            list.settle();
            list.currentIndex = row;
            list.screen.tableView.toggleDeleteConfirmation(row);
        }
        onDeleteTapped: row => list.screen.tableView.commitDelete(row)
        ListView.onPooled: stays = false
        ListView.onReused: {
            // As it may have faded.
            opacity = 1;
            stays = true;
        }
    }

    onMovementStarted: closeOpenRow()

    remove: Transition {
        id: leaving

        enabled: list.screen !== null && list.screen.tableView.rowAnimation !== NodeTable.RowAnimation.None
        NumberAnimation { property: "opacity"; to: 0; duration: 300; easing.type: Easing.OutCubic }
    }
    removeDisplaced: Transition {
        enabled: leaving.enabled
        NumberAnimation { property: "y"; duration: 300; easing.type: Easing.InOutCubic }
        // One that was about to leave, or come, is whole again.
        NumberAnimation { property: "opacity"; to: 1; duration: 100 }
    }

    // Below the last row.
    MouseArea {
        parent: list.contentItem
        y: list.originY + list.contentHeight
        width: list.width
        height: Math.max(0, list.height - list.contentHeight)
        enabled: list.openRow >= 0
        onClicked: list.closeOpenRow()
    }

    ScrollBar.vertical: ScrollBar {
        id: bar

        minimumSize: 0.06
        padding: 2
        // A row's disc lies beside it.
        contentItem: Rectangle {
            implicitWidth: bar.hovered || bar.pressed ? 7 : 4
            radius: width / 2
            color: Theme.dark ? "#b0ffffff" : "#90000000"
            opacity: bar.active && bar.size < 1 ? 1 : 0

            Behavior on opacity {
                NumberAnimation { duration: 350 }
            }
        }
        background: null
    }

    EmptyLevel {
        anchors.centerIn: parent
        width: parent.width - 2 * Theme.margin
        visible: list.count === 0 && list.screen !== null && list.screen.doneScan
    }

    NodeRow {
        id: probe

        visible: false
        index: -1
        name: ""
        sizeText: ""
        nodeColor: "transparent"
        selectable: false
        editable: false
        Accessible.ignored: true
    }

    // A table that is filled anew stays where it was: a scan does that every two seconds.
    property real keptOffset: 0
    property int keptIndex: -1

    Connections {
        target: list.screen === null ? null : list.screen.tableView
        function onScrollRequested(row, position) {
            list.scrollToRow(row, position);
        }
        function onModelAboutToBeReset() {
            list.keptOffset = list.contentY - list.originY;
            list.keptIndex = list.currentIndex;
        }
        function onModelReset() {
            // The view hears of it after us.
            comingBack.restart();
        }
    }

    Timer {
        id: comingBack

        interval: 0
        onTriggered: list.comeBack()
    }
    NumberAnimation {
        id: scrolling

        target: list
        property: "contentY"
        duration: 300
        easing.type: Easing.InOutQuad
    }

    function comeBack() {
        if (moving)
            return;
        const furthest = Math.max(0, contentHeight - height);
        contentY = originY + Math.min(Math.max(0, keptOffset), furthest);
        currentIndex = Math.min(keptIndex, count - 1);
    }

    // Whoever goes elsewhere goes from where the table comes back to, and is not brought back afterwards.
    function settle() {
        if (!comingBack.running)
            return;
        comingBack.stop();
        forceLayout();
        comeBack();
    }

    function scrollToRow(row, position) {
        settle();
        cancelFlick();
        scrolling.stop();
        const from = contentY;
        const modes = { [NodeTable.ScrollPosition.Top]: ListView.Beginning,
                        [NodeTable.ScrollPosition.Middle]: ListView.Center,
                        [NodeTable.ScrollPosition.Bottom]: ListView.End };
        positionViewAtIndex(row, modes[position]);
        const to = contentY;
        contentY = from;
        scrolling.from = from;
        scrolling.to = to;
        scrolling.start();
    }

    function closeOpenRow() {
        if (openRow >= 0)
            screen.tableView.closeOpenRow();
    }

    // Enter deletes what is open, and opens what isn't.
    function enter() {
        if (openRow >= 0 && openRow === currentIndex)
            screen.tableView.commitDelete(currentIndex);
        else
            screen.tableView.tapRow(currentIndex);
    }

    function makeCurrent(row) {
        if (count === 0)
            return;
        scrolling.stop();
        currentIndex = Math.max(0, Math.min(row, count - 1));
        positionViewAtIndex(currentIndex, ListView.Contain);
        if (openRow !== currentIndex)
            closeOpenRow();
    }

    function firstVisibleRow() {
        return Math.max(0, indexAt(1, contentY + rowHeight / 2));
    }

    onActiveFocusChanged: {
        if (!activeFocus || !keyboardUsed)
            return;
        settle();
        if (currentIndex < 0)
            makeCurrent(firstVisibleRow());
    }

    Keys.onPressed: event => {
        const page = Math.max(1, Math.floor(height / rowHeight) - 1);
        const forward = mirrored ? Qt.Key_Left : Qt.Key_Right;
        if (!touchable)
            return;
        settle();
        const start = currentIndex < 0 ? firstVisibleRow() : -1;
        const was = keyboardUsed;
        keyboardUsed = true;
        switch (event.key) {
        case Qt.Key_Down:
            makeCurrent(start >= 0 ? start : currentIndex + 1);
            break;
        case Qt.Key_Up:
            makeCurrent(start >= 0 ? start : currentIndex - 1);
            break;
        case Qt.Key_PageDown:
            makeCurrent((start >= 0 ? start : currentIndex) + page);
            break;
        case Qt.Key_PageUp:
            makeCurrent((start >= 0 ? start : currentIndex) - page);
            break;
        case Qt.Key_Home:
            makeCurrent(0);
            break;
        case Qt.Key_End:
            makeCurrent(count - 1);
            break;
        case Qt.Key_Return:
        case Qt.Key_Enter:
        case Qt.Key_Space:
        case Qt.Key_Select:
        case forward:
            if (currentIndex >= 0 && !event.isAutoRepeat)
                enter();
            break;
        case Qt.Key_Delete:
            if (!screen.tableView.editing) {
                keyboardUsed = was;
                return;
            }
            if (currentIndex >= 0 && !event.isAutoRepeat)
                screen.tableView.toggleDeleteConfirmation(currentIndex);
            break;
        case Qt.Key_Escape:
        case Qt.Key_Back:
            if (openRow < 0) {
                keyboardUsed = was;
                return;
            }
            closeOpenRow();
            break;
        default:
            keyboardUsed = was;
            return;
        }
        event.accepted = true;
    }
}
