// The window: the browser, and above it whatever is shown of a file.
pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Window
import Slicewise.App
import Slicewise.Preview
import Slicewise.Ui

Window {
    id: window

    required property SZANavigationController navigation
    required property Appearance appearance
    required property Documents documents
    /// Of systems whose bar knows of one tint alone; invalid: the bar has its own.
    required property color barTint
    required property bool pad

    title: "Slicewise"
    color: Theme.groundColor
    visible: false

    Binding {
        target: Theme
        property: "dark"
        value: window.appearance.dark
    }

    Binding {
        target: Theme
        property: "barTint"
        value: window.barTint
        when: window.barTint.valid
    }

    Shortcut {
        sequence: "Ctrl+Q"
        onActivated: Qt.quit()
    }

    Browser {
        id: browser

        anchors.fill: parent
        navigation: window.navigation
        pad: window.pad
        onPreviewRequested: (screen, filename, name) => sheets.presentPreview(screen, filename, name)
        onOpenInMenuRequested: (screen, filename, name) => sheets.presentOpenInMenu(screen, filename, name)
        onOptionsMenuRequested: (screen, filename, name) => sheets.presentOptionsMenu(screen, filename, name)
    }

    DocumentSheets {
        id: sheets

        anchors.fill: parent
        documents: window.documents
        // What lies below takes no touch and no key, Tab included; then the keys are where they were.
        onActiveChanged: {
            browser.enabled = !sheets.active
            if (!sheets.active)
                browser.forceActiveFocus()
        }
    }
}
