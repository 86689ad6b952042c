// The screens of a stack: fills a window, makes a page for each screen, and lets fingers and keys go from one to the
// next.
import QtQuick
import Slicewise.Ui

FocusScope {
    id: browser

    required property SZANavigationController navigation
    required property bool pad
    property bool mirrored: Application.layoutDirection === Qt.RightToLeft
    readonly property bool busy: navigation.ignoringInteractionEvents
    readonly property SZAViewController topScreen: stack.topPage === null ? null : stack.topPage.screen

    // What a screen wants shown of a file: its path on the device as bytes, and its name.
    signal previewRequested(SZAViewController screen, var filename, string name)
    signal openInMenuRequested(SZAViewController screen, var filename, string name)
    signal optionsMenuRequested(SZAViewController screen, var filename, string name)

    focus: true

    Rectangle {
        anchors.fill: parent
        color: Theme.groundColor
    }
    // Disabled as a whole, it takes neither touches nor keys, and Tab finds nothing in it; it looks as before.
    FocusScope {
        id: content

        anchors.fill: parent
        focus: true
        enabled: !browser.busy && !question.asked && !alert.shown
        // What had the keyboard gets it back.
        onEnabledChanged: if (enabled) forceActiveFocus(Qt.OtherFocusReason)

        ScreenStack {
            id: stack

            objectName: "screens"
            y: bar.height
            width: parent.width
            height: Math.max(0, parent.height - bar.height)
            focus: true
            navigation: browser.navigation
            pad: browser.pad
            barItems: bar.items
            mirrored: browser.mirrored
            onPreviewRequested: (screen, filename, name) => browser.previewRequested(screen, filename, name)
            onOpenInMenuRequested: (screen, filename, name) => browser.openInMenuRequested(screen, filename, name)
            onOptionsMenuRequested: (screen, filename, name) => browser.optionsMenuRequested(screen, filename, name)
        }
        NavigationBar {
            id: bar

            objectName: "navigationBar"
            width: parent.width
            height: implicitHeight
        }
        EdgeSwipe {
            x: browser.mirrored ? browser.width - width : 0
            y: stack.y
            height: stack.height
            mirrored: browser.mirrored
            allowed: browser.navigation.count > 1 && content.enabled
                     && browser.navigation.navigationBarUserInteractionEnabled && stack.topPage !== null
                     && !stack.topPage.screen.tableView.editing
            stack: stack
        }
    }
    ProgressHUD {
        objectName: "deletionHUD"
        x: Math.round((browser.width - width) / 2)
        y: Math.round(bar.height + (stack.height - height) / 2)
        text: browser.topScreen === null ? "" : browser.topScreen.deletionHUD
    }
    DeletionQuestion {
        id: question

        objectName: "question"
        anchors.fill: parent
        mirrored: browser.mirrored
        barHeight: bar.height
        screen: browser.topScreen
    }
    AlertCard {
        id: alert

        objectName: "alert"
        anchors.fill: parent
        screen: browser.topScreen
    }
    // Over everything, and clear: most deletions are over before a shade would have come.
    MouseArea {
        objectName: "shield"
        anchors.fill: parent
        enabled: browser.busy
        hoverEnabled: browser.busy
        preventStealing: true
        acceptedButtons: Qt.AllButtons
        onWheel: wheel => wheel.accepted = true
    }

    Keys.onPressed: event => {
        const backwards = mirrored ? Qt.Key_Right : Qt.Key_Left;
        const back = [Qt.Key_Escape, Qt.Key_Backspace, Qt.Key_Back, backwards];
        if (busy) {
            event.accepted = true;
            return;
        }
        if (!back.includes(event.key) || navigation.count < 2)
            return;
        event.accepted = true;
        if (!event.isAutoRepeat)
            navigation.goBack();
    }
}
