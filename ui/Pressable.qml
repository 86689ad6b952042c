// What a finger, a key and an assistive program can press alike; how it looks is up to what is made of it.
import QtQuick

Item {
    id: pressable

    property string spokenText: ""
    property bool touchable: true
    readonly property bool held: area.pressed

    signal tapped

    // An assistive program presses also what is disabled, with all below a question or an alert.
    function press() {
        if (touchable && enabled)
            tapped();
    }

    // Once, however long the key is held.
    function pressByKey(event) {
        if (!event.isAutoRepeat)
            press();
    }

    Accessible.role: Accessible.Button
    Accessible.name: spokenText
    Accessible.focusable: true
    Accessible.onPressAction: press()
    Keys.onReturnPressed: event => pressByKey(event)
    Keys.onEnterPressed: event => pressByKey(event)
    Keys.onSpacePressed: event => pressByKey(event)

    MouseArea {
        id: area

        anchors.fill: parent
        enabled: pressable.touchable
        onClicked: pressable.press()
        // Or the second of two quick taps would get lost.
        onDoubleClicked: pressable.press()
    }
}
