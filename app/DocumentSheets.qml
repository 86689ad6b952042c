// Has no sheets yet: each is closed as soon as it is asked for.
import QtQuick
import Slicewise.Ui

Item {
    readonly property bool active: false

    function presentPreview(screen: SZAViewController, filename: var, name: string) {
        screen.documentInteractionControllerDidEndPreview();
    }

    function presentOpenInMenu(screen: SZAViewController, filename: var, name: string) {
        screen.documentInteractionControllerDidDismissOpenInMenu();
    }

    function presentOptionsMenu(screen: SZAViewController, filename: var, name: string) {
        screen.documentInteractionControllerDidDismissOptionsMenu();
    }
}
