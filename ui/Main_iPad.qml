// A screen with room: a large chart with names on its slices, and the table in a column beside it; upright, as wide as
// the chart and below it.
import QtQuick
import Slicewise.Ui

ScreenPage {
    id: page

    readonly property bool sideBySide: width > height && width >= 600
    readonly property real columnWidth: Math.round(Math.max(300, Math.min(440 * Theme.textScale, width * 0.36)))
    readonly property real chartHeight: Math.round(height * (width > height ? 0.45 : 0.54))

    chartPane: pane
    nodeList: list

    ChartPane {
        id: pane

        x: page.sideBySide && page.mirrored ? page.columnWidth : 0
        width: page.sideBySide ? page.width - page.columnWidth : page.width
        height: page.sideBySide ? page.height : page.chartHeight
        screen: page.screen
    }
    NodeList {
        id: list

        x: page.sideBySide && !page.mirrored ? pane.width : 0
        y: page.sideBySide ? 0 : page.chartHeight
        width: page.sideBySide ? page.columnWidth : page.width
        height: page.height - y
        focus: true
        mirrored: page.mirrored
        screen: page.screen
    }
}
