// What a file is shown in, over everything else: its preview, and the menus of what can be done with it. The
// screen that asked is told once when what it asked for has been closed.
import QtQuick
import Slicewise.Preview
import Slicewise.Ui

FocusScope {
    id: sheets

    required property Documents documents
    readonly property bool active: sheets.document !== null || menu.opened

    // What is shown, and for whom; null: nothing is.
    property SZAViewController screen: null
    property var filename
    property Document document: null
    property bool closing: false
    property bool mirrored: Application.layoutDirection === Qt.RightToLeft
    property real raised: 0 // how far up the page has come

    function presentPreview(screen: SZAViewController, filename: var, name: string) {
        sheets.take(screen, filename)
        sheets.document = sheets.documents.open(filename, name)
        sheets.closing = false
        pageLoader.setSource("PreviewPage.qml", {
            document: sheets.document,
            mirrored: Qt.binding(() => sheets.mirrored),
            fixedFontFamily: sheets.documents.fixedFontFamily
        })
        sheets.forceActiveFocus()
    }

    function presentOpenInMenu(screen: SZAViewController, filename: var, name: string) {
        sheets.take(screen, filename)
        menu.show(name, "openIn", [openAction])
    }

    function presentOptionsMenu(screen: SZAViewController, filename: var, name: string) {
        sheets.take(screen, filename)
        menu.show(name, "options", sheets.options())
    }

    // Closes whatever is open, as "Done" and "Cancel" do.
    function close() {
        if (menu.opened)
            menu.finish(-1)
        else
            sheets.closePreview()
    }

    readonly property var openAction: ({ id: "open", text: qsTr("Open with Application") })

    function options() {
        const copyAction = { id: "copy", text: qsTr("Copy Path") }
        return sheets.documents.canOpen()
            ? [copyAction, { id: "show", text: qsTr("Show in Folder") }, sheets.openAction] : [copyAction]
    }

    // Only one file at a time: who asked before has been answered then.
    function take(screen, filename) {
        sheets.close()
        sheets.endPreview()
        sheets.screen = screen
        sheets.filename = filename
    }

    function closePreview() {
        if (sheets.document === null || sheets.closing)
            return
        sheets.closing = true
        // It still shows what it has while it slides down, but nothing goes on behind it.
        sheets.document.endThreads()
        slideUp.stop()
        slideDown.restart()
        const screen = sheets.screen
        sheets.screen = null
        if (screen !== null)
            screen.documentInteractionControllerDidEndPreview()
    }

    // The page has gone down.
    function endPreview() {
        if (sheets.document === null)
            return
        sheets.closePreview()
        slideDown.stop()
        pageLoader.source = ""
        const document = sheets.document
        sheets.document = null
        sheets.closing = false
        sheets.documents.close(document)
    }

    function perform(id: string) {
        if (id === "copy")
            sheets.documents.copyPath(sheets.filename)
        else if (id === "show")
            sheets.documents.showInFolder(sheets.filename)
        else if (id === "open")
            sheets.documents.openWithApplication(sheets.filename)
    }

    focus: sheets.active
    Keys.onPressed: event => {
        if (!sheets.active || event.key === Qt.Key_Tab || event.key === Qt.Key_Backtab)
            return
        if (event.key === Qt.Key_Escape || event.key === Qt.Key_Back || event.key === Qt.Key_Backspace)
            sheets.close()
        // No key reaches what lies below; that Tab does not is up to the window.
        event.accepted = true
    }

    Loader {
        id: pageLoader

        objectName: "pageLoader"
        width: parent.width
        height: parent.height
        // Whatever the window's height becomes meanwhile.
        y: parent.height * (1 - sheets.raised)
        focus: !menu.opened
        enabled: !menu.opened // Tab does not get there either
        onLoaded: slideUp.restart()
    }

    Connections {
        target: pageLoader.item as PreviewPage

        function onDone() {
            sheets.closePreview()
        }
        function onActionsRequested() {
            if (!sheets.closing)
                menu.show(sheets.document.name, "page", sheets.options())
        }
    }

    NumberAnimation {
        id: slideUp

        target: sheets
        property: "raised"
        from: 0
        to: 1
        duration: 280
        easing.type: Easing.OutCubic
    }

    NumberAnimation {
        id: slideDown

        target: sheets
        property: "raised"
        to: 0
        duration: 220
        easing.type: Easing.InCubic
        onFinished: sheets.endPreview()
    }

    ActionSheet {
        id: menu

        property string purpose: ""

        function show(name: string, purpose: string, actions) {
            menu.purpose = purpose
            menu.title = name
            menu.message = sheets.documents.pathText(sheets.filename)
            menu.actions = actions
            menu.open()
        }

        function dismissed() {
            const screen = sheets.screen
            if (menu.purpose === "page") { // the preview goes on
                sheets.forceActiveFocus()
                return
            }
            sheets.screen = null
            if (screen === null)
                return
            if (menu.purpose === "openIn")
                screen.documentInteractionControllerDidDismissOpenInMenu()
            else
                screen.documentInteractionControllerDidDismissOptionsMenu()
        }

        objectName: "menu"
        anchors.fill: parent
        onChosen: index => {
            sheets.perform(menu.actions[index].id)
            menu.dismissed()
        }
        onCancelled: menu.dismissed()
    }
}
