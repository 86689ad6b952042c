// The chart on its backdrop, which is dark by night and by day, and over it what the screen waits for.
import QtQuick
import Slicewise.Chart
import Slicewise.Ui

Item {
    id: pane

    required property SZAViewController screen
    readonly property alias chart: pie
    readonly property real chartMargin: Math.round(Math.min(width, height) * 0.03)

    clip: true

    SZAGradientView {
        anchors.fill: parent
    }
    // Radius, centre and place of the labels follow from the size by themselves.
    QVPieChart {
        id: pie

        readonly property real side: Math.max(0, Math.floor(Math.min(pane.width, pane.height) - 2 * pane.chartMargin))
        readonly property font ownFont: Qt.font({ family: Theme.systemText.font.family, bold: true,
            pixelSize: Math.round(16 * Theme.textScale) })

        x: Math.round((pane.width - width) / 2)
        y: Math.round((pane.height - height) / 2)
        width: side
        height: side
        // An empty level, and what has been scanned so far, have a place all the same.
        pieBackgroundColor: "#12ffffff"
        labelFont: ownFont
        labelShadowColor: "#a0000000"
        accessibleName: qsTr("Chart of %1").arg(pane.screen === null ? "" : pane.screen.navigationItem.title)
        // A new size brings the chart's own font back.
        onLabelFontChanged: if (labelFont !== ownFont) labelFont = ownFont
    }
    // In edit mode slices do nothing; but this is a touch beside the row that is open.
    MouseArea {
        anchors.fill: parent
        enabled: pane.screen !== null && pane.screen.tableView.openRow >= 0
        onClicked: pane.screen.tableView.closeOpenRow()
    }
    ProgressHUD {
        anchors.centerIn: parent
        text: pane.screen === null ? "" : pane.screen.scanHUD
    }
}
