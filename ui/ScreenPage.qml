// What every page has, however it is laid out: it draws one screen, and passes on what that asks for.
import QtQuick
import Slicewise.Ui

FocusScope {
    id: page

    required property SZAViewController screen
    required property ChartPane chartPane
    required property NodeList nodeList
    property bool mirrored: false
    property NavigationBarItem barItem: null ///< what the navigation bar shows of it
    property real covered: 0                 ///< how much of the page above lies over it, 0 to 1
    property bool casts: false               ///< a shadow on the page below

    signal previewRequested(var filename, string name)
    signal openInMenuRequested(var filename, string name)
    signal optionsMenuRequested(var filename, string name)

    function load() {
        screen.setChart(chartPane.chart);
        screen.loadViewIfNeeded();
    }

    Rectangle {
        anchors.fill: parent
        color: Theme.tableColor
        z: -1
    }
    Rectangle {
        anchors.fill: parent
        color: "#000000"
        opacity: 0.16 * page.covered
        visible: opacity > 0
        z: 2
    }
    Rectangle {
        x: page.mirrored ? page.width : -width
        width: 9
        height: page.height
        visible: page.casts
        rotation: page.mirrored ? 180 : 0
        gradient: Gradient {
            orientation: Gradient.Horizontal
            GradientStop { position: 0; color: "#00000000" }
            GradientStop { position: 1; color: "#48000000" }
        }
    }

    Connections {
        target: page.screen
        function onPreviewRequested(filename, name) {
            page.previewRequested(filename, name);
        }
        function onOpenInMenuRequested(filename, name) {
            page.openInMenuRequested(filename, name);
        }
        function onOptionsMenuRequested(filename, name) {
            page.optionsMenuRequested(filename, name);
        }
    }
}
