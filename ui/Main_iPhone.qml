// A screen in the hand: the chart above the table, or beside it where the device lies on its side.
import QtQuick
import Slicewise.Ui

ScreenPage {
    id: page

    readonly property bool sideBySide: width > height
    readonly property real chartExtent: sideBySide ? Math.round(Math.min(height * 1.15, width * 0.46))
                                                   : Math.round(Math.min(width * 0.86, height * 0.45))

    chartPane: pane
    nodeList: list

    ChartPane {
        id: pane

        x: page.sideBySide && page.mirrored ? page.width - width : 0
        width: page.sideBySide ? page.chartExtent : page.width
        height: page.sideBySide ? page.height : page.chartExtent
        screen: page.screen
    }
    NodeList {
        id: list

        x: page.sideBySide && !page.mirrored ? page.chartExtent : 0
        y: page.sideBySide ? 0 : page.chartExtent
        width: page.sideBySide ? page.width - page.chartExtent : page.width
        height: page.height - y
        focus: true
        mirrored: page.mirrored
        screen: page.screen
    }
}
