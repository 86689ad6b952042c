import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Slicewise.Chart
import Slicewise.ChartExample

ApplicationWindow {
    id: window

    property bool dark: false
    property int slices: 7
    /// The number of a slice to pull out at first; 0 for none.
    property int pulledOut: 0
    readonly property bool isWide: width > height

    visible: true
    title: qsTr("Pie chart")
    color: palette.window

    palette.window: dark ? "#16181d" : "#f4f5f7"
    palette.windowText: dark ? "#e8eaee" : "#1c1f26"
    palette.base: dark ? "#22252c" : "#ffffff"
    palette.text: dark ? "#e8eaee" : "#1c1f26"
    palette.button: dark ? "#2e323b" : "#e2e5ea"
    palette.buttonText: dark ? "#e8eaee" : "#1c1f26"
    palette.light: dark ? "#22252c" : "#ffffff"
    palette.midlight: dark ? "#3a3f4a" : "#d3d7de"
    palette.mid: dark ? "#4a505d" : "#b9bfc9"
    palette.dark: dark ? "#7aa7ff" : "#3566c8"
    palette.highlight: dark ? "#7aa7ff" : "#3566c8"

    Component.onCompleted: {
        example.count = slices;
        example.attach(chart);
    }

    // A change of its size makes the chart move everything back, so this waits until the window stands.
    Timer {
        interval: 700
        running: window.pulledOut > 0
        onTriggered: chart.setSliceSelectedAtIndex(window.pulledOut - 1)
    }

    ExampleData {
        id: example

        onValuesChanged: chart.reloadData()
    }

    GridLayout {
        anchors.fill: parent
        anchors.margins: 16
        columns: window.isWide ? 2 : 1
        columnSpacing: 24
        rowSpacing: 8

        ColumnLayout {
            Layout.fillWidth: true
            Layout.fillHeight: true
            Layout.preferredWidth: 3
            Layout.preferredHeight: 4
            spacing: 4

            QVPieChart {
                id: chart

                Layout.fillWidth: true
                Layout.fillHeight: true
                focus: true
                activeFocusOnTab: true
                animationSpeed: speed.value
                accessibleName: window.title
            }
            Label {
                Layout.fillWidth: true
                horizontalAlignment: Text.AlignHCenter
                text: example.lastCall.length > 0 ? example.lastCall : qsTr("Tap a slice")
            }
        }

        ScrollView {
            id: panel

            Layout.fillWidth: true
            Layout.fillHeight: true
            Layout.preferredWidth: 2
            Layout.preferredHeight: 4
            Layout.maximumWidth: window.isWide ? 380 : -1
            contentWidth: availableWidth

            ColumnLayout {
                width: panel.availableWidth
                spacing: 6

                GridLayout {
                    Layout.fillWidth: true
                    columns: 3
                    columnSpacing: 8
                    rowSpacing: 8

                    Button {
                        Layout.fillWidth: true
                        text: qsTr("Shuffle")
                        onClicked: example.shuffle()
                    }
                    Button {
                        Layout.fillWidth: true
                        text: qsTr("Insert first")
                        onClicked: example.insertAtFront()
                    }
                    Button {
                        Layout.fillWidth: true
                        text: qsTr("Remove first")
                        onClicked: example.removeFromFront()
                    }
                    Button {
                        Layout.fillWidth: true
                        text: qsTr("Pull out")
                        onClicked: chart.setSliceSelectedAtIndex(0)
                    }
                    Button {
                        Layout.fillWidth: true
                        text: qsTr("Move back")
                        onClicked: chart.setSliceDeselectedAtIndex(0)
                    }
                    Button {
                        Layout.fillWidth: true
                        text: qsTr("Reload")
                        onClicked: chart.reloadData()
                    }
                }
                LabelledSlider {
                    Layout.fillWidth: true
                    name: qsTr("Slices")
                    to: 24
                    stepSize: 1
                    value: example.count
                    onMoved: value => example.count = value
                }
                LabelledSlider {
                    id: speed

                    Layout.fillWidth: true
                    name: qsTr("Seconds")
                    to: 3
                    value: 0.5
                    decimals: 1
                }
                LabelledSlider {
                    Layout.fillWidth: true
                    name: qsTr("Pull out by")
                    to: 60
                    value: chart.selectedSliceOffsetRadius
                    onMoved: value => chart.selectedSliceOffsetRadius = value
                }
                LabelledSlider {
                    Layout.fillWidth: true
                    name: qsTr("Start angle")
                    to: 360
                    value: 270
                    onMoved: value => {
                        chart.startPieAngle = value * Math.PI / 180;
                        chart.reloadData();
                    }
                }
                LabelledSlider {
                    Layout.fillWidth: true
                    name: qsTr("Size")
                    from: 20
                    to: 100
                    value: chart.pieRadius / Math.max(1, Math.min(chart.width, chart.height)) * 200
                    onMoved: value => {
                        chart.pieRadius = Math.min(chart.width, chart.height) / 200 * value;
                        chart.labelRadius = chart.pieRadius * 0.7;
                        chart.reloadData();
                    }
                }

                RowLayout {
                    Layout.fillWidth: true

                    LabelledSwitch {
                        text: qsTr("Labels")
                        checked: chart.showLabel
                        onToggled: {
                            chart.showLabel = checked;
                            chart.reloadData();
                        }
                    }
                    LabelledSwitch {
                        text: qsTr("Percentages")
                        checked: chart.showPercentage
                        onToggled: chart.showPercentage = checked
                    }
                }
                RowLayout {
                    Layout.fillWidth: true

                    LabelledSwitch {
                        text: qsTr("Names")
                        checked: example.named
                        onToggled: example.named = checked
                    }
                    LabelledSwitch {
                        text: qsTr("Own colours")
                        checked: example.coloured
                        onToggled: example.coloured = checked
                    }
                }
                RowLayout {
                    Layout.fillWidth: true

                    LabelledSwitch {
                        text: qsTr("Linear")
                        checked: chart.linear
                        onToggled: chart.linear = checked
                    }
                    LabelledSwitch {
                        text: qsTr("Shadow")
                        onToggled: {
                            chart.labelShadowColor = checked ? "black" : "transparent";
                            // Seen by the labels that are made from now on.
                            const count = example.count;
                            example.count = 0;
                            example.count = count;
                        }
                    }
                }
                RowLayout {
                    Layout.fillWidth: true

                    LabelledSwitch {
                        text: qsTr("Selectable")
                        checked: example.allowed
                        onToggled: example.allowed = checked
                    }
                    LabelledSwitch {
                        text: qsTr("Dark")
                        checked: window.dark
                        onToggled: window.dark = checked
                    }
                }
            }
        }
    }
}
