// Colours and measures of the screens, light and dark. What a screen's class decides itself (the title's fonts and
// colours, the grey of a row's second line, the red of a button that deletes) is not here.
//
// Lengths are points: one logical pixel each. Texts grow with the system's font, and so does what holds them.
pragma Singleton

import QtQuick

QtObject {
    // Set by the window, which knows what the system asks for.
    property bool dark: false

    // How much larger than usual the system's letters are: 1 for its common 13 pixels.
    property real textScale: Math.max(0.8, Math.min(3, systemText.font.pixelSize > 0
        ? systemText.font.pixelSize / 13 : systemText.font.pointSize / 10))

    readonly property color tableColor: dark ? "#101216" : "#ffffff"
    readonly property color groundColor: dark ? "#08090b" : "#f2f3f6"
    readonly property color textColor: dark ? "#f2f3f6" : "#14161a"
    readonly property color secondaryTextColor: dark ? "#a4a9b4" : "#5c616b"
    readonly property color separatorColor: dark ? "#2a2e36" : "#d9dce2"
    readonly property color pressedColor: dark ? "#23272f" : "#e4e8f0"
    readonly property color selectedColor: dark ? "#2c3a55" : "#d5e0f5"
    // The title on it is black.
    property color barTint: dark ? "#8090b0" : "#f8f9fb"
    readonly property color barColor: barTint
    readonly property color barLineColor: dark ? "#5c6a88" : "#c9cdd6"
    readonly property color barButtonColor: dark ? "#0a1a38" : "#0a57c2"
    // Of buttons anywhere else.
    readonly property color accentColor: dark ? "#7db1ff" : "#0a57c2"
    readonly property color destructiveColor: dark ? "#ff7b72" : "#c62828"
    // Under white letters and signs.
    readonly property color deleteColor: "#d3302f"
    // Of what lies over the screens, on a shade.
    readonly property color sheetColor: dark ? "#1e2128" : "#ffffff"
    readonly property color focusColor: dark ? "#7db1ff" : "#0a57c2"

    readonly property real rowTextSize: Math.round(17 * textScale)
    readonly property real detailTextSize: Math.round(13 * textScale)
    readonly property real buttonTextSize: Math.round(17 * textScale)
    readonly property real smallTextSize: Math.round(12 * textScale)

    // Nothing that a finger is meant for is smaller.
    readonly property real touchSize: 44
    readonly property real margin: 16
    readonly property real spacing: 8
    readonly property real cornerRadius: 12

    readonly property Text systemText: Text {}
}
