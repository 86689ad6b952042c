import QtQuick.Controls.Basic
import QtQuick.Layouts

/// A switch as wide as its share of the row.
Switch {
    Layout.fillWidth: true
    Layout.preferredWidth: 1
    leftPadding: 0
    palette.windowText: palette.text
}
