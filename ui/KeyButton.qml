// A button that a key presses as it goes down, and once however long it is held: a key that has led here, and is let
// go or repeated only now, is no answer.
import QtQuick
import QtQuick.Templates as T

T.AbstractButton {
    id: button

    readonly property var pressingKeys: [Qt.Key_Return, Qt.Key_Enter, Qt.Key_Space, Qt.Key_Select]

    focusPolicy: Qt.StrongFocus
    Accessible.role: Accessible.Button
    Accessible.name: button.text
    Keys.onPressed: event => {
        if (!button.pressingKeys.includes(event.key))
            return;
        event.accepted = true;
        if (!event.isAutoRepeat)
            button.clicked();
    }
    // Without this the template is pressed by whatever lets a space bar go.
    Keys.onReleased: event => event.accepted = button.pressingKeys.includes(event.key)
}
