import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts

/// A slider with its name before and its value behind it.
RowLayout {
    id: row

    required property string name
    property alias from: slider.from
    property alias to: slider.to
    property alias stepSize: slider.stepSize
    property alias value: slider.value
    property int decimals: 0

    signal moved(value: real)

    spacing: 12

    Label {
        text: row.name
        Layout.preferredWidth: 104
        elide: Text.ElideRight
    }
    Slider {
        id: slider

        Layout.fillWidth: true
        Layout.minimumWidth: 80
        Accessible.name: row.name
        onMoved: row.moved(value)
    }
    Label {
        text: slider.value.toFixed(row.decimals)
        Layout.preferredWidth: 36
        horizontalAlignment: Text.AlignRight
    }
}
