// The pages of all screens, of which the top one shows; and how one comes or goes.
//
// A page comes in from the right while the one below moves aside and dims, and goes the same way; a finger may pull it
// out. One thing moves at a time: whatever comes next brings the one before to its end at once.
pragma ComponentBehavior: Bound

import QtQuick
import Slicewise.Ui

FocusScope {
    id: stack

    required property SZANavigationController navigation
    required property bool pad
    required property Item barItems
    property bool mirrored: false

    property var pages: [] ///< the bottom one first
    property ScreenPage topPage: null
    readonly property bool moving: upper !== null
    readonly property bool swiping: moving && pulled

    // The page that moves, the one that it uncovers, and how much of the way in it has come.
    property ScreenPage upper: null
    property ScreenPage lower: null
    property real progress: 1
    property bool leaving: false
    property bool pulled: false

    signal previewRequested(SZAViewController screen, var filename, string name)
    signal openInMenuRequested(SZAViewController screen, var filename, string name)
    signal optionsMenuRequested(SZAViewController screen, var filename, string name)

    clip: true

    Component {
        id: phonePage

        Main_iPhone {}
    }
    Component {
        id: padPage

        Main_iPad {}
    }
    Component {
        id: barItem

        NavigationBarItem {
            anchors.fill: parent
            mirrored: stack.mirrored
            onBackTapped: stack.navigation.goBack()
            onRightTapped: screen.rightBarButtonTapped()
        }
    }

    NumberAnimation {
        id: motion

        target: stack
        property: "progress"
        onFinished: stack.arrive()
    }

    Connections {
        target: stack.navigation
        function onViewControllerPushed(viewController) {
            stack.show(viewController);
        }
        function onViewControllerPopped(viewController) {
            stack.leave(viewController);
        }
    }

    Component.onCompleted: {
        for (let i = 0; i < navigation.count; ++i)
            add(navigation.viewControllerAt(i));
        if (topPage !== null) {
            for (const page of pages)
                page.visible = page === topPage;
            placeBarItems();
            appear(topPage);
        }
    }

    onProgressChanged: place()
    onWidthChanged: place()
    onMirroredChanged: place()

    function add(screen) {
        const below = topPage;
        const page = (pad ? padPage : phonePage).createObject(stack, {
            screen: screen, width: Qt.binding(() => stack.width), height: Qt.binding(() => stack.height),
            mirrored: Qt.binding(() => stack.mirrored)
        });
        page.barItem = barItem.createObject(barItems, { screen: screen, below: below === null ? null : below.screen });
        page.barItem.touchable = Qt.binding(() => stack.navigation.navigationBarUserInteractionEnabled
                                                  && stack.topPage === page);
        page.previewRequested.connect((filename, name) => stack.previewRequested(screen, filename, name));
        page.openInMenuRequested.connect((filename, name) => stack.openInMenuRequested(screen, filename, name));
        page.optionsMenuRequested.connect((filename, name) => stack.optionsMenuRequested(screen, filename, name));
        pages.push(page);
        topPage = page;
        page.load();
        return page;
    }

    function takeOff() {
        const page = pages.pop();
        topPage = pages[pages.length - 1];
        return page;
    }

    function appear(page) {
        page.enabled = true;
        page.focus = true;
        page.screen.viewDidAppear();
    }

    function show(screen) {
        arrive();
        const below = topPage;
        const page = add(screen);
        if (below === null) {
            placeBarItems();
            appear(page);
            return;
        }
        below.enabled = false;
        begin(page, below, 0, false);
        move(1, 350);
    }

    function leave(screen) {
        if (moving && leaving && upper.screen === screen) {
            // The finger has let go of it.
            takeOff();
            move(0, 350 * progress);
            return;
        }
        arrive();
        const page = takeOff();
        begin(page, topPage, 1, true);
        move(0, 350);
    }

    function begin(over, under, from, isLeaving) {
        leaving = isLeaving;
        over.enabled = false;
        over.casts = true;
        under.visible = true;
        upper = over;
        lower = under;
        progress = from;
        place();
    }

    function move(to, milliseconds) {
        motion.stop();
        motion.from = progress;
        motion.to = to;
        motion.duration = Math.max(1, milliseconds);
        // Slow to stop, as a thing that has weight.
        motion.easing.type = Easing.BezierSpline;
        motion.easing.bezierCurve = [0.25, 0.1, 0.25, 1, 1, 1];
        motion.start();
    }

    function place() {
        if (!moving)
            return;
        const side = mirrored ? -1 : 1;
        upper.x = side * width * (1 - progress);
        lower.x = -side * 0.3 * width * progress;
        lower.covered = progress;
        upper.barItem.opacity = progress;
        upper.barItem.shift = side * 0.25 * width * (1 - progress);
        lower.barItem.opacity = 1 - progress;
        lower.barItem.shift = -side * 0.25 * width * progress;
        upper.barItem.visible = progress > 0;
        lower.barItem.visible = progress < 1;
    }

    function placeBarItems() {
        for (const page of pages) {
            page.barItem.visible = page === topPage;
            page.barItem.opacity = 1;
            page.barItem.shift = 0;
        }
    }

    // Brings what moves to the end of its way.
    function arrive() {
        if (!moving)
            return;
        motion.stop();
        const gone = leaving && upper !== topPage;
        const cancelled = pulled;
        const over = upper;
        const under = lower;
        progress = gone ? 0 : 1;
        place();
        upper = null;
        lower = null;
        leaving = false;
        pulled = false;
        over.casts = false;
        under.x = 0;
        under.covered = gone ? 0 : 1;
        under.visible = gone;
        over.x = 0;
        placeBarItems();
        if (gone) {
            remove(over);
            appear(under);
        } else if (cancelled) {
            over.enabled = true;
        } else {
            appear(over);
        }
    }

    function remove(page) {
        const screen = page.screen;
        page.visible = false;
        page.barItem.destroy();
        page.destroy();
        navigation.release(screen);
    }

    // A finger pulls the top page aside, by that part of its width.
    function pull() {
        arrive();
        if (pages.length < 2)
            return;
        begin(topPage, pages[pages.length - 2], 1, false);
        pulled = true;
    }

    function pullTo(part) {
        if (swiping)
            progress = 1 - Math.max(0, Math.min(1, part));
    }

    enum LetGo {
        GoBack,
        Stay
    }

    function letGo(where) {
        if (!swiping)
            return;
        if (where === ScreenStack.GoBack) {
            pulled = false;
            leaving = true;
            const before = pages.length;
            navigation.goBack();
            if (pages.length < before)
                return;
            // It was not allowed to.
            leaving = false;
            pulled = true;
        }
        move(1, 350 * (1 - progress));
    }
}
