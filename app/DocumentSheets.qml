// Has no sheets yet: each is closed as soon as it is asked for.
import QtQuick

Item {
    readonly property bool active: false

    function presentPreview(screen, filename, name) {
        screen.documentInteractionControllerDidEndPreview();
    }

    function presentOpenInMenu(screen, filename, name) {
        screen.documentInteractionControllerDidDismissOpenInMenu();
    }

    function presentOptionsMenu(screen, filename, name) {
        screen.documentInteractionControllerDidDismissOptionsMenu();
    }
}
